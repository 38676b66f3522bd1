// SlopedEdge: one straight edge of a chain on its way down, and its exact geometry.
#ifndef KALVORA_RASTER_SWEEP_SLOPEDEDGE_H
#define KALVORA_RASTER_SWEEP_SLOPEDEDGE_H

#include <algorithm>
#include <cstdint>

#include "kalvora/raster/chainwalk.h"

namespace kalvora {

/// Heights inside a row are counted downward from its top in units of 2^-26: so fine that within
/// two of them, the rounding of a crossing, no edge moves by more than 64 pixels, however flat it
/// is. So crossings that lie further than that beside the pixels drawn cannot change them.
inline constexpr std::int32_t kHeightBits = 10;  // beyond 16.16
inline constexpr std::int32_t kWholeHeight = 0x10000 << kHeightBits;

/// What something touches, as a range of 16.16 x, ends included.
struct Extent {
  std::int32_t low, high;

  void Include(std::int32_t x) {
    low = std::min(low, x);
    high = std::max(high, x);
  }
};

/// An edge from an upper vertex down to a lower one. x at any y is computed from the upper vertex:
/// it does not drift, and does not depend on where the clip begins.
///
/// Most edges of a small drawing lie within one row and one column: the two divisions are done when
/// they are asked for.
struct SlopedEdge {
  std::int64_t ratio;  ///< dx / dy with 32 fraction bits; see NeedRatio
  std::int32_t x0, y0, x1, y1;
  const KVertex2D* lower;
  std::uint32_t gain;  ///< height / |dx| is gain / 2^shift; 0 as long as NeedGain was not called
  std::uint8_t shift;
  bool hasRatio;

  /// Finds the first edge of a chain from `v` on that reaches below y, -1 backward, 1 forward
  /// through the ring, and includes in `extent` the x of the vertices after `v` on the way. False
  /// when the chain turns upward before it does: it has ended.
  bool Find(const KVertex2D* v, std::int32_t direction, std::int32_t y, Extent& extent) {
    // Nearly always the next one does.
    const KVertex2D* to = ring::Step(v, direction);
    if (to->y.raw <= y && !(to = Pass(v, direction, y, extent))) return false;
    Set(*v, to);
    return true;
  }

  std::uint32_t Height() const {
    return static_cast<std::uint32_t>(y1) - static_cast<std::uint32_t>(y0);
  }
  void NeedRatio() {
    if (!hasRatio) FindRatio();
  }
  void NeedGain() {
    if (gain == 0) FindGain();
  }

  /// x with 32 more fraction bits and rounded up by half a unit, at y within the edge. One row
  /// further down it is 65536 times the ratio more, exactly. The ratio must have been found.
  std::uint64_t PlaceAt(std::int32_t y) const {
    const auto height = static_cast<std::uint64_t>(std::int64_t{y} - y0);
    return (static_cast<std::uint64_t>(x0) << 32) + (std::uint64_t{1} << 31) +
           static_cast<std::uint64_t>(ratio) * height;
  }
  static std::uint64_t PlaceOf(std::int32_t x) { return static_cast<std::uint64_t>(x) << 32; }
  static std::int32_t XOf(std::uint64_t place) { return static_cast<std::int32_t>(place >> 32); }
  /// x at y.
  std::int32_t XAt(std::int32_t y) const { return y == y1 ? x1 : XOf(PlaceAt(y)); }
  /// x at a height below y.
  std::int32_t XAt(std::int32_t y, std::int32_t height) const {
    const std::int32_t units = height >> kHeightBits;
    const std::int32_t rest = height & ((1 << kHeightBits) - 1);
    return XOf(PlaceAt(y + units) + static_cast<std::uint64_t>((ratio >> kHeightBits) * rest));
  }

 private:
  static const KVertex2D* Pass(const KVertex2D*& v, std::int32_t direction, std::int32_t y,
                               Extent& extent);
  void Set(KVertex2D from, const KVertex2D* to) {
    x0 = HoldX(from.x);
    y0 = from.y.raw;
    x1 = HoldX(to->x);
    y1 = to->y.raw;
    lower = to;
    gain = 0;
    shift = 0;  // DifferenceLine shifts by it also where the result does not count
    hasRatio = false;
  }
  void FindRatio();
  void FindGain();
};

/// Of two edges that begin at one height, whether `a` is left of the other at first.
inline bool StartsLeft(const SlopedEdge& a, const SlopedEdge& b) {
  if (a.x0 != b.x0) return a.x0 < b.x0;
  return (std::int64_t{a.x1} - a.x0) * (std::int64_t{b.y1} - b.y0) <
         (std::int64_t{b.x1} - b.x0) * (std::int64_t{a.y1} - a.y0);
}

}  // namespace kalvora

#endif
