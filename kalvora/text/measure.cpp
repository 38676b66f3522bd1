// KFTFont: characters, advances and bounds.
#include <algorithm>

#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/glyphs/KFTCache.h"
#include "kalvora/text/glyphs/resample.h"
#include "kalvora/text/glyphs/strikes.h"

#include FT_COLOR_H

using kalvora::FromF26Dot6;
using kalvora::GlyphBox;
using kalvora::Scaled;

bool KFTFont::GlyphIndex(std::uint32_t code, std::uint32_t& index) const {
  if (!face) return false;
  KFTCache* cacheOfThread = KFTCache::Thread();
  KFTFaceEntry* entry = cacheOfThread ? cacheOfThread->FindEntry(file) : nullptr;
  std::uint32_t* slot = entry ? entry->Slot(code, faceIndex) : nullptr;
  if (!slot) return false;
  if (*slot == KFTCharPage::kUnknown) *slot = FT_Get_Char_Index(face, code);
  index = *slot;
  return true;
}

bool KFTFont::Exists(unsigned short ch) const {
  std::uint32_t index = 0;
  return GlyphIndex(ch, index) && index != 0;
}

void KFTFont::AdvancePen(KVertex2D* pen, unsigned short ch, unsigned short next,
                         KFTFontContext* ctx) {
  AdvancePenImpl(pen, ch, next, nullptr, ctx);
}

void KFTFont::AdvancePen(KVertex2D* pen, unsigned short ch, unsigned short next,
                         KFTFont* fallback) {
  AdvancePenImpl(pen, ch, next, fallback, nullptr);
}

void KFTFont::AdvancePen(KVertex2D* pen, std::uint32_t code) {
  AdvancePenImpl(pen, code, 0, nullptr, nullptr);
}

void KFTFont::AdvancePenImpl(KVertex2D* pen, std::uint32_t ch, unsigned short next,
                             KFTFont* fallback, KFTFontContext* ctx) {
  std::uint32_t index = 0;
  if (!pen || !GlyphIndex(ch, index)) return;
  KFTFont* font = this;
  if (index == 0) {
    if (!fallback && ctx) fallback = ctx->FallbackFor(ch);
    if (fallback && fallback->file) {
      font = fallback;
      font->SetFontSize(size);
      if (!font->GlyphIndex(ch, index)) return;
    }
  }
  KFixed scale;
  if (kalvora::LoadDrawn(*font, index, 0, scale) != 0) return;
  *pen = *pen + Scaled(FromF26Dot6(font->face->glyph->advance), scale);

  // Kerning never moves the pen, and must not: layouts made of these advances match what is drawn.
  // A font of this thread only has the next character looked up. (Of a font that this thread does
  // not know, kerning would count, a glyph against itself; but then there was no index above.)
  if (index == 0 || next == 0 || !FT_HAS_KERNING(font->face)) return;
  font->GlyphIndex(next, index);
}

void KFTFont::GetBound(KRect& rect, const unsigned short* text, unsigned count) const {
  if (!face || (!text && count > 0)) return;
  std::int64_t x = 0;
  std::int64_t y = 0;
  std::int64_t top = 0;
  std::int64_t bottom = 0;
  for (unsigned i = 0; i < count; ++i) {
    std::uint32_t index = 0;
    GlyphIndex(text[i], index);
    KFixed scale;
    if (kalvora::LoadDrawn(*this, index, 0, scale) != 0) continue;
    const FT_GlyphSlot glyph = face->glyph;
    const auto scaled = [&](std::int64_t v) { return v * scale.raw >> 16; };
    const std::int64_t highest = y + scaled(glyph->metrics.horiBearingY);
    top = std::max(top, highest);
    bottom = std::min(bottom, highest - scaled(glyph->metrics.height));
    x += scaled(glyph->advance.x);
    y += scaled(glyph->advance.y);
  }
  rect = {0, 0, static_cast<std::int16_t>(kalvora::Ceil(FromF26Dot6(x))),
          static_cast<std::int16_t>(kalvora::Ceil(FromF26Dot6(top - bottom)))};
}

// Glyphs by index ---------------------------------------------------------------------------------

const void* KFTFont::GetFontData(std::size_t* bytes) const {
  if (bytes) *bytes = face ? file->file.size : 0;
  return face ? file->file.data : nullptr;
}

unsigned KFTFont::GetUnitsPerEm() const { return face ? face->units_per_EM : 0; }

KVertex2D KFTFont::GetGlyphAdvance(std::uint32_t glyph) const {
  KFixed scale;
  if (!face || kalvora::LoadDrawn(*this, glyph, FT_LOAD_IGNORE_TRANSFORM, scale) != 0) {
    return KVertex2D::Origin;
  }
  return Scaled(FromF26Dot6(face->glyph->advance), scale);
}

namespace {

// The pixels that a loaded glyph's mask will have, as it is rendered: those that the box of an
// outline's control points touches.
GlyphBox BoxOf(const FT_GlyphSlotRec& glyph, KFixed scale) {
  GlyphBox box = {0, 0, 0, 0};
  if (glyph.format == FT_GLYPH_FORMAT_BITMAP) {
    box = {glyph.bitmap_left, -std::int64_t{glyph.bitmap_top},
           std::int64_t{glyph.bitmap_left} + glyph.bitmap.width,
           std::int64_t{glyph.bitmap.rows} - glyph.bitmap_top};
    if (scale != kalvora::kOne) box = kalvora::MapBox(box, {scale.raw, 0, 0, scale.raw});
  } else if (glyph.format == FT_GLYPH_FORMAT_OUTLINE && glyph.outline.n_points > 0) {
    FT_BBox points;
    FT_Outline_Get_CBox(&glyph.outline, &points);
    box = {points.xMin >> 6, -((points.yMax + 63) >> 6), (points.xMax + 63) >> 6,
           -(points.yMin >> 6)};
  }
  if (box.Width() == 0 || box.Height() == 0) return {0, 0, 0, 0};
  return box;
}

// A glyph that has layers is drawn as those: their box takes the place of its own.
void IncludeLayers(const KFTFont& font, std::uint32_t glyph, GlyphBox& box) {
  FT_LayerIterator layers = {};
  FT_UInt layer, colour;
  bool first = true;
  KFixed scale;
  while (FT_Get_Color_Glyph_Layer(font.face, glyph, &layer, &colour, &layers)) {
    if (first) box = {0, 0, 0, 0};
    first = false;
    if (kalvora::LoadDrawn(font, layer, FT_LOAD_IGNORE_TRANSFORM, scale) != 0) continue;
    const GlyphBox own = BoxOf(*font.face->glyph, scale);
    if (own.Width() == 0) continue;
    if (box.Width() == 0) box = own;
    box = {std::min(box.left, own.left), std::min(box.top, own.top), std::max(box.right, own.right),
           std::max(box.bottom, own.bottom)};
  }
}

}  // namespace

bool KFTFont::GetGlyphExtents(std::uint32_t glyph, KGlyphExtents& extents) const {
  KFixed scale;
  if (!face || kalvora::LoadDrawn(*this, glyph, FT_LOAD_IGNORE_TRANSFORM, scale) != 0) return false;
  const KVertex2D advance = Scaled(FromF26Dot6(face->glyph->advance), scale);
  GlyphBox box = BoxOf(*face->glyph, scale);
  if (kalvora::HasColourLayers(*face)) IncludeLayers(*this, glyph, box);
  const auto pixel = [](std::int64_t v) { return static_cast<std::int32_t>(v); };
  extents = {pixel(box.left), pixel(box.top), pixel(box.right), pixel(box.bottom), advance};
  return true;
}
