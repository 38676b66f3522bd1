// Directions and lengths: unit vectors for the stroker and the arcs.
#ifndef KALVORA_GEOMETRY_DIRECTION_H
#define KALVORA_GEOMETRY_DIRECTION_H

#include <bit>
#include <cstdint>

#include "kalvora/core/KVertex2D.h"
#include "kalvora/core/division.h"
#include "kalvora/core/roots.h"

namespace kalvora {

/// A vector of any scale, wide enough for every difference of two points and for curves that are
/// subdivided with further fraction bits. Components lie within +-2^49.
struct Vector {
  std::int64_t x, y;

  constexpr bool IsZero() const { return x == 0 && y == 0; }
  constexpr bool operator==(const Vector&) const = default;
};

constexpr Vector operator+(Vector a, Vector b) { return {a.x + b.x, a.y + b.y}; }
constexpr Vector operator-(Vector a, Vector b) { return {a.x - b.x, a.y - b.y}; }

constexpr Vector Wide(KVertex2D v) { return {v.x.raw, v.y.raw}; }
/// From a to b, in 16.16, without wrapping around.
constexpr Vector Between(KVertex2D a, KVertex2D b) {
  return {std::int64_t{b.x.raw} - a.x.raw, std::int64_t{b.y.raw} - a.y.raw};
}

/// The larger component's magnitude, and the sum of both.
constexpr std::int64_t Extent(Vector v) { return Abs(v.x) > Abs(v.y) ? Abs(v.x) : Abs(v.y); }
constexpr std::int64_t Bound(Vector v) { return Abs(v.x) + Abs(v.y); }

/// A vector of 32-bit components, which form a product in one instruction.
struct ShortVector {
  std::int32_t x, y;

  static constexpr ShortVector Of(Vector v) {
    return {static_cast<std::int32_t>(v.x), static_cast<std::int32_t>(v.y)};
  }
};
constexpr ShortVector Short(KVertex2D v) { return {v.x.raw, v.y.raw}; }
constexpr std::int64_t Dot(ShortVector a, ShortVector b) {
  return std::int64_t{a.x} * b.x + std::int64_t{a.y} * b.y;
}
constexpr std::int64_t Cross(ShortVector a, ShortVector b) {
  return std::int64_t{a.x} * b.y - std::int64_t{a.y} * b.x;
}

// Floating-point numbers of 53 bits decide quickly what integers would decide too: what they cannot
// tell for sure is left to those, so that every processor comes to the same results. ARMv6 takes
// integers at once: the library must be small there.
#if defined(__x86_64__) || defined(__aarch64__) || \
    (defined(__ARM_FP) && (__ARM_FP & 8) && __ARM_ARCH >= 7)
inline constexpr bool kHasReals = true;
#else
inline constexpr bool kHasReals = false;
#endif

/// Exact for integers of 53 bits.
constexpr double Real(std::int64_t v) {
  if constexpr (sizeof(void*) > 4) return static_cast<double>(v);
  // Four instructions on ARM, where the compiler would call a function.
  constexpr double kTwo32 = 4294967296.0;
  return static_cast<std::int32_t>(v >> 32) * kTwo32 + static_cast<std::uint32_t>(v);
}

constexpr std::int64_t Dot(Vector a, Vector b) { return a.x * b.x + a.y * b.y; }
constexpr std::int64_t Cross(Vector a, Vector b) { return a.x * b.y - a.y * b.x; }

/// A unit vector with 30 fraction bits.
struct Unit {
  std::int32_t x, y;

  static constexpr int kBits = 30;
  static constexpr std::int32_t kOne = 1 << kBits;

  constexpr bool operator==(const Unit&) const = default;
  /// The same in 16.16.
  constexpr KVertex2D Rounded() const {
    return {KFixed::FromRaw((x + 0x2000) >> 14), KFixed::FromRaw((y + 0x2000) >> 14)};
  }
};

/// The product of two numbers of which one has 30 fraction bits, rounded.
constexpr std::int64_t Mul30(std::int64_t a, std::int64_t b) {
  return (a * b + (1 << (Unit::kBits - 1))) >> Unit::kBits;
}

constexpr std::int32_t Cosine(Unit a, Unit b) {
  return static_cast<std::int32_t>((std::int64_t{a.x} * b.x + std::int64_t{a.y} * b.y) >>
                                   Unit::kBits);
}
/// Sine of the angle from a to b; positive angles grow clockwise on the screen.
constexpr std::int32_t Sine(Unit a, Unit b) {
  return static_cast<std::int32_t>((std::int64_t{a.x} * b.y - std::int64_t{a.y} * b.x) >>
                                   Unit::kBits);
}

/// part / whole in 0..1, 30 fraction bits; whole > 0.
constexpr std::int64_t Ratio(std::int64_t part, std::int64_t whole) {
  while (whole >= std::int64_t{1} << 32) {
    part >>= 1;
    whole >>= 1;
  }
  return Quotient(part * Unit::kOne, whole);
}

/// v t for t in 0..1, 30 fraction bits. Long vectors keep what 2^-13 units can tell.
constexpr std::int64_t Part(std::int64_t v, std::int64_t t) {
  const bool isShort = static_cast<std::uint32_t>((v >> 32) + 1) <= 1;  // at the border both agree
  if constexpr (sizeof(void*) == 8) {
    const int lost = 18 & -static_cast<int>(!isShort);  // without a jump
    return (v >> lost) * t >> (Unit::kBits - lost);
  }
  // The same where products of 64 bits, and shifts by a variable, take many instructions.
  return isShort
             ? v * t >> Unit::kBits
             : std::int64_t{static_cast<std::int32_t>(v >> 18)} * static_cast<std::int32_t>(t) >>
                   (Unit::kBits - 18);
}
constexpr Vector Part(Vector v, std::int64_t t) { return {Part(v.x, t), Part(v.y, t)}; }

/// A vector scaled so that its larger component has 30 bits: every vector is measured equally well.
struct Scaled {
  std::int32_t x, y;
  int shift;              ///< how far the components were shifted to the left
  int half;               ///< half of the leading zeros of the squared length: 1 or 2
  std::uint32_t square;   ///< the squared length over 2^(64 - 2 half), 1/4 to 1, 32 fraction bits
  std::uint32_t inverse;  ///< 1 over its root, 30 fraction bits

  /// Of what is not zero.
  static constexpr Scaled Of(Vector v) {
    Scaled s{};
    s.shift = 30 - static_cast<int>(std::bit_width(static_cast<std::uint64_t>(Extent(v))));
    const auto scale = [&s](std::int64_t component) {
      return static_cast<std::int32_t>(s.shift >= 0 ? component * (std::int64_t{1} << s.shift)
                                                    : component >> -s.shift);
    };
    s.x = scale(v.x);
    s.y = scale(v.y);
    const auto squared =
        static_cast<std::uint64_t>(std::int64_t{s.x} * s.x + std::int64_t{s.y} * s.y);
    s.half = squared >> 60 ? 1 : 2;
    s.square = static_cast<std::uint32_t>(squared >> (32 - 2 * s.half));
    s.inverse = InverseRoot(s.square);
    return s;
  }
  constexpr Unit Direction() const {
    // With half = 2, components have a bit to spare.
    const auto unit = [this](std::int32_t component) {
      const std::int64_t doubled = component * (1 << (half - 1));
      return static_cast<std::int32_t>((doubled * inverse + (1 << 30)) >> 31);
    };
    return {unit(x), unit(y)};
  }
  constexpr std::int64_t Length() const {
    // sqrt(m) = m / sqrt(m), with 30 bits; the square's root has 32 - half.
    const auto root = static_cast<std::int64_t>(std::uint64_t{square} * inverse >> 32);
    const int down = shift + half - 2;
    const std::int64_t rounding = down > 0 ? std::int64_t{1} << (down - 1) : 0;
    return down >= 0 ? (root + rounding) >> down : root << -down;
  }
};

/// Length and direction of a vector.
struct Polar {
  std::int64_t length;  ///< in the vector's own scale
  Unit direction;       ///< (0, 0) for the zero vector
};

constexpr Polar ToPolar(Vector v) {
  if (v.IsZero()) return {0, {0, 0}};
  const Scaled scaled = Scaled::Of(v);
  return {scaled.Length(), scaled.Direction()};
}
[[gnu::noinline]] constexpr Unit DirectionOf(Vector v) {
  return v.IsZero() ? Unit{0, 0} : Scaled::Of(v).Direction();
}
[[gnu::noinline]] constexpr std::int64_t LengthOf(Vector v) {
  return v.IsZero() ? 0 : Scaled::Of(v).Length();
}

}  // namespace kalvora

#endif
