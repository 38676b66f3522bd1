// Bitmaps of fixed sizes in fonts, and the loading of glyphs as they are drawn.
#ifndef KALVORA_TEXT_GLYPHS_STRIKES_H
#define KALVORA_TEXT_GLYPHS_STRIKES_H

#include "kalvora/text/ft.h"

namespace kalvora {

/// Whether a face has bitmaps and no outlines.
inline bool IsBitmapOnly(const FT_FaceRec& face) { return !FT_IS_SCALABLE(&face); }
/// Whether it has bitmaps in colour, which are scaled to any size.
inline bool HasColourBitmaps(const FT_FaceRec& face) {
  return FT_HAS_COLOR(&face) && FT_HAS_FIXED_SIZES(&face);
}
/// Whether it has outlines in layers of colours.
inline bool HasColourLayers(const FT_FaceRec& face) {
  return FT_HAS_COLOR(&face) && !FT_HAS_FIXED_SIZES(&face);
}

/// Sets a face to a size in pixels; one of bitmaps only to the nearest that it has, of two equally
/// near ones the larger.
FT_Error SetSize(FT_Face face, KFixed size);

/// By how much a font's bitmaps, and its metrics if it has nothing else, are scaled at its size: 1
/// but for bitmaps in colour.
KFixed BitmapScale(const KFTFont& font);
/// The same for its metrics: 1 where there are outlines.
inline KFixed MetricScale(const KFTFont& font) {
  return IsBitmapOnly(*font.face) ? BitmapScale(font) : kOne;
}

inline KVertex2D Scaled(KVertex2D v, KFixed scale) { return {v.x * scale, v.y * scale}; }

/// Loads a glyph of a font as it is drawn: in colours where the font has bitmaps in colour, else as
/// its outline or what bitmap it has. `flags` are added to those of the font. What is loaded is
/// then to be scaled by `scale`.
FT_Error LoadDrawn(const KFTFont& font, std::uint32_t index, FT_Int32 flags, KFixed& scale);

}  // namespace kalvora

#endif
