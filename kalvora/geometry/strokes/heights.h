// Heights: how far a piece of a curve stands off its chord.
#ifndef KALVORA_GEOMETRY_STROKES_HEIGHTS_H
#define KALVORA_GEOMETRY_STROKES_HEIGHTS_H

#include <algorithm>
#include <type_traits>

#include "kalvora/geometry/strokes/bezier.h"

namespace kalvora {

/// A vector in the numbers that the processor measures it by; exact.
struct QuickVector {
  using Number = std::conditional_t<kHasReals, double, std::int64_t>;
  Number x, y;

  static QuickVector Of(Vector v) {
    const auto number = [](std::int64_t c) {
      if constexpr (kHasReals) return Real(c);
      return static_cast<Number>(c);
    };
    return {number(v.x), number(v.y)};
  }
  Vector Exactly() const { return {static_cast<std::int64_t>(x), static_cast<std::int64_t>(y)}; }
  QuickVector operator-(QuickVector b) const { return {x - b.x, y - b.y}; }
  bool IsZero() const { return x == 0 && y == 0; }
  /// Whether either component's magnitude reaches `bound`.
  bool Reaches(Number bound) const {
    if constexpr (kHasReals && sizeof(void*) > 4) {
      return std::max(__builtin_fabs(x), __builtin_fabs(y)) >= bound;  // in one jump
    }
    return x >= bound || x <= -bound || y >= bound || y <= -bound;
  }
};

/// Mean height of a curve above its chord, to the left of it as seen on the screen: the area
/// between them, a sum of products of the control points, over the chord's length.
template <int ORDER>
[[gnu::noinline, gnu::cold]] std::int64_t MeanHeight(const Bezier<ORDER>& piece) {
  Vector from[ORDER];
  std::int64_t size = 0;  // as long as the largest of the magnitudes
#pragma GCC unroll 3
  for (int i = 0; i < ORDER; ++i) {
    from[i] = piece.p[i + 1] - piece.p[0];
    size |= Abs(from[i].x) | Abs(from[i].y);
  }
  const int shift = ReducingShift(size);
  ShortVector v[ORDER];
#pragma GCC unroll 3
  for (int i = 0; i < ORDER; ++i) v[i] = Shifted(from[i], shift);
  const std::int64_t length = RoughLength(v[ORDER - 1]);
  if (length == 0) return 0;
  if constexpr (ORDER == 2) return Quotient(Cross(v[0], v[1]), 3 * length) << shift;
  const std::int64_t area =
      3 * (Cross(v[0], v[1]) + Cross(v[0], v[ORDER - 1])) + 6 * Cross(v[1], v[ORDER - 1]);
  return Quotient(area, 20 * length) << shift;
}

/// MeanHeight(piece) >> kExtraBits, given the control points as seen from the start.
template <int ORDER>
[[gnu::always_inline]] inline std::int32_t RoundedHeight(const Bezier<ORDER>& piece,
                                                         const QuickVector (&to)[ORDER]) {
  constexpr int kBits = 10;  // to tell whether the height lies clear of where it is rounded
  const auto exact = [&] {
    return static_cast<std::int32_t>(MeanHeight(piece) >> Bezier<ORDER>::kExtraBits);
  };
  if constexpr (!kHasReals) return exact();
  double x[ORDER], y[ORDER], size = 0;
#pragma GCC unroll 3
  for (int i = 0; i < ORDER; ++i) {
    x[i] = static_cast<double>(to[i].x);
    y[i] = static_cast<double>(to[i].y);
    const double both = __builtin_fabs(x[i]) + __builtin_fabs(y[i]);
    size = i == 0 ? both : size + both;
  }
  const double across = __builtin_fabs(x[ORDER - 1]), down = __builtin_fabs(y[ORDER - 1]);
  const double length = std::max(std::max(across, down), (across + down) * (181.0 / 256));
  const auto cross = [&](int i, int k) { return x[i] * y[k] - y[i] * x[k]; };
  double area;
  if constexpr (ORDER == 2) {
    area = cross(0, 1) * (1.0 / 3);
  } else {
    area = (x[0] * (y[1] + y[2]) - y[0] * (x[1] + x[2]) + 2 * cross(1, 2)) * (3.0 / 20);
  }
  constexpr double kUnit = static_cast<double>(1 << (Bezier<ORDER>::kExtraBits - kBits));
  const double height = area / (length * kUnit);
  // MeanHeight's control points have lost up to 1 in the last of 28 bits, which are 2^-26 of `size`
  // at the most. Where that is four chords at the most, and the height a sixteenth of one, height,
  // length and quotient are off by less than 3.5 such units.
  constexpr double kMost = 1 << 19;
  if (!(size <= 4 * length && size <= kMost * kMost &&
        __builtin_fabs(height) * (16 * kUnit) <= length)) {
    return exact();
  }
  const auto fine = static_cast<std::int32_t>(height);
  const auto near = static_cast<std::int32_t>(size * (3.5 / kUnit / (1 << 26))) + 2;
  const bool isClear = ((fine + near) & ((1 << kBits) - 1)) >= 2 * near;
  return isClear ? fine >> kBits : exact();
}

}  // namespace kalvora

#endif
