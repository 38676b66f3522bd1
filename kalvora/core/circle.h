// The circle's constants: turns in degrees, and how cubic arcs follow it.
#ifndef KALVORA_CORE_CIRCLE_H
#define KALVORA_CORE_CIRCLE_H

#include "kalvora/core/KFixed.h"

namespace kalvora {

inline constexpr KFixed kTurn = KFixed::FromInt(360);
inline constexpr KFixed kThreeQuarterTurn = KFixed::FromInt(270);
inline constexpr KFixed kHalfTurn = KFixed::FromInt(180);
inline constexpr KFixed kQuarterTurn = KFixed::FromInt(90);
inline constexpr KFixed kEighthTurn = KFixed::FromInt(45);

/// sqrt(1/2), the sine and cosine of an eighth turn, 30 fraction bits.
inline constexpr std::int32_t kSineOfEighth = 759250125;
/// How far the control points of a cubic arc stand off its ends, in parts of the radius: of a
/// quarter turn 0.55191 (16.16), which leaves the circle least, and of an eighth
/// 4/3 tan(45 degrees / 4) (30 fraction bits), which meets it in the middle.
inline constexpr std::int32_t kQuarterControl = 36170;
inline constexpr std::int32_t kEighthControl = 284769645;

}  // namespace kalvora

#endif
