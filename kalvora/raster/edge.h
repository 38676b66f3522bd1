// One straight edge of a ring on its way down, as DrawSimplePolygon walks it.
#ifndef KALVORA_RASTER_EDGE_H
#define KALVORA_RASTER_EDGE_H

#include <cstdint>

#include "kalvora/core/KVertex2D.h"

namespace kalvora {

/// A chain descends from a top vertex to a bottom, through the ring forward (+1) or backward (-1);
/// this is the edge that it is on. x at any y is computed from the edge's upper vertex, never
/// carried from row to row: it is exact at both ends, does not drift, and does not depend on where
/// the clip begins.
///
/// Many edges of a small shape lie within one row or one column, and need less than two divisions.
class ChainEdge {
 public:
  /// Finds the first edge of the chain from `v` on that reaches below y. False when the chain turns
  /// upward before it does: it has ended.
  bool Start(const KVertex2D* v, std::int32_t direction, std::int32_t y);
  /// Goes on along the chain when y has reached the end of this edge.
  bool Continue(std::int32_t direction, std::int32_t y) { return Start(lower_, direction, y); }

  /// x at y, which lies between the edge's upper end and `Bottom`.
  std::int32_t XAt(std::int32_t y) {
    if (y == bottom_) return x1_;
    return y == y0_ ? x0_ : AfterTravel(TravelTo(y));
  }
  /// The same below the upper end.
  std::int32_t XBelow(std::int32_t y) { return y == bottom_ ? x1_ : AfterTravel(TravelTo(y)); }
  /// x minus that of the upper end, with 32 fraction bits and rounded up by half a unit. It grows
  /// by the same amount from row to row.
  std::uint64_t TravelTo(std::int32_t y) {
    if (ratio_ == 0 && !IsVertical()) FindRatio();
    const std::uint32_t height = static_cast<std::uint32_t>(y) - static_cast<std::uint32_t>(y0_);
    return static_cast<std::uint64_t>(ratio_) * height + (std::uint64_t{1} << 31);
  }
  std::int32_t AfterTravel(std::uint64_t travel) const {
    return x0_ + static_cast<std::int32_t>(travel >> 32);
  }
  std::uint64_t TravelPerRow() const { return static_cast<std::uint64_t>(ratio_) << 16; }
  /// y of the lower end.
  std::int32_t Bottom() const { return bottom_; }
  bool IsVertical() const { return x0_ == x1_; }
  /// Row height gained per pixel of x, 16.16, of an edge that leaves a column of pixels.
  std::int32_t Slope() const { return slope_; }

 private:
  void FindRatio();
  std::int32_t FindSlope() const;

  std::int64_t ratio_;  // dx / dy with 32 fraction bits; 0 until it is needed
  std::int32_t x0_, y0_, x1_, bottom_;
  std::int32_t slope_;
  const KVertex2D* lower_;
};

}  // namespace kalvora

#endif
