// Glyph bitmaps of every kind as 8-bit coverage, and colour ones as pixmaps.
#ifndef KALVORA_TEXT_GLYPHS_GLYPHMASK_H
#define KALVORA_TEXT_GLYPHS_GLYPHMASK_H

struct FT_Bitmap_;
class KSoftPixmap;

namespace kalvora {

/// Shapes `mask` after the bitmap and fills it with 0..255, top row first: monochrome pixels as 0
/// or 255, grey ones scaled, colour ones by their alpha, or with `colours` as they are,
/// premultiplied in format 5. A bitmap without pixels, or of a kind that has no coverage (LCD),
/// gives an empty mask. False when memory runs out.
bool CopyGlyph(const FT_Bitmap_& bitmap, bool colours, KSoftPixmap& mask);

}  // namespace kalvora

#endif
