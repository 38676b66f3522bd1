// Distances of a row's pixels from the centre of a radial gradient.
#include "kalvora/paint/gradients/distances.h"

#include <algorithm>
#include <cmath>

#include "kalvora/core/roots.h"

namespace kalvora {
namespace {

std::uint64_t Square(KVertex2D v) {
  const std::int64_t x = v.x.raw, y = v.y.raw;
  return static_cast<std::uint64_t>(x * x) + static_cast<std::uint64_t>(y * y);
}

KFixed After(KFixed from, KFixed by, int i) {
  return KFixed::FromRaw(static_cast<std::int32_t>(static_cast<std::uint32_t>(from.raw) +
                                                   static_cast<std::uint32_t>(by.raw) *
                                                       static_cast<std::uint32_t>(i)));
}

}  // namespace

KVertex2D OffsetRow::At(int i) const { return {After(g.x, step.x, i), After(g.y, step.y, i)}; }

std::uint32_t OffsetRow::DistanceAt(int i) const { return Root(Square(At(i))); }

bool OffsetRow::IsSeries(int n) const {
  constexpr std::int64_t kLimit = 1 << 30;
  const auto sound = [n](KFixed from, KFixed by) {
    const std::int64_t first = from.raw, end = first + std::int64_t{by.raw} * (n - 1);
    return std::min(first, end) > -kLimit && std::max(first, end) < kLimit;
  };
  return sound(g.x, step.x) && sound(g.y, step.y);
}

// |g + (i + 1) step|^2 - |g + i step|^2 = 2 g . step + (2 i + 1) |step|^2
SquareSeries::SquareSeries(const OffsetRow& row) : Squares{Square(row.g), Square(row.step), 0} {
  growth = 2 * rise;
  const std::int64_t dot =
      std::int64_t{row.g.x.raw} * row.step.x.raw + std::int64_t{row.g.y.raw} * row.step.y.raw;
  rise += 2 * static_cast<std::uint64_t>(dot);
}

// s(i) = s(0) + rise i + growth i (i - 1) / 2 is a parabola, below the limit between the roots
//
//     i = v -+ sqrt(v^2 - 2 (s(0) - limit) / growth),   v = 1/2 - rise / growth
//
// Real numbers find them near enough.
IndexRange SquareSeries::Below(std::uint64_t limit, int n) const {
  if (growth == 0) return {0, start < limit ? n : 0};
  const double scale = 1 / static_cast<double>(growth);
  const double vertex = 0.5 - static_cast<double>(static_cast<std::int64_t>(rise)) * scale;
  const double above = static_cast<double>(start) - static_cast<double>(limit);
  const double square = vertex * vertex - 2 * above * scale;
  // Rounding, of squares of up to 2^62 too, may take this much away from it.
  const double margin =
      (vertex * vertex + 2 * (static_cast<double>(start) + static_cast<double>(limit)) * scale) *
      0x1p-48;
  if (square < -margin - 1) return {0, 0};
  const double reach = std::sqrt(std::max(square, 0.0) + margin) + 2;
  const auto held = [n](double i) { return static_cast<int>(std::clamp<double>(i, 0, n)); };
  const int begin = held(std::floor(vertex - reach)), end = held(std::ceil(vertex + reach));
  return {begin, std::max(begin, end)};
}

}  // namespace kalvora
