// Distances of a row's pixels from the centre of a radial gradient.
#ifndef KALVORA_PAINT_GRADIENTS_DISTANCES_H
#define KALVORA_PAINT_GRADIENTS_DISTANCES_H

#include <cstdint>

#include "kalvora/core/KVertex2D.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora {

/// Offsets g + i step, i = 0, 1, ..., of 16.16 coordinates that wrap.
struct OffsetRow {
  KVertex2D g, step;

  KVertex2D At(int i) const;
  /// floor(|g + i step|), the true length in 16.16.
  std::uint32_t DistanceAt(int i) const;
  OffsetRow From(int i) const { return {At(i), step}; }
  /// None of the first n offsets wraps, and |g|^2 stays below 2^62: the squares of the row are a
  /// series whose second differences are constant.
  bool IsSeries(int n) const;
};

/// begin <= i < end.
struct IndexRange {
  int begin, end;
};

/// The squares of an OffsetRow that IsSeries.
struct SquareSeries : Squares {
  explicit SquareSeries(const OffsetRow& row);
  std::uint64_t At(int i) const {
    const auto k = static_cast<std::uint64_t>(i);
    return start + k * rise + k * (k - 1) / 2 * growth;
  }
  /// The i of 0 to n - 1 with s(i) < limit, and possibly a few at either end that are not.
  IndexRange Below(std::uint64_t limit, int n) const;
};

}  // namespace kalvora

#endif
