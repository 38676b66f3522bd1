// Compositing of gradients: how a run of colour, or of colours, gets into the target row.
#ifndef KALVORA_PAINT_COMPOSITE_H
#define KALVORA_PAINT_COMPOSITE_H

#include <cstdint>

#include "kalvora/paint/loops/loops.h"

namespace kalvora {

/// Source pixels that fillers make at a time, on the stack.
inline constexpr int kBlock = 64;

// `to` is the first of n target pixels, `coverage` (16.16, 0..0x10000) belongs to the same pixels.

/// One colour for n pixels of a gradient: weighed by coverage, blended, or as it is.
template <bool AA, bool Blend>
void PutColor(const Loops& loops, std::uint32_t* to, const std::int32_t* coverage, int n,
              std::uint32_t c) {
  if constexpr (AA) {
    loops.color.cover(to, coverage, n, c);
  } else {
    (Blend ? loops.color.over : loops.color.fill)({to, 0, n, 1}, c);
  }
}

/// n colours of a gradient, weighed by coverage or blended.
template <bool AA>
void PutPixels(const Loops& loops, std::uint32_t* to, const std::uint32_t* colors,
               const std::int32_t* coverage, int n) {
  constexpr auto kWeight = static_cast<int>(AA ? Weight::kCoverage : Weight::kFull);
  loops.pixels.over[kWeight](to, colors, coverage, n, 256);
}

}  // namespace kalvora

#endif
