// The fillers of a pick paint: they paint nothing and tell whether a point is covered.
#ifndef KALVORA_PAINT_PICKING_H
#define KALVORA_PAINT_PICKING_H

#include "kalvora/raster/PaintJob.h"

/// Stores true through pickHit when the span covers the pick point's pixel: for the solid filler
/// when the pixel lies in the span, for the coverage filler when its coverage is not 0 either.
/// Never stores false.
template <bool AA>
void DrawPick(const KStyleContext2D* style);

#endif
