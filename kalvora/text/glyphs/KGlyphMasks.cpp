// KGlyphMasks: glyph masks, from the cache or rendered into it.
#include "kalvora/text/glyphs/KGlyphMasks.h"

#include <cstdio>

#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/glyphs/glyphrender.h"
#include "kalvora/text/glyphs/strikes.h"

using kalvora::IsLoaded;

KGlyphMasks::KGlyphMasks(KFTFontContext& setting, const KFTFont* primary, Names names,
                         const KSoftMatrix3D* m)
    : context_(setting), font_(primary), byIndex_(names == kIndices), cache_(KFTCache::Thread()) {
  if (!IsLoaded(font_) || !context_.NeedMatrix()) cache_ = nullptr;
  if (!cache_) return;
  const FT_Matrix matrix = m ? kalvora::LinearPart(*m) : *context_.matrix;
  xx_ = static_cast<std::int32_t>(matrix.xx);
  xy_ = static_cast<std::int32_t>(matrix.xy);
  yx_ = static_cast<std::int32_t>(matrix.yx);
  yy_ = static_cast<std::int32_t>(matrix.yy);
  key_ = KeyOf(*font_);
}

void KGlyphMasks::UseQuarters() {
  quarters_ = cache_ && !kalvora::IsBitmapOnly(*font_->face) && kalvora::IsUnhinted(*font_);
}

void KGlyphMasks::UseColours(KColor32 ink) {
  colours_ = true;
  inkOfText_ = std::uint32_t{ink.red} << 16 | std::uint32_t{ink.green} << 8 | ink.blue;
  if (cache_) key_ = KeyOf(*font_);
}

// What makes the glyphs of a font differ from others.
KFTCacheKey KGlyphMasks::KeyOf(const KFTFont& of) const {
  const bool coloured = colours_ && FT_HAS_COLOR(of.face);
  return {.ch = 0,
          .xx = xx_,
          .xy = xy_,
          .yx = yx_,
          .yy = yy_,
          .fontSize = of.size,
          .file = of.file,
          .hash = 0,
          .faceIndex = of.faceIndex,
          .style = (byIndex_ ? KFTCacheKey::kByIndex : 0) |
                   of.GetHinting() << KFTCacheKey::kHintingShift |
                   (coloured ? KFTCacheKey::kColours : 0),
          .ink = coloured && kalvora::HasColourLayers(*of.face) ? inkOfText_ : 0};
}

// What the cache does not hold for the primary font: it may for a fallback font, or be rendered.
const KFTCacheData* KGlyphMasks::FindMissed() {
  const std::uint32_t glyph = key_.ch;
  if (byIndex_) return Render(font_, glyph, key_);
  std::uint32_t index = 0;
  if (!font_->GlyphIndex(glyph, index)) return nullptr;
  if (index != 0) return Render(font_, index, key_);
  // The cache must not learn a box for what a fallback font would have shown.
  if (context_.fallbackLost_ && !context_.fallbackFont) return nullptr;
  KFTFont* other = context_.FallbackFor(glyph);
  if (!IsLoaded(other)) return Render(font_, index, key_);

  other->SetFontSize(font_->size);
  KFTCacheKey otherKey = KeyOf(*other);
  otherKey.Name(glyph, key_.Quarter());
  if (const KFTCacheData* data = cache_->Find(otherKey)) return data;
  if (!other->GlyphIndex(glyph, index)) return nullptr;
  if (index != 0) return Render(other, index, otherKey);
  // A glyph that neither has is the primary font's box, and is kept under the fallback's key.
  if (Flags.ShowMissingGlyphs) {
    std::printf("Char 0x%x not present in font %s or fallback %s\n", glyph,
                font_->file->file.Name(), other->file->file.Name());
  }
  return Render(font_, index, otherKey);
}

// Renders into the cache's spare data. Null when FreeType cannot or memory runs out.
const KFTCacheData* KGlyphMasks::Render(const KFTFont* from, std::uint32_t index,
                                        const KFTCacheKey& as) {
  KFTCacheData* data = cache_->Spare();
  if (!data) return nullptr;
  const bool rendered = kalvora::RenderGlyph(*from, index, as, *data);
  // Other contexts may share the face: it shows what this one's matrix says, as before.
  FT_Set_Transform(from->face, context_.matrix, nullptr);
  if (!rendered) return nullptr;
  // Inserted or not (a mask may be too large), the data is good until the next one is rendered.
  if (cache_->Insert(as, data)) cache_->spare = nullptr;
  return data;
}

KSoftPixmap* KFTFontContext::LoadMask(KVertex2D* origin, KVertex2D* advance, int ch) {
  if (!origin || !advance) return nullptr;
  const KFTCacheData* data =
      KGlyphMasks(*this, font, KGlyphMasks::kCodes).Find(static_cast<std::uint32_t>(ch));
  if (!data) return nullptr;
  *origin = data->origin;
  *advance = data->advance;
  return const_cast<KSoftPixmap*>(&data->mask);
}

KSoftPixmap* KFTFontContext::LoadPixmap(KSoftPixmap*, KVertex2D*, KVertex2D*, int, KColor32) {
  return nullptr;
}
