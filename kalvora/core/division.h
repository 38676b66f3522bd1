// Division of magnitudes, each operation twice: shifts and subtractions for processors without a
// divider, and the divider's own instruction where it gives the identical result.
#ifndef KALVORA_CORE_DIVISION_H
#define KALVORA_CORE_DIVISION_H

#include <array>
#include <bit>
#include <cstdint>

#include "kalvora/core/KFixed.h"

namespace kalvora {

/// Whether the processor divides 32-bit and 64-bit words in one instruction.
#if defined(__arm__) && !defined(__ARM_FEATURE_IDIV)
inline constexpr bool kHasDivider32 = false;
#else
inline constexpr bool kHasDivider32 = true;
#endif
inline constexpr bool kHasDivider64 = kHasDivider32 && UINTPTR_MAX > 0xFFFFFFFFu;

/// |v| as a word: the most negative number has the magnitude 0x80000000.
constexpr std::uint32_t Magnitude(std::int32_t v) {
  const auto bits = static_cast<std::uint32_t>(v);
  return v < 0 ? 0u - bits : bits;
}

/// `magnitude` with a sign, wrapping around.
constexpr std::int32_t WithSign(std::uint32_t magnitude, bool negative) {
  return static_cast<std::int32_t>(negative ? 0u - magnitude : magnitude);
}

/// Index of the highest set bit; -1 when there is none.
constexpr int HighestBit(std::uint32_t v) { return 31 - std::countl_zero(v); }

/// v << n for every n >= 0: bits shifted past bit 31 are lost.
constexpr std::uint32_t ShiftLeft(std::uint32_t v, int n) { return n < 32 ? v << n : 0; }

/// v >> n for every n >= 0.
constexpr std::uint32_t ShiftRight(std::uint32_t v, int n) { return n < 32 ? v >> n : 0; }

/// For v > 0; std::has_single_bit would count the bits, which older processors do slowly.
constexpr bool IsPowerOfTwo(std::uint32_t v) { return (v & (v - 1)) == 0; }

struct UnsignedDivMod {
  std::uint32_t quotient;
  std::uint32_t remainder;
};

// The loops. --------------------------------------------------------------------------------------

/// a / b with the remainder. b = 0 gives a meaningless quotient.
constexpr UnsignedDivMod DivModLoop(std::uint32_t a, std::uint32_t b) {
  std::uint32_t quotient = 0;
  for (int k = std::countl_zero(b) - std::countl_zero(a); k >= 0; --k) {
    const std::uint32_t trial = ShiftLeft(b, k);
    if (trial <= a) {
      a -= trial;
      quotient |= ShiftLeft(1, k);
    }
  }
  return {quotient, a};
}

/// The 16.16 quotient a / b, a > 0: floor(2^16 a / b), modulo 2^32, with two peculiarities that
/// callers may rely on and that must not be repaired:
/// - the divisor is aligned to the dividend's top bit, which may drop its lowest bits when a < b;
/// - the dividend 0x80000000 has no bit to spare for the first shift of the remainder, so its
///   quotient is 0 unless b is a power of two.
constexpr std::uint32_t QuotientLoop(std::uint32_t a, std::uint32_t b) {
  const int ha = HighestBit(a);
  const int hb = HighestBit(b);
  const int d = ha - hb;
  if (d < -16) return 0;
  const int room = 30 - (ha > hb ? ha : hb);
  std::uint32_t remainder = room > 0 ? a << room : a;
  std::uint32_t divisor = room > 0 ? b << room : b;
  divisor = d >= 0 ? ShiftLeft(divisor, d) : divisor >> -d;

  std::uint32_t quotient = 0;
  for (int k = d + 16; k > 0; --k) {
    if (divisor <= remainder) {
      remainder -= divisor;
      quotient |= ShiftLeft(1, k);
    }
    remainder <<= 1;
  }
  return divisor <= remainder ? quotient | 1 : quotient;
}

/// floor(2^32 / v) modulo 2^32, so 0 for 1; 0 gives 0.
constexpr std::uint32_t ReciprocalLoop(std::uint32_t v) {
  if (v <= 1) return 0;
  const int top = std::countl_zero(v);
  if (IsPowerOfTwo(v)) return 2u << top;
  // The first step is always taken: v << top <= 2^32, whose low word is 0.
  std::uint32_t quotient = 1u << top;
  std::uint32_t remainder = 0u - (v << top);
  for (int k = top - 1; k >= 0; --k) {
    if (v << k <= remainder) {
      remainder -= v << k;
      quotient |= 1u << k;
    }
  }
  return quotient;
}

/// floor(a b / c) modulo 2^32, adding up the multiples 2^k small / c as quotient and remainder.
constexpr std::uint32_t MulDivLoop(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  std::uint32_t big = a > b ? a : b;
  auto [quotient, remainder] = DivModLoop(a > b ? b : a, c);
  std::uint32_t result = 0;
  std::uint32_t rest = 0;
  for (; big != 0; big >>= 1) {
    if (big & 1) {
      result += quotient;
      rest += remainder;
      if (rest >= c) {
        rest -= c;
        ++result;
      }
    }
    quotient <<= 1;
    remainder <<= 1;
    if (remainder >= c) {
      remainder -= c;
      ++quotient;
    }
  }
  return result;
}

// The same with a divider. Zero divisors, whose results mean nothing but are the same everywhere,
// still go through the loops. ---------------------------------------------------------------------

/// floor((head 2^bits + tail) / d) modulo 2^32 with a 32-bit divider, in as few digits as d's
/// leading zeros allow. tail is below 2^bits, bits at most 32, d 1..0x80000000.
constexpr std::uint32_t DivideByDigits(std::uint32_t head, std::uint32_t tail, int bits,
                                       std::uint32_t d) {
  if (d == 0x80000000u) {
    return static_cast<std::uint32_t>((std::uint64_t{head} << bits | tail) >> 31);
  }
  std::uint32_t quotient = head / d;
  std::uint32_t remainder = head % d;
  const int digit = std::countl_zero(d);
  while (bits > 0) {
    const int k = bits < digit ? bits : digit;
    bits -= k;
    remainder = remainder << k | (tail >> bits & ((1u << k) - 1));
    quotient = quotient << k | remainder / d;
    remainder %= d;
  }
  return quotient;
}

/// floor((head 2^bits + tail) / d) modulo 2^32, with the widest divider there is.
constexpr std::uint32_t Divide(std::uint32_t head, std::uint32_t tail, int bits, std::uint32_t d) {
  if constexpr (!kHasDivider64) return DivideByDigits(head, tail, bits, d);
  return static_cast<std::uint32_t>((std::uint64_t{head} << bits | tail) / d);
}

constexpr UnsignedDivMod DivModDivider(std::uint32_t a, std::uint32_t b) {
  if (b == 0) return DivModLoop(a, b);
  return {a / b, a % b};
}

constexpr std::uint32_t QuotientDivider(std::uint32_t a, std::uint32_t b) {
  if (a == 0x80000000u || b == 0) return QuotientLoop(a, b);
  // The loop's alignment takes b to at most bit 30 and then down to the top bit of a.
  const int hb = HighestBit(b);
  const int dropped = 2 * hb - HighestBit(a) - (hb > 30 ? hb : 30);
  if (dropped > 0) b = b >> dropped << dropped;
  return Divide(a, 0, 16, b);
}

constexpr std::uint32_t ReciprocalDivider(std::uint32_t v) {
  if (v <= 1) return 0;
  // Only a power of two divides 2^32; for the others 2^32 - 1 has the same quotient.
  if (IsPowerOfTwo(v)) return 2u << std::countl_zero(v);
  return 0xFFFFFFFFu / v;
}

constexpr std::uint32_t MulDivDivider(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  if (c == 0) return MulDivLoop(a, b, c);
  const std::uint64_t product = std::uint64_t{a} * b;
  return Divide(static_cast<std::uint32_t>(product >> 32), static_cast<std::uint32_t>(product), 32,
                c);
}

// 64-bit quotients. -------------------------------------------------------------------------------

/// 2^63 / d at the middles of the intervals of d's first eight bits.
inline constexpr auto kReciprocals = [] {
  std::array<std::uint32_t, 128> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    table[i] = static_cast<std::uint32_t>((std::uint64_t{1} << 63) /
                                          ((2 * std::uint64_t{i + 128} + 1) << 23));
  }
  return table;
}();

/// 2^63 / d modulo 2^32 for d of 2^31 and more, within 4 units and at most 2 too large: two Newton
/// steps x' = x (2 - d x) from a table that is right to eight bits.
constexpr std::uint32_t ReciprocalByNewton(std::uint32_t d) {
  std::uint32_t x = kReciprocals[(d >> 24) - 128];
  for (int i = 0; i < 2; ++i) {
    const auto product = static_cast<std::uint32_t>(std::uint64_t{d} * x >> 32);
    x = static_cast<std::uint32_t>(std::uint64_t{x} * (0u - product) >> 31);
  }
  return x;
}

/// floor(a / b), b > 0, by multiplications where it has at most 31 bits.
constexpr std::uint64_t QuotientByNewton(std::uint64_t a, std::uint64_t b) {
  if (a < b) return 0;
  const int up = std::countl_zero(b), bits = up - std::countl_zero(a);
  if (bits > 30) return a / b;
  // Both as fractions of 32 bits. The reciprocal is made too small rather than too large: by 2 for
  // itself and by 2 for the divisor's lost bits; few units are missing then.
  const auto high = static_cast<std::uint32_t>(a << (up - bits) >> 32);
  const auto divisor = static_cast<std::uint32_t>(b << up >> 32);
  const std::uint32_t reciprocal = ReciprocalByNewton(divisor) - 5;
  std::uint64_t quotient = std::uint64_t{high} * reciprocal >> (63 - bits);
  for (std::uint64_t rest = a - quotient * b; rest >= b; rest -= b) ++quotient;
  return quotient;
}

/// floor(a / b), b > 0.
constexpr std::uint64_t Quotient(std::uint64_t a, std::uint64_t b) {
  if constexpr (!kHasDivider64) return QuotientByNewton(a, b);
  return a / b;
}

/// a / b toward zero, b > 0.
constexpr std::int64_t Quotient(std::int64_t a, std::int64_t b) {
  const auto divisor = static_cast<std::uint64_t>(b);
  return a < 0 ? -static_cast<std::int64_t>(Quotient(static_cast<std::uint64_t>(-a), divisor))
               : static_cast<std::int64_t>(Quotient(static_cast<std::uint64_t>(a), divisor));
}

}  // namespace kalvora

#endif
