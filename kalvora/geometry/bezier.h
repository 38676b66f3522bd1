// Bezier: curves with further fraction bits, cut into pieces that a pen can follow.
#ifndef KALVORA_GEOMETRY_BEZIER_H
#define KALVORA_GEOMETRY_BEZIER_H

#include <algorithm>
#include <bit>
#include <cstdint>

#include "kalvora/geometry/direction.h"
#include "kalvora/geometry/pen.h"

namespace kalvora {

/// Whether v is what roundings may leave of nothing: too short to have a direction.
constexpr bool IsNothing(Span v) { return Extent(v) < 512; }

/// A curve of ORDER + 1 points with 32 fraction bits, so that the tangents of its smallest pieces
/// keep their direction.
template <int ORDER>
struct Bezier {
  static constexpr int kExtraBits = 16;

  Span p[ORDER + 1];

  static Span Widen(KVertex2D v) {
    return {std::int64_t{v.x.raw} * (1 << kExtraBits), std::int64_t{v.y.raw} * (1 << kExtraBits)};
  }
  static KVertex2D Narrow(Span v) {
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
  Span Leg(int i) const { return p[i + 1] - p[i]; }
  /// The tangents at the ends: a control point that lies on the end gives way to the next.
  Span FirstLeg() const {
    for (int i = 1; i < ORDER; ++i) {
      if (!IsNothing(p[i] - p[0])) return p[i] - p[0];
    }
    return p[ORDER] - p[0];
  }
  Span LastLeg() const {
    for (int i = ORDER - 1; i > 0; --i) {
      if (!IsNothing(p[ORDER] - p[i])) return p[ORDER] - p[i];
    }
    return p[ORDER] - p[0];
  }
  bool IsPoint() const {
    for (int i = 1; i <= ORDER; ++i) {
      if (!IsNothing(p[i] - p[0])) return false;
    }
    return true;
  }

  /// The halves, or the parts before and after a point between, as `between` of two points says.
  template <typename Between>
  void Cut(Bezier& before, Bezier& after, Between between) const {
    Span q[ORDER + 1];
    for (int i = 0; i <= ORDER; ++i) q[i] = p[i];
    for (int n = ORDER;; --n) {
      before.p[ORDER - n] = q[0];
      after.p[n] = q[n];
      if (n == 0) break;
      for (int i = 0; i < n; ++i) q[i] = between(q[i], q[i + 1]);
    }
  }
  void Halve(Bezier& before, Bezier& after) const {
    Cut(before, after, [](Span a, Span b) { return Span{(a.x + b.x) >> 1, (a.y + b.y) >> 1}; });
  }
  /// Re-parameterises to the parts before and after t, 30 fraction bits.
  void ReParam(Bezier& before, Bezier& after, std::int64_t t) const {
    Cut(before, after, [t](Span a, Span b) { return a + Part(b - a, t); });
  }
};

/// The vector scaled down to 28 bits: products of two such stay exact.
constexpr int ReducingShift(Span v) {
  const int shift = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(Extent(v)))) - 28;
  return shift > 0 ? shift : 0;
}
constexpr Span Reduced(Span v) {
  const int shift = ReducingShift(v);
  return {v.x >> shift, v.y >> shift};
}
constexpr std::int64_t Dot(Span a, Span b) { return a.x * b.x + a.y * b.y; }
constexpr std::int64_t Cross(Span a, Span b) { return a.x * b.y - a.y * b.x; }

/// What the pen does along a piece: glides from the first direction to the last, or follows the
/// legs of the control polygon and turns at each, or needs smaller pieces.
enum class Course { Glide, Legs, Split };

/// Whether every control point lies within `flatness` x 4/3 of the chord.
template <int ORDER>
bool IsFlat(const Bezier<ORDER>& piece, std::int64_t flatness) {
  const Span chord = Reduced(piece.p[ORDER] - piece.p[0]);
  // The length of the chord, at most 8 % too small.
  const std::int64_t length = std::max(Extent(chord), Bound(chord) * 181 >> 8);
  for (int i = 1; i < ORDER; ++i) {
    const Span v = piece.p[i] - piece.p[0];
    const int shift = ReducingShift(v);
    const Span reduced = {v.x >> shift, v.y >> shift};
    // A quadratic reaches half of its control point's distance, a cubic three quarters of the
    // larger one.
    const std::int64_t across = Abs(Cross(chord, reduced));
    const std::int64_t height = ORDER == 2 ? across / 2 : across / 4 * 3;
    if (height > (flatness >> shift) * length) return false;
  }
  return true;
}

template <int ORDER>
Course CourseOf(const Bezier<ORDER>& piece, const Pen& pen) {
  std::int64_t size = 0;
  for (int i = 0; i < ORDER; ++i) size += Bound(piece.Leg(i));
  if (size <= pen.flatness) return Course::Legs;
  // Together the legs may turn by what the pen allows.
  const std::int64_t turn = pen.turn / (ORDER - 1);
  Span before{0, 0};
  for (int i = 0; i < ORDER; ++i) {
    const Span leg = Reduced(piece.Leg(i));
    if (IsNothing(leg)) continue;
    if (!before.IsZero()) {
      const std::int64_t ahead = Dot(before, leg);
      if (ahead <= 0 || Abs(Cross(before, leg)) > (ahead >> 16) * turn) return Course::Split;
    }
    before = leg;
  }
  return IsFlat(piece, pen.flatness) ? Course::Glide : Course::Split;
}

/// Cuts a curve into pieces and gives each, with its course, to `sink`. At most 2^kDepth pieces:
/// what is not simple by then is as small as a cusp's tip.
template <int ORDER, typename Sink>
void Subdivide(const Bezier<ORDER>& curve, const Pen& pen, Sink sink) {
  constexpr int kDepth = 10;
  Bezier<ORDER> pending[kDepth];
  int depths[kDepth];
  int count = 0;
  Bezier<ORDER> piece = curve;
  int depth = 0;
  for (;;) {
    Course course = CourseOf(piece, pen);
    if (course == Course::Split && depth == kDepth) course = Course::Legs;
    if (course == Course::Split) {
      const Bezier<ORDER> whole = piece;
      whole.Halve(piece, pending[count]);
      depths[count++] = ++depth;
      continue;
    }
    sink(piece, course);
    if (count == 0) return;
    piece = pending[--count];
    depth = depths[count];
  }
}

}  // namespace kalvora

#endif
