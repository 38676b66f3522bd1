// Magnitudes and integer square roots.
#ifndef KALVORA_CORE_ROOTS_H
#define KALVORA_CORE_ROOTS_H

#include <array>
#include <bit>
#include <cstdint>

#include "kalvora/core/KFixed.h"

namespace kalvora {

constexpr std::int64_t Abs(std::int64_t v) { return v < 0 ? -v : v; }
constexpr KFixed Abs(KFixed v) { return v.raw < 0 ? -v : v; }

/// floor(sqrt(v)) of an unsigned word of 32 or 64 bits, a bit at a time.
template <typename Word>
constexpr std::uint32_t Root(Word v) {
  if (v == 0) return 0;
  Word root = 0;
  Word bit = Word{1} << ((std::bit_width(v) - 1) & ~1);
  for (; bit != 0; bit >>= 2) {
    if (v >= root + bit) {
      v -= root + bit;
      root = (root >> 1) + bit;
    } else {
      root >>= 1;
    }
  }
  return static_cast<std::uint32_t>(root);
}

/// 1 / sqrt(m / 2^32) for m of 2^30 and more, 30 fraction bits: three Newton steps
/// y' = y (3 - m y^2) / 2 from a table that is right to six bits.
constexpr std::uint32_t InverseRoot(std::uint32_t m) {
  constexpr auto kFirst = [] {
    std::array<std::uint32_t, 48> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
      const std::uint64_t middle = (2 * (std::uint64_t{i} + 16) + 1) << 57;
      table[i] = static_cast<std::uint32_t>((std::uint64_t{1} << 62) / Root(middle));
    }
    return table;
  }();
  std::uint64_t y = kFirst[(m >> 26) - 16];
  for (int i = 0; i < 3; ++i) {
    const std::uint64_t squared = y * y >> 31;
    const std::uint64_t product = m * squared >> 32;
    y = y * ((std::uint64_t{3} << 29) - product) >> 30;
  }
  return static_cast<std::uint32_t>(y);
}

}  // namespace kalvora

#endif
