// Scan conversion of one ring with a single top vertex: two chains from the top to the bottom.
#include <algorithm>
#include <utility>

#include "kalvora/raster/KRowWriter.h"
#include "kalvora/raster/crossing.h"
#include "kalvora/raster/edge.h"
#include "kalvora/raster/polygon.h"

namespace kalvora {
namespace {

struct Chain {
  ChainEdge edge;
  std::int32_t direction;
  std::int32_t top, bottom;  // x at the step's top and bottom

  bool Start(const KVertex2D* v, std::int32_t y) {
    if (!edge.Start(v, direction, y)) return false;
    top = edge.XAt(y);
    return true;
  }
  // Takes the next edge when y has reached the end of this one.
  bool Follow(std::int32_t y) {
    if (edge.Bottom() > y) return true;
    if (!edge.Continue(direction, y)) return false;
    top = edge.XAt(y);
    return true;
  }
};

// Ends the step where the chains cross, when they do: both x become the mean of the two there.
std::int32_t CutAtCrossing(Chain& left, Chain& right, std::int32_t y, std::int32_t stop) {
  stop = y + CrossingHeight(left.top, left.bottom, right.top, right.bottom, stop - y);
  left.bottom = left.edge.XAt(stop);
  right.bottom = right.edge.XAt(stop);
  if (left.bottom > right.bottom) {
    const auto mean = static_cast<std::int32_t>((std::int64_t{left.bottom} + right.bottom) >> 1);
    left.bottom = right.bottom = mean;
  }
  return stop;
}

}  // namespace

void DrawSimplePolygon(const RasterJob& job, const KVertex2D* top) {
  const KClip& clip = job.style->clip;
  const std::int32_t end = clip.y1 * 0x10000;
  std::int32_t y = std::max(clip.y0 * 0x10000, top->y.raw);
  Chain backward{{}, -1, 0, 0};
  Chain forward{{}, 1, 0, 0};
  if (!backward.Start(top, y) || !forward.Start(top, y)) return;
  KRowWriter rows(job, y);
  if (!rows.Ready()) return;
  while (y < end) {
    std::int32_t stop =
        std::min({(y & ~0xFFFF) + 0x10000, backward.edge.Bottom(), forward.edge.Bottom(), end});
    backward.bottom = backward.edge.XAt(stop);
    forward.bottom = forward.edge.XAt(stop);
    Chain* left = &backward;
    Chain* right = &forward;
    if (std::pair(left->top, left->bottom) > std::pair(right->top, right->bottom)) {
      std::swap(left, right);
    }
    if (left->bottom > right->bottom) stop = CutAtCrossing(*left, *right, y, stop);
    if (rows.BeginStep(y, stop)) {
      rows.Span(left->top, left->bottom, left->edge.Slope(), right->top, right->bottom,
                right->edge.Slope());
    }
    y = stop;
    rows.EndStep(y);
    backward.top = backward.bottom;
    forward.top = forward.bottom;
    if (!backward.Follow(y) || !forward.Follow(y)) break;
  }
  rows.Finish();
}

}  // namespace kalvora
