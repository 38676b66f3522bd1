// The sine and cosine that rotation matrices use.
#ifndef KALVORA_CORE_TURN_H
#define KALVORA_CORE_TURN_H

#include "kalvora/core/KFixed.h"

namespace kalvora {

struct SinCos {
  KFixed sin;
  KFixed cos;
};

/// Exact at 90, 180 and 270 degrees, from the tables elsewhere. 0 degrees comes from the tables
/// too: its cosine is 65543, and matrices turned by 0 have always shown that.
inline SinCos SinCosOf(KFixed degrees) {
  if (degrees == KFixed::FromInt(90)) return {kOne, kZero};
  if (degrees == KFixed::FromInt(180)) return {kZero, -kOne};
  if (degrees == KFixed::FromInt(270)) return {-kOne, kZero};
  return {KFixed::Sin(degrees), KFixed::Cos(degrees)};
}

}  // namespace kalvora

#endif
