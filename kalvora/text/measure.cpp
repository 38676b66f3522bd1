// KFTFont: characters, advances and bounds.
#include <algorithm>

#include "kalvora/text/KFTCache.h"
#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/ft.h"

using kalvora::FromF26Dot6;
using kalvora::LoadFlags;

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
  if (FT_Load_Glyph(font->face, index, LoadFlags(*font)) != 0) return;
  *pen = *pen + FromF26Dot6(font->face->glyph->advance);

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
    if (FT_Load_Glyph(face, index, LoadFlags(*this)) != 0) continue;
    const FT_GlyphSlot glyph = face->glyph;
    const std::int64_t highest = y + glyph->metrics.horiBearingY;
    top = std::max(top, highest);
    bottom = std::min(bottom, highest - glyph->metrics.height);
    x += glyph->advance.x;
    y += glyph->advance.y;
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
  KGlyphExtents extents = {0, 0, 0, 0, KVertex2D::Origin};
  GetGlyphExtents(glyph, extents);
  return extents.advance;
}

namespace {

// The pixels that a loaded glyph's mask will have, as FreeType renders it: those that the box of an
// outline's control points touches.
FT_BBox PixelBox(const FT_GlyphSlotRec& glyph) {
  FT_BBox box = {0, 0, 0, 0};
  if (glyph.format == FT_GLYPH_FORMAT_BITMAP) {
    const FT_Bitmap& bitmap = glyph.bitmap;
    box = {glyph.bitmap_left, glyph.bitmap_top - static_cast<FT_Pos>(bitmap.rows),
           glyph.bitmap_left + static_cast<FT_Pos>(bitmap.width), glyph.bitmap_top};
  } else if (glyph.format == FT_GLYPH_FORMAT_OUTLINE && glyph.outline.n_points > 0) {
    FT_Outline_Get_CBox(&glyph.outline, &box);
    box = {box.xMin >> 6, box.yMin >> 6, (box.xMax + 63) >> 6, (box.yMax + 63) >> 6};
  }
  if (box.xMin == box.xMax || box.yMin == box.yMax) return {0, 0, 0, 0};
  return box;
}

}  // namespace

bool KFTFont::GetGlyphExtents(std::uint32_t glyph, KGlyphExtents& extents) const {
  const FT_Int32 flags = face ? LoadFlags(*this) | FT_LOAD_IGNORE_TRANSFORM : 0;
  if (!face || FT_Load_Glyph(face, glyph, flags) != 0) return false;
  const FT_BBox box = PixelBox(*face->glyph);
  const auto pixel = [](FT_Pos v) { return static_cast<std::int32_t>(v); };
  extents = {pixel(box.xMin), -pixel(box.yMax), pixel(box.xMax), -pixel(box.yMin),
             FromF26Dot6(face->glyph->advance)};
  return true;
}
