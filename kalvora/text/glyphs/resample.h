// Bitmaps of glyphs seen through a matrix.
#ifndef KALVORA_TEXT_GLYPHS_RESAMPLE_H
#define KALVORA_TEXT_GLYPHS_RESAMPLE_H

#include <cstdint>

class KSoftPixmap;

namespace kalvora {

/// Device pixels, right and bottom exclusive.
struct GlyphBox {
  std::int64_t left, top, right, bottom;

  std::int64_t Width() const { return right - left; }
  std::int64_t Height() const { return bottom - top; }
};

/// x' = x xx + y xy, y' = x yx + y yy in 16.16, y growing downward.
struct GlyphMatrix2 {
  std::int64_t xx, xy, yx, yy;
};

/// The pixels that a box of pixels around the pen touches through the matrix.
GlyphBox MapBox(const GlyphBox& box, const GlyphMatrix2& m);

/// Fills `to`, of the same format 0 or 5, with what `from`, which covers `box` around the pen,
/// looks like through the matrix: every pixel is the average of what it covers, at least of one
/// pixel, so that what is enlarged is smooth. Gives the box that `to` covers; an empty one, and an
/// empty pixmap, where nothing is left of it. False when memory runs out.
bool Resample(const KSoftPixmap& from, GlyphBox box, const GlyphMatrix2& m, KSoftPixmap& to,
              GlyphBox& covers);

}  // namespace kalvora

#endif
