// KFTFontContext: glyph masks, from the cache or rendered into it.
#include <cstdio>

#include "kalvora/text/KFTCache.h"
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

// A whole number of pixels from FreeType as 16.16.
KFixed FromPixels(std::int64_t v) { return KFixed::FromInt(static_cast<std::int32_t>(v)); }

}  // namespace

KFTCacheKey KFTFontContext::KeyOf(const KFTFont* from, std::uint32_t ch) const {
  return {.ch = ch,
          .xx = static_cast<std::int32_t>(matrix->xx),
          .xy = static_cast<std::int32_t>(matrix->xy),
          .yx = static_cast<std::int32_t>(matrix->yx),
          .yy = static_cast<std::int32_t>(matrix->yy),
          .fontSize = from->size,
          .file = from->file,
          .hash = ch,
          .faceIndex = from->faceIndex};
}

KSoftPixmap* KFTFontContext::LoadMask(KVertex2D* origin, KVertex2D* advance, int ch) {
  KFTCache* cache = KFTCache::Thread();
  if (!cache || !IsLoaded(font) || !NeedMatrix() || !origin || !advance) return nullptr;
  const auto code = static_cast<std::uint32_t>(ch);
  KFTCacheData* data = cache->Find(KeyOf(font, code));
  if (!data) data = FindMissed(cache, code);
  if (!data) return nullptr;
  *origin = data->origin;
  *advance = data->advance;
  return &data->mask;
}

// What the cache does not hold for the primary font: it may for a fallback font, or be rendered.
KFTCacheData* KFTFontContext::FindMissed(KFTCache* cache, std::uint32_t ch) {
  const KFTFont* from = font;
  KFTCacheKey key = KeyOf(font, ch);
  std::uint32_t index = 0;
  if (!font->GlyphIndex(ch, index)) return nullptr;
  // The cache must not learn a box for what a fallback font would have shown.
  if (index == 0 && fallbackLost && !fallbackFont) return nullptr;
  KFTFont* other = index == 0 ? GetFallback(static_cast<unsigned short>(ch)) : nullptr;
  if (IsLoaded(other)) {
    other->SetFontSize(font->size);
    key = KeyOf(other, ch);
    if (KFTCacheData* data = cache->Find(key)) return data;
    if (!other->GlyphIndex(ch, index)) return nullptr;
    // A glyph that neither has is the primary font's box, and is kept under the fallback's key.
    if (index != 0) {
      from = other;
    } else if (Flags.ShowMissingGlyphs) {
      std::printf("Char 0x%x not present in font %s or fallback %s\n", ch, font->file->file.path,
                  other->file->file.path);
    }
  }
  KFTCacheData* data = Render(cache, from, index);
  // Inserted or not (a mask may be too large), the data is good until the next one is rendered.
  if (data && cache->Insert(key, data)) cache->spare = nullptr;
  return data;
}

// Renders into the cache's spare data. Null when FreeType cannot or memory runs out.
KFTCacheData* KFTFontContext::Render(KFTCache* cache, const KFTFont* from, std::uint32_t index) {
  KFTCacheData* data = cache->Spare();
  if (!data) return nullptr;
  // Other contexts may share the face: it must show what the key says.
  FT_Set_Transform(from->face, matrix, nullptr);
  if (FT_Load_Glyph(from->face, index, kalvora::LoadFlags()) != 0) return nullptr;
  const FT_GlyphSlot glyph = from->face->glyph;
  if (!IsSmallEnough(glyph) || FT_Render_Glyph(glyph, FT_RENDER_MODE_NORMAL) != 0) return nullptr;
  if (!kalvora::CopyGlyph(glyph->bitmap, data->mask)) return nullptr;
  const bool blank = data->mask.pixelShift != 0;
  data->origin = blank ? KVertex2D::Origin
                       : KVertex2D{FromPixels(glyph->bitmap_left), -FromPixels(glyph->bitmap_top)};
  data->advance = FromF26Dot6(glyph->advance);
  return data;
}

KSoftPixmap* KFTFontContext::LoadPixmap(KSoftPixmap*, KVertex2D*, KVertex2D*, int, KColor32) {
  return nullptr;
}
