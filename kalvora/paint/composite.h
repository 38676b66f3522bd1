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
void FillSpan(std::uint32_t* to, int n, std::uint32_t c);
/// d = over(d, c)
void OverSpan(std::uint32_t* to, int n, std::uint32_t c);
/// d = over(d, scale(c, coverage))
void CoverSpan(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c);
/// d = lerp(d, c, coverage)
void LerpSpan(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c);

/// d = over(d, scale(c, mask)), where the mask bytes of glyphs and the like are mostly 0 or 255.
void CoverMaskedSpan(std::uint32_t* to, const std::uint8_t* mask, int n, std::uint32_t c);
/// d = lerp(d, c, mask)
void LerpMaskedSpan(std::uint32_t* to, const std::uint8_t* mask, int n, std::uint32_t c);

/// Source pixels with alpha: d = over(d, scale(s, w)).
template <Weight W>
void OverPixels(std::uint32_t* to, const std::uint32_t* source, const std::int32_t* coverage, int n,
                std::int32_t opacity);

/// Source pixels taken as opaque: d = lerp(d, s, w).
template <Weight W>
void LerpPixels(std::uint32_t* to, const std::uint32_t* source, const std::int32_t* coverage, int n,
                std::int32_t opacity);

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
