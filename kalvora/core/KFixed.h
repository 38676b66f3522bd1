// KFixed: the signed 16.16 number that every coordinate, angle, matrix entry and weight is made of.
#ifndef KALVORA_CORE_KFIXED_H
#define KALVORA_CORE_KFIXED_H

#include <compare>
#include <cstdint>

#include "kalvora/export.h"

/// A signed 16.16 fixed-point number: the value is raw / 65536.
///
/// Arithmetic wraps around (it is computed in unsigned or 64-bit types, so wrapping is defined);
/// nothing saturates. Angles are KFixed degrees: 90 degrees is raw 0x5A0000. All functions are pure
/// and may be called from any thread.
struct KALVORA_API KFixed {
  std::int32_t raw;  ///< the value times 65536

  KFixed() = default;
  explicit KFixed(float value) { *this = value; }  ///< as by assignment

  static constexpr KFixed FromRaw(std::int32_t raw) {  ///< raw / 65536
    KFixed result{};
    result.raw = raw;
    return result;
  }
  /// The whole number `value`; only its low 16 bits (with sign) can be represented.
  static constexpr KFixed FromInt(std::int32_t value) {
    return FromRaw(static_cast<std::int32_t>(static_cast<std::uint32_t>(value) << 16));
  }

  /// Marks an absent value and the link entries of polygon rings (raw 0x80000000). It is an
  /// ordinary number to the arithmetic, so callers compare against it explicitly.
  static const KFixed NaN;

  /// 37 rows of {sine slope, sine intercept, cosine slope, cosine intercept}, scaled by 2^23,
  /// slopes per degree; row i covers [2.5 i, 2.5 (i + 1)] degrees, row 36 is a guard that is never
  /// selected.
  static const std::int32_t KSinCos[37][4];
  /// arctan(2^-i) in 16.16 degrees, i = 0..22.
  static const std::int32_t KATan[23];

  /// Converts by truncation toward zero. Values beyond 16.16 lose their high bits; infinities and
  /// NaNs give 0.
  KFixed& operator=(float value);
  /// Converts to float, dropping (not rounding) what exceeds 24 significant bits.
  explicit operator float() const;

  constexpr KFixed operator-() const { return FromBits(0u - Bits()); }  ///< wraps around
  constexpr KFixed operator+(KFixed b) const {
    return FromBits(Bits() + b.Bits());
  }  ///< wraps around
  constexpr KFixed operator-(KFixed b) const {
    return FromBits(Bits() - b.Bits());
  }  ///< wraps around
  /// (a b) >> 16 on a 64-bit product: rounds toward minus infinity, keeps the low 32 bits.
  constexpr KFixed operator*(KFixed b) const {
    return FromBits(static_cast<std::uint32_t>((std::int64_t{raw} * b.raw) >> 16));
  }
  /// Quotient truncated toward zero. 0 / b is 0 for every b; a quotient below 2^-16 is 0; one of
  /// 2^15 and more wraps. When |a| < |b| the divisor may lose low bits first, and |a| = 0x80000000
  /// is divided by powers of two only (0 otherwise). Dividing by zero gives a meaningless value,
  /// never a trap.
  KFixed operator/(KFixed b) const;
  KFixed& operator+=(KFixed b) { return *this = *this + b; }
  KFixed& operator-=(KFixed b) { return *this = *this - b; }
  KFixed& operator*=(KFixed b) { return *this = *this * b; }

  constexpr bool operator==(const KFixed&) const = default;
  constexpr auto operator<=>(const KFixed& b) const { return raw <=> b.raw; }  ///< by value

  /// 1 / x = floor(2^32 / |raw|) with the sign of x. Raw 0 and +-1 give 0, raw +-2 gives
  /// 0x80000000.
  static KFixed Inverse(KFixed x);
  /// a b / c without intermediate overflow, truncated toward zero. c = 0 gives a meaningless value.
  static KFixed MulDiv(KFixed a, KFixed b, KFixed c);
  /// Square root of x taken as an unsigned word; the 8 low fraction bits are a first-order
  /// correction.
  static KFixed Sqrt(KFixed x);
  /// Base-2 logarithm for 0 < x < 2.0 (a cubic fit). From 2.0 on the result is not a logarithm: see
  /// the source for what it is.
  static KFixed Log2(KFixed x);
  /// 2 to the power x, a quadratic fit: Pow2(0) is 65455/65536. Above 16.0 the result is 0.
  static KFixed Pow2(KFixed x);
  /// Sine and cosine of `degrees`, brought into [0, 360] first when it lies outside. At the peaks
  /// the results exceed 1.0 by 7 units (65543).
  static KFixed Sin(KFixed degrees);
  static KFixed Cos(KFixed degrees);
  /// Direction of the vector (x, y) in degrees, in [0, 360). The zero vector gives 0.
  static KFixed ArcTan(KFixed x, KFixed y);

 private:
  constexpr std::uint32_t Bits() const { return static_cast<std::uint32_t>(raw); }
  static constexpr KFixed FromBits(std::uint32_t bits) {
    return FromRaw(static_cast<std::int32_t>(bits));
  }
};

inline constexpr KFixed KFixed::NaN = KFixed::FromRaw(INT32_MIN);

/// KFloat::NaN is the absent-value marker of float parameters: the quiet NaN, bits 0x7FC00000.
struct KALVORA_API KFloat {
  static const float NaN;  ///< no value
};

/// Quotient and remainder of one truncating integer division.
struct KDivMod {
  std::int32_t quotient;   ///< truncated toward zero
  std::int32_t remainder;  ///< a - quotient b
};

/// C-style truncating division: the remainder carries the sign of a. b = 0 gives a meaningless
/// value.
KALVORA_API KDivMod DivMod(int a, int b);

namespace kalvora {

/// The named rounding rules of the library; docs/rounding.md lists who uses which.

/// Whole part, toward minus infinity.
constexpr std::int32_t Floor(KFixed v) { return v.raw >> 16; }
/// Whole part, toward plus infinity.
constexpr std::int32_t Ceil(KFixed v) {
  return static_cast<std::int32_t>((std::int64_t{v.raw} + 0xFFFF) >> 16);
}
/// Nearest whole number with ties, and the 1/256 above them, going down: (v + 0x7F00) >> 16.
constexpr std::int32_t RoundPixel(KFixed v) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(v.raw) + 0x7F00u) >> 16;
}
/// Fraction above Floor, 0..0xFFFF.
constexpr std::int32_t Fraction(KFixed v) { return v.raw & 0xFFFF; }
/// A 16.16 coverage as a weight: 0x10000 gives 256.
constexpr std::int32_t CoverageWeight(std::int32_t coverage) { return (coverage + 128) >> 8; }

inline constexpr KFixed kOne = KFixed::FromRaw(0x10000);
inline constexpr KFixed kHalf = KFixed::FromRaw(0x8000);
inline constexpr KFixed kZero = KFixed::FromRaw(0);

}  // namespace kalvora

#endif
