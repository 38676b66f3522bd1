// The geometry of a chain's edges.
#include "kalvora/raster/edge.h"

#include "kalvora/core/division.h"
#include "kalvora/raster/chainwalk.h"
#include "kalvora/raster/sweep/longdivision.h"

namespace kalvora {

bool ChainEdge::Start(const KVertex2D* v, std::int32_t direction, std::int32_t y) {
  const KVertex2D* lower = NextDescent(v, direction, y, [](const KVertex2D*) {});
  if (!lower) return false;
  x0_ = HoldX(v->x);
  y0_ = v->y.raw;
  x1_ = HoldX(lower->x);
  bottom_ = lower->y.raw;
  lower_ = lower;
  ratio_ = 0;
  slope_ = FindSlope();
  return true;
}

void ChainEdge::FindRatio() {
  const auto dy = static_cast<std::uint32_t>(bottom_) - static_cast<std::uint32_t>(y0_);
  ratio_ = RatioOf(x1_ - x0_, dy);
}

// The reciprocal of dx / dy, rounded to the nearest unit: over a wide edge its error adds up pixel
// by pixel.
std::int32_t ChainEdge::FindSlope() const {
  // Where it crosses another, a step may end beside the edge's own column.
  if (x0_ >> 16 == x1_ >> 16) return 0;
  const std::uint32_t width = Magnitude(x1_ - x0_);
  const auto dy = static_cast<std::uint32_t>(bottom_) - static_cast<std::uint32_t>(y0_);
  const std::uint64_t height = (std::uint64_t{dy} << 16) + (width >> 1);
  if (height >> 31 >= width) return x1_ < x0_ ? -INT32_MAX : INT32_MAX;
  const auto slope = static_cast<std::int32_t>(ShortQuotient(height, width));
  return x1_ < x0_ ? -slope : slope;
}

}  // namespace kalvora
