// ChainCursor: a place on a chain inside a row.
#ifndef KALVORA_RASTER_SWEEP_CHAINCURSOR_H
#define KALVORA_RASTER_SWEEP_CHAINCURSOR_H

#include <cstdint>

#include "kalvora/raster/sweep/Chain.h"

namespace kalvora {

/// The piece of a chain between two heights of a row: from the row's top or a vertex to the next
/// vertex or the row's bottom. `top` and `end` are heights in the row.
struct ChainCursor {
  SlopedEdge edge;
  std::int32_t top, xTop;
  std::int32_t end, xEnd;
  std::int32_t rowTop;

  void Begin(const Chain& chain, std::int32_t y) {
    rowTop = y;
    edge = chain.edge;
    top = chain.starts ? Height(edge.y0) : 0;
    xTop = chain.x;
    if (chain.starts || chain.turns) {
      FindEnd();
    } else {
      end = kWholeHeight;
      xEnd = chain.xBottom;
    }
  }
  /// Goes on to the piece below. False when the chain ends.
  bool Next(std::int32_t direction) {
    Extent passed{0, 0};
    if (!edge.Continue(direction, edge.y1, passed)) return false;
    top = end;
    xTop = edge.x0;
    FindEnd();
    return true;
  }
  /// x at height y within the piece.
  std::int32_t XAt(std::int32_t y) {
    if (y == end) return xEnd;
    if (y == top) return xTop;
    edge.NeedRatio();
    return edge.XAt(rowTop, y);
  }

 private:
  std::int32_t Height(std::int32_t y) const { return (y - rowTop) * (1 << kHeightBits); }
  void FindEnd() {
    if (edge.y1 <= rowTop + kRowHeight) {
      end = Height(edge.y1);
      xEnd = edge.x1;
    } else {
      edge.NeedRatio();
      end = kWholeHeight;
      xEnd = edge.XAt(rowTop + kRowHeight);
    }
  }
};

}  // namespace kalvora

#endif
