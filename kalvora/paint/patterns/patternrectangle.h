// Rectangles of a pixmap pattern: quarter turns, and the debugging frames around them.
#ifndef KALVORA_PAINT_PATTERNS_PATTERNRECTANGLE_H
#define KALVORA_PAINT_PATTERNS_PATTERNRECTANGLE_H

#include "kalvora/raster/rectangle.h"

namespace kalvora {

/// What pixmap paints do with rectangles in their own way: opaque pixmaps that are turned by
/// quarters and not scaled are read in an order that suits the cache, and format 0 draws nothing.
extern const RectangleHooks kPatternRectangle;

/// Fills the device rectangle from `a` to `b`, rounded to whole pixels, with the pattern of
/// job.paint, whose transform turns by `angle` (90, 180 or 270 degrees) without scaling: the pixels
/// that nearest sampling gives, whatever the pixmap's quality.
void DrawSimplePatternRectRotateNoScale(const PaintJob& job, KVertex2D a, KVertex2D b,
                                        unsigned angle);

}  // namespace kalvora

#endif
