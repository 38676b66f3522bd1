// SlopedEdge: from edge to edge, and the two slopes.
#include "kalvora/raster/sweep/SlopedEdge.h"

#include <bit>

#include "kalvora/core/division.h"
#include "kalvora/raster/sweep/longdivision.h"

namespace kalvora {

// Apart, because Find is in line everywhere.
[[gnu::noinline]] const KVertex2D* SlopedEdge::Pass(const KVertex2D*& v, std::int32_t direction,
                                                    std::int32_t y, Extent& extent) {
  return NextDescent(v, direction, y,
                     [&](const KVertex2D* passed) { extent.Include(HoldX(passed->x)); });
}

void SlopedEdge::FindRatio() {
  ratio = RatioOf(x1 - x0, Height());
  hasRatio = true;
}

// Both divided numbers are first moved to the top of their words, which gives 31 or 32 exact bits.
// An edge so upright that its gain does not fit passes a row within less than a unit of x.
void SlopedEdge::FindGain() {
  const std::uint32_t dy = Height();
  const auto dx = static_cast<std::uint32_t>(x1 - x0);
  const std::uint32_t sign = x1 < x0;
  const std::uint32_t width = (dx ^ (0 - sign)) + sign;  // without a jump
  const int high = std::countl_zero(dy);
  const int wide = std::countl_zero(width);
  const std::uint32_t most = dy << high;
  gain = DivideLong(most >> 1, most << 31, width << wide);
  const int places = 31 + high - wide - kHeightBits;
  if (places < 0) gain = UINT32_MAX;
  shift = static_cast<std::uint8_t>(std::max(places, 0));
}

}  // namespace kalvora
