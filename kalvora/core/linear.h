// What the matrix classes share: the sine and cosine of rotations, the tangent of skews, and the
// test for axis-parallel edges.
#ifndef KALVORA_CORE_LINEAR_H
#define KALVORA_CORE_LINEAR_H

#include "kalvora/core/circle.h"

namespace kalvora {

struct SinCos {
  KFixed sin;
  KFixed cos;
};

/// Exact at 90, 180 and 270 degrees, from the tables elsewhere. 0 degrees comes from the tables
/// too: its cosine is 65543, and matrices turned by 0 have always shown that.
inline SinCos SinCosOf(KFixed degrees) {
  if (degrees == kQuarterTurn) return {kOne, kZero};
  if (degrees == kHalfTurn) return {kZero, -kOne};
  if (degrees == kThreeQuarterTurn) return {-kOne, kZero};
  return {KFixed::Sin(degrees), KFixed::Cos(degrees)};
}

inline KFixed Tan(KFixed degrees) { return KFixed::Sin(degrees) / KFixed::Cos(degrees); }

/// Whether the linear map with the rows (a, b) and (c, d) keeps axis-parallel edges axis-parallel:
/// one of the diagonals lies within 1/64 of zero.
constexpr bool KeepsAxes(KFixed a, KFixed b, KFixed c, KFixed d) {
  const auto isSmall = [](KFixed v) { return v.raw > -1024 && v.raw < 1024; };
  return (isSmall(a) && isSmall(d)) || (isSmall(b) && isSmall(c));
}

}  // namespace kalvora

#endif
