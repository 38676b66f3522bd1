// The geometry of a chain's edges.
#include "kalvora/raster/edge.h"

#include <algorithm>

#include "kalvora/raster/chainwalk.h"

namespace kalvora {

bool ChainEdge::Start(const KVertex2D* v, std::int32_t direction, std::int32_t y) {
  const KVertex2D* lower = NextDescent(v, direction, y, [](const KVertex2D*) {});
  if (lower) Set(v, lower);
  return lower;
}

void ChainEdge::Set(const KVertex2D* upper, const KVertex2D* lower) {
  x0_ = HoldX(upper->x);
  y0_ = upper->y.raw;
  bottom_ = lower->y.raw;
  lower_ = lower;
  const std::int32_t x1 = HoldX(lower->x);
  const std::int64_t dx = std::int64_t{x1} - x0_;
  const std::int64_t dy = std::int64_t{bottom_} - y0_;
  if (dx == 0) {
    ratio_ = 0;
    slope_ = kZero;
    return;
  }
  ratio_ = dx * (std::int64_t{1} << 32) / dy;
  if (x0_ >> 16 == x1 >> 16) {
    slope_ = kZero;
    return;
  }
  // The reciprocal of dx / dy, rounded to the nearest unit: over a wide edge its error adds up
  // pixel by pixel.
  const std::int64_t width = dx < 0 ? -dx : dx;
  const std::int64_t steep =
      std::min<std::int64_t>((dy * 0x10000 + (width >> 1)) / width, INT32_MAX);
  slope_ = KFixed::FromRaw(static_cast<std::int32_t>(dx < 0 ? -steep : steep));
}

}  // namespace kalvora
