// Rendering of glyphs by FreeType, and of its bitmaps under a matrix.
#include "kalvora/text/glyphs/glyphrender.h"

#include "kalvora/text/KFTLib.h"
#include "kalvora/text/glyphs/glyphmask.h"
#include "kalvora/text/glyphs/resample.h"
#include "kalvora/text/glyphs/strikes.h"

#include FT_COLOR_H

namespace kalvora {
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

void SetInk(FT_Face face, std::uint32_t ink) {
  const auto byte = [&](unsigned shift) { return static_cast<FT_Byte>(ink >> shift); };
  FT_Palette_Set_Foreground_Color(face, {byte(0), byte(8), byte(16), 255});
}

// The matrix that a bitmap is drawn through; FreeType transforms outlines alone.
GlyphMatrix2 BitmapMatrix(const KFTCacheKey& as, KFixed scale) {
  const auto scaled = [&](std::int64_t v) { return v * scale.raw >> 16; };
  return {scaled(as.xx), -scaled(as.xy), -scaled(as.yx), scaled(as.yy)};
}

bool IsIdentity(const GlyphMatrix2& m) {
  return m.xx == kOne.raw && m.xy == 0 && m.yx == 0 && m.yy == kOne.raw;
}

// A bitmap of the font, which stays on whole pixels.
bool TakeBitmap(FT_GlyphSlot glyph, const KFTCacheKey& as, KFixed scale, KFTCacheData& data) {
  const bool colours = as.style & KFTCacheKey::kColours;
  const GlyphMatrix2 matrix = BitmapMatrix(as, scale);
  const GlyphBox whole = {glyph->bitmap_left, -std::int64_t{glyph->bitmap_top},
                          std::int64_t{glyph->bitmap_left} + glyph->bitmap.width,
                          std::int64_t{glyph->bitmap.rows} - glyph->bitmap_top};
  GlyphBox box = whole;
  if (IsIdentity(matrix)) {
    if (!CopyGlyph(glyph->bitmap, colours, data.mask)) return false;
  } else {
    KSoftPixmap pixmap;
    if (!CopyGlyph(glyph->bitmap, colours, pixmap)) return false;
    if (!Resample(pixmap, whole, matrix, data.mask, box)) return false;
  }
  data.origin = {FromPixels(box.left + (as.Quarter() >= 2)), FromPixels(box.top)};
  return true;
}

// What FreeType renders of an outline, in one colour or in layers.
bool TakeOutline(FT_GlyphSlot glyph, const KFTCacheKey& as, KFTCacheData& data) {
  if (!IsSmallEnough(glyph) || FT_Render_Glyph(glyph, FT_RENDER_MODE_NORMAL) != 0) return false;
  if (!CopyGlyph(glyph->bitmap, as.style & KFTCacheKey::kColours, data.mask)) return false;
  data.origin = {FromPixels(glyph->bitmap_left), -FromPixels(glyph->bitmap_top)};
  return true;
}

bool Take(const KFTFont& font, std::uint32_t index, const KFTCacheKey& as, KFTCacheData& data) {
  const bool layers = as.style & KFTCacheKey::kColours && HasColourLayers(*font.face);
  if (layers) SetInk(font.face, as.ink);
  KFixed scale;
  if (LoadDrawn(font, index, layers ? FT_LOAD_COLOR : 0, scale) != 0) return false;
  const FT_GlyphSlot glyph = font.face->glyph;
  data.advance = Scaled(FromF26Dot6(glyph->advance), scale);
  return glyph->format == FT_GLYPH_FORMAT_BITMAP ? TakeBitmap(glyph, as, scale, data)
                                                 : TakeOutline(glyph, as, data);
}

}  // namespace

// Layers of colours are loaded while they are rendered: the transform stays until then.
bool RenderGlyph(const KFTFont& font, std::uint32_t index, const KFTCacheKey& as,
                 KFTCacheData& data) {
  KFTLib* lib = KFTLib::Thread();
  if (!lib) return false;
  lib->ranOut = false;
  FT_Matrix matrix = {as.xx, as.xy, as.yx, as.yy};
  FT_Vector right = {16 * static_cast<FT_Pos>(as.Quarter()), 0};
  FT_Set_Transform(font.face, &matrix, &right);
  // Layers that there is no memory for are not missed by FreeType, which renders the outline then.
  const bool rendered = Take(font, index, as, data) && !lib->ranOut;
  FT_Set_Transform(font.face, nullptr, nullptr);
  if (rendered && data.mask.width == 0) data.origin = KVertex2D::Origin;
  return rendered;
}

}  // namespace kalvora
