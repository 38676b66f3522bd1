// One straight edge of a ring on its way down, as both polygon scan converters walk it.
#ifndef KALVORA_RASTER_EDGE_H
#define KALVORA_RASTER_EDGE_H

#include <cstdint>

#include "kalvora/core/KVertex2D.h"

namespace kalvora {

/// A chain descends from a top vertex to a bottom, through the ring forward (+1) or backward (-1);
/// this is the edge that it is on. x at any y is computed from the edge's upper vertex, never
/// carried from row to row: it is exact at both ends, does not drift, and does not depend on where
/// the clip begins.
class ChainEdge {
 public:
  /// Finds the first edge of the chain from `v` on that reaches below y. False when the chain turns
  /// upward before it does: it has ended.
  bool Start(const KVertex2D* v, std::int32_t direction, std::int32_t y);
  /// Goes on along the chain when y has reached the end of this edge.
  bool Continue(std::int32_t direction, std::int32_t y) { return Start(lower_, direction, y); }

  /// x at y, which lies between the edge's upper end and `Bottom`.
  std::int32_t XAt(std::int32_t y) const {
    const std::int64_t dy = std::int64_t{y} - y0_;
    return x0_ + static_cast<std::int32_t>((ratio_ * dy + (std::int64_t{1} << 31)) >> 32);
  }
  /// y of the lower end.
  std::int32_t Bottom() const { return bottom_; }
  /// Row height gained per pixel of x, 16.16; 0 for an edge that stays within one column of pixels.
  KFixed Slope() const { return slope_; }
  /// dx / dy with 32 fraction bits: orders edges that leave the same point.
  std::int64_t Ratio() const { return ratio_; }

 private:
  void Set(const KVertex2D* upper, const KVertex2D* lower);

  std::int64_t ratio_;
  std::int32_t x0_, y0_;
  std::int32_t bottom_;
  KFixed slope_;
  const KVertex2D* lower_;
};

}  // namespace kalvora

#endif
