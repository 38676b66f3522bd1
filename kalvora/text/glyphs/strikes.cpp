// Bitmaps of fixed sizes in fonts.
#include "kalvora/text/glyphs/strikes.h"

#include <cstdlib>

namespace kalvora {
namespace {

// In 26.6, rounded a little under half a step, deliberately: glyphs have these sizes.
FT_F26Dot6 CharSize(KFixed size) {
  return static_cast<FT_F26Dot6>(((std::int64_t{size.raw} << 6) + 0x7F00) >> 16);
}

// -1 without bitmaps.
int NearestStrike(const FT_FaceRec& face, KFixed size) {
  int best = -1;
  std::int64_t bestDistance = 0;
  for (int i = 0; i < face.num_fixed_sizes; ++i) {
    const std::int64_t distance = face.available_sizes[i].y_ppem - std::int64_t{CharSize(size)};
    const bool nearer =
        std::abs(distance) < std::abs(bestDistance) || (distance > 0 && distance == -bestDistance);
    if (best >= 0 && !nearer) continue;
    best = i;
    bestDistance = distance;
  }
  return best;
}

bool IsColourBitmap(const FT_GlyphSlotRec& glyph) {
  return glyph.format == FT_GLYPH_FORMAT_BITMAP && glyph.bitmap.pixel_mode == FT_PIXEL_MODE_BGRA;
}

}  // namespace

FT_Error SetSize(FT_Face face, KFixed size) {
  if (IsBitmapOnly(*face)) return FT_Select_Size(face, NearestStrike(*face, size));
  const FT_F26Dot6 charSize = CharSize(size);
  return FT_Set_Char_Size(face, charSize, charSize, 0, 0);
}

KFixed BitmapScale(const KFTFont& font) {
  if (!HasColourBitmaps(*font.face)) return kOne;
  const FT_Pos ppem = font.face->available_sizes[NearestStrike(*font.face, font.size)].y_ppem;
  if (ppem <= 0) return kOne;
  return KFixed::FromRaw(static_cast<std::int32_t>(std::int64_t{font.size.raw} * 64 / ppem));
}

FT_Error LoadDrawn(const KFTFont& font, std::uint32_t index, FT_Int32 flags, KFixed& scale) {
  const FT_Face face = font.face;
  scale = kOne;
  flags |= LoadFlags(font);
  if (HasColourBitmaps(*face)) {
    const FT_Int32 colours = (flags & ~FT_LOAD_NO_BITMAP) | FT_LOAD_COLOR;
    scale = BitmapScale(font);
    if (IsBitmapOnly(*face)) return FT_Load_Glyph(face, index, colours);
    // Beside outlines, a bitmap's size is set for it alone.
    const bool found = FT_Select_Size(face, NearestStrike(*face, font.size)) == 0 &&
                       FT_Load_Glyph(face, index, colours) == 0 && IsColourBitmap(*face->glyph);
    const FT_Error error = SetSize(face, font.size);
    if (found || error != 0) return error;
    scale = kOne;
  }
  return FT_Load_Glyph(face, index, flags);
}

}  // namespace kalvora
