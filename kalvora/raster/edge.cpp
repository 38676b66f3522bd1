// The walk down a chain, and the geometry of its edges.
#include "kalvora/raster/edge.h"

#include <algorithm>

#include "kalvora/raster/ring.h"

namespace kalvora {
namespace {

// x is held to +-16383 pixels, so that dx, with 32 fraction bits, fits a 64-bit word.
constexpr std::int32_t kFarthestX = (1 << 30) - 1;

std::int32_t HoldX(KFixed x) { return std::clamp(x.raw, -kFarthestX, kFarthestX); }

}  // namespace

bool ChainEdge::Start(const KVertex2D* v, std::int32_t direction, std::int32_t y) {
  for (;;) {
    const KVertex2D* next = ring::Step(v, direction);
    if (next->y < v->y) return false;
    if (next->y.raw > y) {
      // A horizontal edge never gets here: v is at or above y.
      Set(v, next);
      return true;
    }
    v = next;
  }
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
