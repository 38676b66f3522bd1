// Division of 64 bits by 32, for processors that have none.
#ifndef KALVORA_RASTER_SWEEP_LONGDIVISION_H
#define KALVORA_RASTER_SWEEP_LONGDIVISION_H

#include <bit>
#include <cstdint>

#include "kalvora/core/division.h"

namespace kalvora {

/// 2^63 / d, up to 5 units too small and never too large, for d that has its highest bit set.
constexpr std::uint32_t SmallReciprocal(std::uint32_t d) { return ReciprocalByNewton(d) - 3; }

/// floor((hi 2^32 + lo) / d) by multiplications with a SmallReciprocal: a quotient that is up to 13
/// units too small, most of these from the remainder, and the last one. hi < d.
constexpr std::uint32_t DivideBy(std::uint32_t hi, std::uint32_t lo, std::uint32_t d,
                                 std::uint32_t reciprocal) {
  const auto quotient = static_cast<std::uint32_t>(std::uint64_t{hi} * reciprocal >> 31);
  std::uint64_t rest = (std::uint64_t{hi} << 32 | lo) - std::uint64_t{quotient} * d;
  const auto part = static_cast<std::uint32_t>(rest >> 5);
  const auto more = static_cast<std::uint32_t>(std::uint64_t{part} * reciprocal >> 58);
  rest -= std::uint64_t{more} * d;
  return quotient + more + (rest >= d);
}

constexpr std::uint32_t DivideByNewton(std::uint32_t hi, std::uint32_t lo, std::uint32_t d) {
  return DivideBy(hi, lo, d, SmallReciprocal(d));
}

constexpr std::uint32_t DivideLong(std::uint32_t hi, std::uint32_t lo, std::uint32_t d) {
  if constexpr (!kHasDivider64) return DivideByNewton(hi, lo, d);
  return static_cast<std::uint32_t>((std::uint64_t{hi} << 32 | lo) / d);
}

/// floor(a / b) below 2^32, b > 0.
constexpr std::uint32_t ShortQuotient(std::uint64_t a, std::uint32_t b) {
  if constexpr (kHasDivider64) return static_cast<std::uint32_t>(a / b);
  const int places = std::countl_zero(b);
  const std::uint64_t high = a << places;
  return DivideByNewton(static_cast<std::uint32_t>(high >> 32), static_cast<std::uint32_t>(high),
                        b << places);
}

/// floor(2^32 a / b) for a < b.
constexpr std::uint32_t FractionOf(std::uint32_t a, std::uint32_t b) {
  const int places = std::countl_zero(b);
  return DivideLong(a << places, 0, b << places);
}

/// floor(2^32 width / dy) by multiplications; width below 2^31, dy > 0.
constexpr std::uint64_t RatioByNewton(std::uint32_t width, std::uint32_t dy) {
  const int places = std::countl_zero(dy);
  const std::uint32_t reciprocal = SmallReciprocal(dy << places);
  std::uint64_t whole = 0;
  if (width >= dy) {
    whole = std::uint64_t{width} * reciprocal >> (63 - places);
    for (width -= static_cast<std::uint32_t>(whole) * dy; width >= dy; width -= dy) ++whole;
  }
  return whole << 32 | DivideBy(width << places, 0, dy << places, reciprocal);
}

/// dx / dy with 32 fraction bits, toward zero; dy > 0.
constexpr std::int64_t RatioOf(std::int32_t dx, std::uint32_t dy) {
  // The divider takes the sign without a jump.
  if constexpr (kHasDivider64) return std::int64_t{dx} * (std::int64_t{1} << 32) / dy;
  const std::uint64_t steep = RatioByNewton(Magnitude(dx), dy);
  return static_cast<std::int64_t>(dx < 0 ? 0 - steep : steep);
}

}  // namespace kalvora

#endif
