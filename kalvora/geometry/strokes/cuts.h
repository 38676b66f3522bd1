// Cuts: Bezier's Halve and ReParam in vectors of both coordinates, where 32-bit ARM has them.
#ifndef KALVORA_GEOMETRY_STROKES_CUTS_H
#define KALVORA_GEOMETRY_STROKES_CUTS_H

#include "kalvora/geometry/strokes/bezier.h"

// Words of 64 bits are as quick elsewhere. The file is compiled for NEON, and used where the kernel
// reports it.
#if defined(__arm__) && __ARM_ARCH >= 7
#define KALVORA_CURVE_VECTORS 1
#else
#define KALVORA_CURVE_VECTORS 0
#endif

namespace kalvora::vectors {

/// The halves of a curve; either may take the place of the whole.
template <int ORDER>
void Halve(const Bezier<ORDER>& whole, Bezier<ORDER>& before, Bezier<ORDER>& after);
/// The parts before and after t, 30 fraction bits; the same.
template <int ORDER>
void Cut(const Bezier<ORDER>& whole, Bezier<ORDER>& before, Bezier<ORDER>& after, std::int32_t t,
         bool hasShortLegs);

}  // namespace kalvora::vectors

#endif
