// Division of 64 bits by 32, for processors that have none.
#ifndef KALVORA_RASTER_SWEEP_LONGDIVISION_H
#define KALVORA_RASTER_SWEEP_LONGDIVISION_H

#include <algorithm>
#include <bit>
#include <cstdint>

#include "kalvora/core/division.h"

namespace kalvora {

/// floor((hi 2^32 + lo) / d) by multiplications: the reciprocal in three steps of Newton's, a
/// quotient that is a few units off, and the rest of it from the remainder. hi < d, and d has its
/// highest bit set.
constexpr std::uint32_t DivideByNewton(std::uint32_t hi, std::uint32_t lo, std::uint32_t d) {
  const auto high = [](std::uint64_t product) { return static_cast<std::uint32_t>(product >> 32); };
  constexpr std::int32_t kUnit = 1 << 30;
  // 48/17 - 32/17 D is 2^32 / d, D = d / 2^32, within a seventeenth; 30 fraction bits.
  std::uint32_t x = 3031741620u - high(std::uint64_t{d} * 2021161080u);
  for (int i = 0; i < 3; ++i) {
    const std::int32_t error = kUnit - static_cast<std::int32_t>(high(std::uint64_t{d} * x));
    x += static_cast<std::uint32_t>((std::int64_t{error} * x) >> 30);
  }
  const std::uint64_t about = std::uint64_t{hi} * x >> 30;
  auto quotient = static_cast<std::uint32_t>(std::min<std::uint64_t>(about, UINT32_MAX));
  auto rest =
      static_cast<std::int64_t>((std::uint64_t{hi} << 32 | lo) - std::uint64_t{quotient} * d);
  const auto more = static_cast<std::int32_t>((rest >> 8) * x >> 54);
  quotient += static_cast<std::uint32_t>(more);
  rest -= std::int64_t{more} * d;
  for (; rest < 0; rest += d) --quotient;
  for (; rest >= d; rest -= d) ++quotient;
  return quotient;
}

constexpr std::uint32_t DivideLong(std::uint32_t hi, std::uint32_t lo, std::uint32_t d) {
  if constexpr (!kHasDivider64) return DivideByNewton(hi, lo, d);
  return static_cast<std::uint32_t>((std::uint64_t{hi} << 32 | lo) / d);
}

/// floor(2^32 a / b) for a < b.
constexpr std::uint32_t FractionOf(std::uint32_t a, std::uint32_t b) {
  const int places = std::countl_zero(b);
  return DivideLong(a << places, 0, b << places);
}

/// dx / dy with 32 fraction bits, toward zero; dy > 0.
constexpr std::int64_t RatioOf(std::int32_t dx, std::uint32_t dy) {
  std::uint32_t width = Magnitude(dx);
  std::int64_t steep = 0;
  if constexpr (kHasDivider64) {
    steep = static_cast<std::int64_t>((std::uint64_t{width} << 32) / dy);
    return dx < 0 ? -steep : steep;
  }
  if (width >= dy) {
    const auto [whole, rest] = DivModDivider(width, dy);
    steep = static_cast<std::int64_t>(whole) * (std::int64_t{1} << 32);
    width = rest;
  }
  steep += FractionOf(width, dy);
  return dx < 0 ? -steep : steep;
}

}  // namespace kalvora

#endif
