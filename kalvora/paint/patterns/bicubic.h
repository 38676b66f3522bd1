// Where bicubic samples come from along one axis.
#ifndef KALVORA_PAINT_PATTERNS_BICUBIC_H
#define KALVORA_PAINT_PATTERNS_BICUBIC_H

#include <cstddef>
#include <cstdint>

#include "kalvora/core/KFormat.h"
#include "kalvora/paint/KTables.h"
#include "kalvora/paint/patterns/patternwalk.h"

namespace kalvora {

inline constexpr int kTaps = 4;

/// Four pixels along one axis, and their weights.
struct Taps {
  std::int32_t index[kTaps];
  std::int32_t weight[kTaps];  // 16.16
};

/// The pixels one before `i` to two after it, of `count`.
template <KRepeatRule R>
void FindTaps(Taps& taps, std::int32_t i, std::int32_t count) {
  if constexpr (R == KRepeatTile) {
    const auto next = [count](std::int32_t k) { return k + 1 < count ? k + 1 : 0; };
    taps.index[1] = Wrapped(i, count);
    taps.index[0] = (taps.index[1] > 0 ? taps.index[1] : count) - 1;
    taps.index[2] = next(taps.index[1]);
    taps.index[3] = next(taps.index[2]);
  } else {
    for (int j = 0; j < kTaps; ++j) taps.index[j] = Clamped(i - 1 + j, count);
  }
}

/// The weights of a coordinate, 16.16, whole numbers meaning the centres of pixels.
inline void FindWeights(std::int32_t* weight, std::int32_t v) {
  const std::int64_t f = v & 0xFFFF;
  const std::int32_t* line = &KTables::KBicubic[static_cast<std::size_t>(f >> 11) * 2 * kTaps];
  for (int j = 0; j < kTaps; ++j) {
    weight[j] = static_cast<std::int32_t>((line[2 * j] * f >> 16) + line[2 * j + 1]);
  }
}

/// Both.
template <KRepeatRule R>
Taps TapsAt(std::int32_t v, std::int32_t count) {
  Taps taps;
  FindTaps<R>(taps, v >> 16, count);
  FindWeights(taps.weight, v);
  return taps;
}

}  // namespace kalvora

#endif
