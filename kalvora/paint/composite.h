// Compositing of spans: how a run of colour, or of source pixels, gets into the target row.
#ifndef KALVORA_PAINT_COMPOSITE_H
#define KALVORA_PAINT_COMPOSITE_H

#include <cstdint>

#include "kalvora/paint/loops/loops.h"

namespace kalvora {

/// Source pixels that fillers make at a time, on the stack.
inline constexpr int kBlock = 64;

// In all functions `to` is the first of n target pixels, `coverage` (16.16, 0..0x10000) and the
// source belong to the same pixels, and n <= 0 does nothing.

/// d = c
inline void FillSpan(std::uint32_t* to, int n, std::uint32_t c) {
  ChosenLoops().color.fill({to, 0, n, 1}, c);
}
/// d = over(d, c)
inline void OverSpan(std::uint32_t* to, int n, std::uint32_t c) {
  ChosenLoops().color.over({to, 0, n, 1}, c);
}
/// d = over(d, scale(c, coverage))
inline void CoverSpan(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c) {
  ChosenLoops().color.cover(to, coverage, n, c);
}
/// Source pixels with alpha: d = over(d, scale(s, w)).
template <Weight W>
void OverPixels(std::uint32_t* to, const std::uint32_t* source, const std::int32_t* coverage, int n,
                std::int32_t opacity) {
  ChosenLoops().pixels.over[static_cast<int>(W)](to, source, coverage, n, opacity);
}

/// One colour for n pixels of a gradient: weighed by coverage, blended, or as it is.
template <bool AA, bool Blend>
void PutColor(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c) {
  if constexpr (AA) {
    CoverSpan(to, coverage, n, c);
  } else if constexpr (Blend) {
    OverSpan(to, n, c);
  } else {
    FillSpan(to, n, c);
  }
}

}  // namespace kalvora

#endif
