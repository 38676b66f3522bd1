// Loops of gradients (GradientLoops in loops.h).
#ifndef KALVORA_PAINT_LOOPS_GRADIENT_H
#define KALVORA_PAINT_LOOPS_GRADIENT_H

#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

/// Four channels, 8.24, of each pixel of a vector.
struct Channels {
  Words b, g, r, a;

  void operator+=(const Channels& other) { b += other.b, g += other.g, r += other.r, a += other.a; }
  /// Pixels of their whole parts.
  Words Pack() const {
    return (a & 0xFF000000) | (r >> 8 & 0xFF0000) | (g >> 16 & 0xFF00) | b >> 24;
  }
};

void SeriesRow(std::uint32_t* to, int n, const std::uint32_t* value, const std::uint32_t* grow) {
  const auto from = [=](int i) {
    const auto start = [=](int c) {
      return Series(value[c] + static_cast<std::uint32_t>(i) * grow[c], grow[c]);
    };
    return Channels{start(0), start(1), start(2), start(3)};
  };
  if (n < kLanes) {
    if (n <= 0) return;
    std::uint32_t last[kLanes];
    Store(last, from(0).Pack());
    for (int i = 0; i < n; ++i) to[i] = last[i];
    return;
  }
  const auto step = [=](int c) { return All(kLanes * grow[c]); };
  const Channels steps = {step(0), step(1), step(2), step(3)};
  Channels channels = from(0);
  int i = 0;
  for (; i + kLanes <= n; i += kLanes, channels += steps) Store(to + i, channels.Pack());
  if (i < n) Store(to + n - kLanes, from(n - kLanes).Pack());
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
