// The walk down a chain of a ring's edges, as both polygon scan converters do it.
#ifndef KALVORA_RASTER_CHAINWALK_H
#define KALVORA_RASTER_CHAINWALK_H

#include <algorithm>
#include <cstdint>

#include "kalvora/raster/ring.h"

namespace kalvora {

/// x is held to -16384 up to just below 16384 pixels, so that dx with 32 fraction bits fits a
/// 64-bit word: in 31 bits, for which ARM has an instruction.
inline constexpr std::int32_t kFarthestX = (1 << 30) - 1;
inline std::int32_t HoldX(KFixed x) { return std::clamp(x.raw, -kFarthestX - 1, kFarthestX); }

/// A chain descends from a top vertex to a bottom, through the ring forward (+1) or backward (-1).
/// Moves `v`, at or above y, down to the upper end of the first edge that reaches below y and
/// returns its lower end; null when the chain turns upward before it does: it has ended. `pass` is
/// called with each vertex on the way but the first.
template <typename Pass>
const KVertex2D* NextDescent(const KVertex2D*& v, std::int32_t direction, std::int32_t y,
                             Pass pass) {
  for (;;) {
    const KVertex2D* next = ring::Step(v, direction);
    if (next->y < v->y) return nullptr;
    // A horizontal edge never ends below y: v is at or above it.
    if (next->y.raw > y) return next;
    v = next;
    pass(v);
  }
}

}  // namespace kalvora

#endif
