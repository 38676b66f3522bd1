// Where two edges cross inside a step.
#ifndef KALVORA_RASTER_CROSSING_H
#define KALVORA_RASTER_CROSSING_H

#include <algorithm>
#include <cstdint>

namespace kalvora {

/// A step that ends at a crossing is at least this high (1/1024 of a row), so that a row has a
/// bounded number of steps however many edges cross in it.
inline constexpr std::int32_t kLowestCrossing = 64;

/// Height at which the step of `height` ends because edge a, which begins left of edge b (or with
/// it), ends right of it: where they meet, rounded up, and at least kLowestCrossing. Never more
/// than `height`.
inline std::int32_t CrossingHeight(std::int32_t aTop, std::int32_t aBottom, std::int32_t bTop,
                                   std::int32_t bBottom, std::int32_t height) {
  const std::int64_t gapTop = std::int64_t{bTop} - aTop;
  const std::int64_t gapBottom = std::int64_t{aBottom} - bBottom;
  const std::int64_t whole = gapTop + gapBottom;
  const std::int64_t meet = (gapTop * height + whole - 1) / whole;
  return static_cast<std::int32_t>(
      std::min<std::int64_t>(std::max<std::int64_t>(meet, kLowestCrossing), height));
}

}  // namespace kalvora

#endif
