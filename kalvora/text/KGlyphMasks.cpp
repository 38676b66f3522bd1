// KGlyphMasks: glyph masks, from the cache or rendered into it.
#include "kalvora/text/KGlyphMasks.h"

#include <cstdio>

#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/ft.h"
#include "kalvora/text/glyphmask.h"

using kalvora::FromF26Dot6;
using kalvora::IsLoaded;

namespace {

// Larger masks are not rendered: a broken font may ask for a gigabyte, or for many times less than
// that in every glyph. 16 MB are a glyph of 4096 pixels.
constexpr std::int64_t kMostPixels = std::int64_t{1} << 24;

bool IsSmallEnough(FT_GlyphSlot glyph) {
  if (glyph->format != FT_GLYPH_FORMAT_OUTLINE) return true;
  FT_BBox box;
  FT_Outline_Get_CBox(&glyph->outline, &box);
  const std::int64_t width = (std::int64_t{box.xMax} - box.xMin) / 64 + 2;
  const std::int64_t rows = (std::int64_t{box.yMax} - box.yMin) / 64 + 2;
  return width <= kMostPixels && rows <= kMostPixels && width * rows <= kMostPixels;
}

// Bitmaps stay on whole pixels.
void MoveRight(FT_GlyphSlotRec& glyph, unsigned quarters) {
  if (glyph.format == FT_GLYPH_FORMAT_OUTLINE) {
    FT_Outline_Translate(&glyph.outline, 16 * static_cast<FT_Pos>(quarters), 0);
  } else if (quarters >= 2) {
    ++glyph.bitmap_left;
  }
}

// A whole number of pixels from FreeType as 16.16.
KFixed FromPixels(std::int64_t v) { return KFixed::FromInt(static_cast<std::int32_t>(v)); }

// What makes the glyphs of a font under a matrix differ from others.
KFTCacheKey KeyOf(const KFTFont& font, const FT_Matrix& matrix, bool byIndex) {
  return {.ch = 0,
          .xx = static_cast<std::int32_t>(matrix.xx),
          .xy = static_cast<std::int32_t>(matrix.xy),
          .yx = static_cast<std::int32_t>(matrix.yx),
          .yy = static_cast<std::int32_t>(matrix.yy),
          .fontSize = font.size,
          .file = font.file,
          .hash = 0,
          .faceIndex = font.faceIndex,
          .style = (byIndex ? KFTCacheKey::kByIndex : 0u) | font.GetHinting()
                                                                << KFTCacheKey::kHintingShift};
}

unsigned QuarterOf(const KFTCacheKey& key) { return key.style >> KFTCacheKey::kQuarterShift & 3; }

FT_Matrix MatrixOf(const KFTCacheKey& key) { return {key.xx, key.xy, key.yx, key.yy}; }

}  // namespace

KGlyphMasks::KGlyphMasks(KFTFontContext& setting, const KFTFont* primary, Names names,
                         const KSoftMatrix3D* m)
    : context(setting), font(primary), cache(KFTCache::Thread()), key() {
  if (!IsLoaded(font) || !context.NeedMatrix()) cache = nullptr;
  if (!cache) return;
  key = KeyOf(*font, m ? kalvora::LinearPart(*m) : *context.matrix, names == kIndices);
  style = key.style;
}

void KGlyphMasks::UseQuarters() {
  quarters = cache && FT_IS_SCALABLE(font->face) && kalvora::IsUnhinted(*font);
}

// What the cache does not hold for the primary font: it may for a fallback font, or be rendered.
const KFTCacheData* KGlyphMasks::FindMissed() {
  const std::uint32_t glyph = key.ch;
  if (key.style & KFTCacheKey::kByIndex) return Render(font, glyph, key);
  std::uint32_t index = 0;
  if (!font->GlyphIndex(glyph, index)) return nullptr;
  if (index != 0) return Render(font, index, key);
  // The cache must not learn a box for what a fallback font would have shown.
  if (context.fallbackLost && !context.fallbackFont) return nullptr;
  KFTFont* other = context.FallbackFor(glyph);
  if (!IsLoaded(other)) return Render(font, index, key);

  other->SetFontSize(font->size);
  KFTCacheKey otherKey = KeyOf(*other, MatrixOf(key), false);
  otherKey.ch = otherKey.hash = glyph;
  otherKey.style |= QuarterOf(key) << KFTCacheKey::kQuarterShift;
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
  // Other contexts may share the face: it must show what the key says, and nothing for longer.
  FT_Matrix matrix = MatrixOf(as);
  FT_Set_Transform(from->face, &matrix, nullptr);
  const FT_Error error = FT_Load_Glyph(from->face, index, kalvora::LoadFlags(*from));
  FT_Set_Transform(from->face, context.matrix, nullptr);
  if (error != 0) return nullptr;
  const FT_GlyphSlot glyph = from->face->glyph;
  MoveRight(*glyph, QuarterOf(as));
  if (!IsSmallEnough(glyph) || FT_Render_Glyph(glyph, FT_RENDER_MODE_NORMAL) != 0) return nullptr;
  if (!kalvora::CopyGlyph(glyph->bitmap, data->mask)) return nullptr;
  const bool blank = data->mask.pixelShift != 0;
  data->origin = blank ? KVertex2D::Origin
                       : KVertex2D{FromPixels(glyph->bitmap_left), -FromPixels(glyph->bitmap_top)};
  data->advance = FromF26Dot6(glyph->advance);
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
