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

/// 1 / sqrt at the middles of the intervals from 16/64 on, 30 fraction bits. (A table inside the
/// function would be copied to the stack at every call.)
inline constexpr auto kInverseRoots = [] {
  std::array<std::uint32_t, 48> table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    const std::uint64_t middle = (2 * (std::uint64_t{i} + 16) + 1) << 57;
    table[i] = static_cast<std::uint32_t>((std::uint64_t{1} << 62) / Root(middle));
  }
  return table;
}();

/// 1 / sqrt(m / 2^32) for m of 2^30 and more, 30 fraction bits: three Newton steps
/// y' = y (3 - m y^2) / 2 from a table that is right to six bits.
constexpr std::uint32_t InverseRoot(std::uint32_t m) {
  // All in words of 32 bits, whose products one instruction forms.
  std::uint32_t y = kInverseRoots[(m >> 26) - 16];
  for (int i = 0; i < 3; ++i) {
    const auto squared = static_cast<std::uint32_t>(std::uint64_t{y} * y >> 31);
    const auto product = static_cast<std::uint32_t>(std::uint64_t{m} * squared >> 32);
    y = static_cast<std::uint32_t>(std::uint64_t{y} * ((3u << 29) - product) >> 30);
  }
  return y;
}

}  // namespace kalvora

#endif
