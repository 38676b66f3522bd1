// KGlyphMasks: glyph masks, from the cache or rendered into it.
#include "kalvora/text/KGlyphMasks.h"

#include <cstdio>

#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/glyphrender.h"
#include "kalvora/text/strikes.h"

using kalvora::IsLoaded;

KGlyphMasks::KGlyphMasks(KFTFontContext& setting, const KFTFont* primary, Names names,
                         const KSoftMatrix3D* m)
    : context(setting), font(primary), byIndex(names == kIndices), cache(KFTCache::Thread()) {
  if (!IsLoaded(font) || !context.NeedMatrix()) cache = nullptr;
  if (!cache) return;
  const FT_Matrix matrix = m ? kalvora::LinearPart(*m) : *context.matrix;
  xx = static_cast<std::int32_t>(matrix.xx);
  xy = static_cast<std::int32_t>(matrix.xy);
  yx = static_cast<std::int32_t>(matrix.yx);
  yy = static_cast<std::int32_t>(matrix.yy);
  key = KeyOf(*font);
}

void KGlyphMasks::UseQuarters() {
  quarters = cache && !kalvora::IsBitmapOnly(*font->face) && kalvora::IsUnhinted(*font);
}

void KGlyphMasks::UseColours(KColor32 ink) {
  colours = true;
  inkOfText = std::uint32_t{ink.red} << 16 | std::uint32_t{ink.green} << 8 | ink.blue;
  if (cache) key = KeyOf(*font);
}

// What makes the glyphs of a font differ from others.
KFTCacheKey KGlyphMasks::KeyOf(const KFTFont& of) const {
  const bool coloured = colours && FT_HAS_COLOR(of.face);
  return {.ch = 0,
          .xx = xx,
          .xy = xy,
          .yx = yx,
          .yy = yy,
          .fontSize = of.size,
          .file = of.file,
          .hash = 0,
          .faceIndex = of.faceIndex,
          .style = (byIndex ? KFTCacheKey::kByIndex : 0) |
                   of.GetHinting() << KFTCacheKey::kHintingShift |
                   (coloured ? KFTCacheKey::kColours : 0),
          .ink = coloured && kalvora::HasColourLayers(*of.face) ? inkOfText : 0};
}

// What the cache does not hold for the primary font: it may for a fallback font, or be rendered.
const KFTCacheData* KGlyphMasks::FindMissed() {
  const std::uint32_t glyph = key.ch;
  if (byIndex) return Render(font, glyph, key);
  std::uint32_t index = 0;
  if (!font->GlyphIndex(glyph, index)) return nullptr;
  if (index != 0) return Render(font, index, key);
  // The cache must not learn a box for what a fallback font would have shown.
  if (context.fallbackLost && !context.fallbackFont) return nullptr;
  KFTFont* other = context.FallbackFor(glyph);
  if (!IsLoaded(other)) return Render(font, index, key);

  other->SetFontSize(font->size);
  KFTCacheKey otherKey = KeyOf(*other);
  otherKey.Name(glyph, key.Quarter());
  if (const KFTCacheData* data = cache->Find(otherKey)) return data;
  if (!other->GlyphIndex(glyph, index)) return nullptr;
  if (index != 0) return Render(other, index, otherKey);
  // A glyph that neither has is the primary font's box, and is kept under the fallback's key.
  if (Flags.ShowMissingGlyphs) {
    std::printf("Char 0x%x not present in font %s or fallback %s\n", glyph, font->file->file.Name(),
                other->file->file.Name());
  }
  return Render(font, index, otherKey);
}

// Renders into the cache's spare data. Null when FreeType cannot or memory runs out.
const KFTCacheData* KGlyphMasks::Render(const KFTFont* from, std::uint32_t index,
                                        const KFTCacheKey& as) {
  KFTCacheData* data = cache->Spare();
  if (!data) return nullptr;
  const bool rendered = kalvora::RenderGlyph(*from, index, as, *data);
  // Other contexts may share the face: it shows what this one's matrix says, as before.
  FT_Set_Transform(from->face, context.matrix, nullptr);
  if (!rendered) return nullptr;
  // Inserted or not (a mask may be too large), the data is good until the next one is rendered.
  if (cache->Insert(as, data)) cache->spare = nullptr;
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
