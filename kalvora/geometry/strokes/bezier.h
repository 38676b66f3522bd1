// Bezier: curves with further fraction bits, and words that are good enough to measure them.
#ifndef KALVORA_GEOMETRY_STROKES_BEZIER_H
#define KALVORA_GEOMETRY_STROKES_BEZIER_H

#include <algorithm>
#include <bit>
#include <cstdint>

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/geometry/direction.h"
#include "kalvora/geometry/strokes/pen.h"

namespace kalvora {

/// Whether v is what roundings may leave of nothing: too short to have a direction.
constexpr bool IsNothing(Vector v) { return Extent(v) < 512; }

// Loops over a curve's few legs are unrolled, so that these stay in registers.

/// A curve of ORDER + 1 points with 32 fraction bits, so that the tangents of its smallest pieces
/// keep their direction.
template <int ORDER>
struct Bezier {
  static constexpr int kExtraBits = 16;

  Vector p[ORDER + 1];

  static Vector Widen(KVertex2D v) {
    return {std::int64_t{v.x.raw} * (1 << kExtraBits), std::int64_t{v.y.raw} * (1 << kExtraBits)};
  }
  static KVertex2D Narrow(Vector v) {
    constexpr std::int64_t kHalfUnit = 1 << (kExtraBits - 1);
    return {KFixed::FromRaw(static_cast<std::int32_t>((v.x + kHalfUnit) >> kExtraBits)),
            KFixed::FromRaw(static_cast<std::int32_t>((v.y + kHalfUnit) >> kExtraBits))};
  }
  static Bezier From(KVertex2D start, const KVertex2D* points) {
    Bezier curve;
    curve.p[0] = Widen(start);
    for (int i = 0; i < ORDER; ++i) curve.p[i + 1] = Widen(points[i]);
    return curve;
  }

  KVertex2D End() const { return Narrow(p[ORDER]); }
  Vector Leg(int i) const { return p[i + 1] - p[i]; }
  /// The tangents at the ends: a control point that lies on the end gives way to the next.
  Vector FirstLeg() const {
    for (int i = 1; i < ORDER; ++i) {
      if (!IsNothing(p[i] - p[0])) return p[i] - p[0];
    }
    return p[ORDER] - p[0];
  }
  Vector LastLeg() const {
    for (int i = ORDER - 1; i > 0; --i) {
      if (!IsNothing(p[ORDER] - p[i])) return p[ORDER] - p[i];
    }
    return p[ORDER] - p[0];
  }
  bool IsInPlane(const KSoftMatrix3D& m) const {
    return std::all_of(p, p + ORDER + 1,
                       [&](Vector s) { return kalvora::IsInPlane(m, Narrow(s)); });
  }
  bool IsPoint() const {
    for (int i = 1; i <= ORDER; ++i) {
      if (!IsNothing(p[i] - p[0])) return false;
    }
    return true;
  }

  /// The halves, or the parts before and after a point between, as `between` of two points says.
  /// Either may take the place of the whole.
  template <typename Between>
  void Cut(Bezier& before, Bezier& after, Between between) const {
    const Vector first = between(p[0], p[1]), last = between(p[ORDER - 1], p[ORDER]);
    if constexpr (ORDER == 2) {
      const Vector at = between(first, last), end = p[2];
      before = {{p[0], first, at}};
      after = {{at, last, end}};
    } else {
      const Vector inner = between(p[1], p[2]), end = p[3];
      const Vector left = between(first, inner), right = between(inner, last);
      const Vector at = between(left, right);
      before = {{p[0], first, left, at}};
      after = {{at, right, last, end}};
    }
  }
  void Halve(Bezier& before, Bezier& after) const {
    Cut(before, after, [](Vector a, Vector b) {
      return Vector{(a.x + b.x) >> 1, (a.y + b.y) >> 1};
    });
  }
  /// Re-parameterises to the parts before and after t, 30 fraction bits.
  void ReParam(Bezier& before, Bezier& after, std::int32_t t) const {
    ReParam(before, after, t, HasShortLegs());
  }
  void ReParam(Bezier& before, Bezier& after, std::int32_t t, bool hasShortLegs) const;

  /// Whether all legs fit into words of 32 bits, with some room for roundings.
  bool HasShortLegs() const {
    std::int64_t bits = 0;
#pragma GCC unroll 3
    for (int i = 0; i < ORDER; ++i) {
      const Vector leg = Leg(i);
      bits |= (leg.x ^ leg.x >> 63) | (leg.y ^ leg.y >> 63);
    }
    return bits < (std::int64_t{1} << 30);
  }
};

/// The vector scaled down to 28 bits: products of two such stay exact.
constexpr int ReducingShift(std::int64_t extent) {
  const int shift = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(extent))) - 28;
  return shift > 0 ? shift : 0;
}
constexpr int ReducingShift(Vector v) { return ReducingShift(Abs(v.x) | Abs(v.y)); }
/// v >> shift, which fits into a word, for shifts of 0 to 31.
constexpr std::int32_t ShiftedWord(std::int64_t v, int shift) {
  if constexpr (sizeof(void*) > 4) return static_cast<std::int32_t>(v >> shift);
  // Half as long as a shift of two words by any number.
  const auto bits = static_cast<std::uint64_t>(v);
  const auto low = static_cast<std::uint32_t>(bits), high = static_cast<std::uint32_t>(bits >> 32);
  return static_cast<std::int32_t>(low >> shift | high << 1 << (31 - shift));
}
constexpr ShortVector Shifted(Vector v, int shift) {
  return {ShiftedWord(v.x, shift), ShiftedWord(v.y, shift)};
}
constexpr ShortVector Reduced(Vector v) { return Shifted(v, ReducingShift(v)); }
/// The length, at most 8 % too small.
constexpr std::int64_t RoughLength(ShortVector v) {
  const std::uint32_t x = Magnitude(v.x), y = Magnitude(v.y);
  const std::uint64_t slanted = std::uint64_t{x + y} * 181 >> 8;
  return std::max(static_cast<std::int64_t>(slanted), std::int64_t{std::max(x, y)});
}

}  // namespace kalvora

#endif
