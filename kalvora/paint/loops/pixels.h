// Loops over source pixels (PixelLoops in loops.h).
#ifndef KALVORA_PAINT_LOOPS_PIXELS_H
#define KALVORA_PAINT_LOOPS_PIXELS_H

#include "kalvora/paint/loops/groups.h"
#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

/// The weights of the pixels that a loop is at, for both fields; `opacity` in both fields too.
template <Weight W, typename A>
Words BothWeights(A at, const std::int32_t* coverage, std::int32_t opacity) {
  const auto o = static_cast<std::uint32_t>(opacity);
  if constexpr (W == Weight::kOpacity) return Both(All(o));
  if constexpr (W == Weight::kCoverageOpacity) return Both(at(coverage) * o >> 16);
  if constexpr (W == Weight::kCoverage || W == Weight::kOpacityThenCoverage) {
    return BothCoverage(at(coverage));
  }
  return Both(All(256));
}

template <Weight W>
void OverPixels(std::uint32_t* to, const std::uint32_t* source, const std::int32_t* coverage, int n,
                std::int32_t opacity) {
  Pixels(to, n, [=](Words d, auto at) {
    Words s = at(source);
    if constexpr (W == Weight::kOpacityThenCoverage) {
      s = Scale(s, Both(All(static_cast<std::uint32_t>(opacity))));
    }
    if constexpr (W != Weight::kFull) s = Scale(s, BothWeights<W>(at, coverage, opacity));
    return Over(d, s);
  });
}

template <Weight W>
void LerpPixels(std::uint32_t* to, const std::uint32_t* source, const std::int32_t* coverage, int n,
                std::int32_t opacity) {
  Pixels(to, n, [=](Words d, auto at) {
    return Lerp(d, at(source), BothWeights<W>(at, coverage, opacity));
  });
}

/// Long rows are the C library's business.
inline void CopyRow(std::uint32_t* to, const std::uint32_t* source, int n) {
  CopyGroups(to, source, n);
  if (kLanes > 1 && n <= 16 * kLanes) {
    Pixels(to, n, [source](Words, auto at) { return at(source); });
  } else {
    __builtin_memcpy(to, source, static_cast<std::size_t>(n) * sizeof *to);
  }
}

void CopyBlock(const Block& block, const std::uint32_t* source, std::ptrdiff_t sourceStride) {
  if (block.n <= 0) return;
  EachRow(block,
          [=](std::uint32_t* to, int y) { CopyRow(to, source + y * sourceStride, block.n); });
}

void OverBlock(const Block& block, const std::uint32_t* source, std::ptrdiff_t sourceStride) {
  EachRow(block, [=](std::uint32_t* to, int y) {
    const std::uint32_t* s = source + y * sourceStride;
    int n = block.n;
    OverGroups(to, s, n);
    Pixels(to, n, [s](Words d, auto at) { return Over(d, at(s)); });
  });
}

void Pick(std::uint32_t* to, int n, const std::uint32_t* index, const std::uint32_t* table) {
  PickGroups(to, index, n, table);
  for (int i = 0; i < n; ++i) to[i] = table[index[i]];
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
