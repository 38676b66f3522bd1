// Lengths of evenly spaced vectors, many at a time.
#ifndef KALVORA_PAINT_DISTANCES_H
#define KALVORA_PAINT_DISTANCES_H

#include "kalvora/core/KVertex2D.h"

namespace kalvora {

/// Lengths are computed this many at a time.
inline constexpr int kDistances = 16;

/// out[i] = (g + i step).Norm(), i = 0..kDistances - 1, to the bit.
void Distances(KVertex2D g, KVertex2D step, std::int32_t* out);

/// How many of the n vectors g, g + step, ... from the first on are certainly no shorter than
/// `radius`, by Norm's measure. A few that touch the circle may be left out.
int PixelsBeyond(KVertex2D g, KVertex2D step, std::int32_t radius, int n);

}  // namespace kalvora

#endif
