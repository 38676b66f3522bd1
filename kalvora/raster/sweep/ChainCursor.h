// ChainCursor: a place on a chain inside a row.
#ifndef KALVORA_RASTER_SWEEP_CHAINCURSOR_H
#define KALVORA_RASTER_SWEEP_CHAINCURSOR_H

#include <cstdint>

#include "kalvora/raster/sweep/Chain.h"
#include "kalvora/raster/sweep/longdivision.h"

namespace kalvora {

/// The piece of a chain between two heights of a row: from the row's top or a vertex to the next
/// vertex or the row's bottom. `top` and `end` are heights in the row. Stays where it is.
struct ChainCursor {
  Chain* chain;
  SlopedEdge* edge;
  std::int32_t top, xTop;
  std::int32_t end, xEnd;
  std::int32_t rowTop;

  void Begin(Chain& of, std::int32_t y) {
    chain = &of;
    rowTop = y;
    edge = &of.Entering();
    top = of.starts ? Height(edge->y0) : 0;
    xTop = of.x;
    if (of.turns) {
      end = Height(edge->y1);
      xEnd = edge->x1;
    } else {
      end = kWholeHeight;
      xEnd = of.XBottom();
    }
  }
  /// Goes on to the piece below. False when the chain ends.
  bool Next() {
    Extent passed{0, 0};
    if (!below_.Find(edge->lower, chain->winding, edge->y1, passed)) return false;
    edge = &below_;
    top = end;
    xTop = edge->x0;
    if (edge->y1 <= rowTop + kRowHeight) {
      end = Height(edge->y1);
      xEnd = edge->x1;
    } else {
      end = kWholeHeight;
      xEnd = chain->XBottom();
    }
    return true;
  }
  /// x at height y within the piece.
  std::int32_t XAt(std::int32_t y) {
    if (y == end) return xEnd;
    if (y == top) return xTop;
    edge->NeedRatio();
    return edge->XAt(rowTop, y);
  }

 private:
  std::int32_t Height(std::int32_t y) const { return (y - rowTop) * (1 << kHeightBits); }

  SlopedEdge below_;
};

/// Whether `a` is right of some of `b`, at whatever heights.
inline bool MayBeInverted(const ChainCursor& a, const ChainCursor& b) {
  return std::max(a.xTop, a.xEnd) > std::min(b.xTop, b.xEnd);
}

/// Whether `a` is right of `b` at the lower end of what they have in common. x in between is asked
/// for where the ends do not tell.
inline bool AreInverted(ChainCursor& a, ChainCursor& b) {
  if (a.end == b.end) return a.xEnd > b.xEnd;
  if (a.end < b.end) return a.xEnd > std::min(b.xTop, b.xEnd) && a.xEnd > b.XAt(a.end);
  return std::max(a.xTop, a.xEnd) > b.xEnd && a.XAt(b.end) > b.xEnd;
}

/// Where two pieces cross, of which the left one is `before` (0 or more) units of x away from the
/// other at the top of what they have in common, and `after` (more than 0) beyond it `height`
/// below: up to two units below where they meet.
inline std::int32_t CrossingHeight(std::int32_t before, std::int32_t after, std::int32_t height) {
  const auto part = static_cast<std::uint32_t>(before);
  const std::uint32_t whole = part + static_cast<std::uint32_t>(after);
  const std::uint64_t meet =
      (FractionOf(part, whole) + std::uint64_t{1}) * static_cast<std::uint32_t>(height) >> 32;
  return static_cast<std::int32_t>(
      std::min<std::uint64_t>(meet + 1, static_cast<std::uint32_t>(height)));
}

}  // namespace kalvora

#endif
