// Bezier: curves with further fraction bits, cut into pieces that a pen can follow.
#ifndef KALVORA_GEOMETRY_STROKES_BEZIER_H
#define KALVORA_GEOMETRY_STROKES_BEZIER_H

#include <algorithm>
#include <bit>
#include <cstdint>

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
    if (HasShortLegs()) {
      // What lies between two points of a later step is no longer than what lay between earlier
      // ones.
      Cut(before, after, [t](Vector a, Vector b) {
        const ShortVector v = ShortVector::Of(b - a);
        return a +
               Vector{std::int64_t{v.x} * t >> Unit::kBits, std::int64_t{v.y} * t >> Unit::kBits};
      });
    } else {
      Cut(before, after, [t](Vector a, Vector b) { return a + Part(b - a, t); });
    }
  }

 private:
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

/// The most steps of one piece, and the most that one may turn (20 degrees, 16.16).
inline constexpr std::int64_t kMostSteps = 6;
inline constexpr std::uint32_t kMostStepTurn = 22876;

/// Mean height of a curve above its chord, to the left of it as seen on the screen: the area
/// between them, a sum of products of the control points, over the chord's length.
template <int ORDER>
std::int64_t MeanHeight(const Bezier<ORDER>& piece) {
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

/// Whether every control point lies so near to the chord that the curve stays within `flatness`.
template <int ORDER>
bool IsFlat(const Bezier<ORDER>& piece, std::int64_t flatness) {
  const ShortVector chord = Reduced(piece.p[ORDER] - piece.p[0]);
  const std::int64_t length = RoughLength(chord);
  for (int i = 1; i < ORDER; ++i) {
    const Vector v = piece.p[i] - piece.p[0];
    const int shift = ReducingShift(v);
    // A quadratic reaches half of its control point's distance, a cubic three quarters of the
    // larger one.
    const std::int64_t across = Abs(Cross(chord, Shifted(v, shift)));
    const std::int64_t height = ORDER == 2 ? across / 2 : across / 4 * 3;
    if (height > (flatness >> shift) * length) return false;
  }
  return true;
}

/// Whether the pen can follow a piece of any shape in one step.
template <int ORDER>
bool IsOneStep(const Bezier<ORDER>& piece, const Pen& pen) {
  // Together the legs may turn by what the pen allows.
  const std::int64_t turn = pen.turn / (ORDER - 1);
  ShortVector before{0, 0};
#pragma GCC unroll 3
  for (int i = 0; i < ORDER; ++i) {
    const ShortVector leg = Reduced(piece.Leg(i));
    if (IsNothing({leg.x, leg.y})) continue;
    if (before.x != 0 || before.y != 0) {
      const std::int64_t ahead = Dot(before, leg);
      if (ahead <= 0 || Abs(Cross(before, leg)) > (ahead >> 16) * turn) return false;
    }
    before = leg;
  }
  return IsFlat(piece, pen.flatness / 2);
}

/// Into how many steps of equal parameter lengths a piece with legs of similar lengths must be cut;
/// 0 when its legs are too different, or when it turns too far, to tell.
///
/// A step leaves its chord by an eighth of the second derivative, and the pen, which turns by s, by
/// r s^2 / 8; both shrink with the square of the number of steps.
template <int ORDER>
std::int64_t StepsOf(const Vector (&legs)[ORDER], const Pen& pen) {
  constexpr int kBits = 22;
  std::int64_t longest = 0, shortest = INT64_MAX;
#pragma GCC unroll 3
  for (const Vector v : legs) {
    const std::int64_t extent = Extent(v);
    longest = std::max(longest, extent);
    shortest = std::min(shortest, extent);
  }
  if (shortest < longest >> 3) return 0;
  const int width = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(longest)));
  const int shift = std::max(width - kBits, 0);
  ShortVector leg[ORDER];
  ShortVector chord{0, 0};
#pragma GCC unroll 3
  for (int i = 0; i < ORDER; ++i) {
    leg[i] = Shifted(legs[i], shift);
    chord = {chord.x + leg[i].x, chord.y + leg[i].y};
  }

  // The turn of the whole piece, and what it would be at the rates of its ends, 16.16.
  std::uint64_t turn = 0, across[ORDER - 1];
#pragma GCC unroll 3
  for (int i = 0; i + 1 < ORDER; ++i) {
    const std::int64_t ahead = Dot(leg[i], leg[i + 1]);
    if (ahead <= 0) return 0;
    across[i] = static_cast<std::uint64_t>(Abs(Cross(leg[i], leg[i + 1]))) << 16;
    turn += Quotient(across[i], static_cast<std::uint64_t>(ahead));
  }
  constexpr std::uint64_t kMostTurn = 4 * std::uint64_t{kOne.raw};
  const auto include = [&turn](std::uint64_t sine, ShortVector v) {
    const auto square = static_cast<std::uint64_t>(std::max<std::int64_t>(Dot(v, v), 1));
    // Most rates do not need their quotient to be seen as smaller.
    if (turn <= kMostTurn && (ORDER - 1) * sine >= (turn + 1) * square) {
      turn = Quotient((ORDER - 1) * sine, square);
    }
  };
  include(across[0], leg[0]);
  include(across[ORDER - 2], leg[ORDER - 1]);
  if (turn > kMostTurn) return 0;
  std::int64_t n = (static_cast<std::uint32_t>(turn) + kMostStepTurn - 1) / kMostStepTurn;
  if (n > kMostSteps) return n;

  // max |B''| / 8: B'' = 2 (leg 2 - leg 1) for a quadratic, 6 times a difference for a cubic.
  std::int64_t bend = 0;
#pragma GCC unroll 3
  for (int i = 0; i + 1 < ORDER; ++i) {
    const ShortVector change{leg[i + 1].x - leg[i].x, leg[i + 1].y - leg[i].y};
    bend = std::max(bend, Abs(Cross(chord, change)));
  }
  const std::int64_t height = Quotient(bend, std::max<std::int64_t>(RoughLength(chord), 1))
                              << shift;
  const std::int64_t sag = ORDER == 2 ? height / 4 : height / 4 * 3;
  const auto turned = static_cast<std::int64_t>(turn);
  const std::int64_t swing = (pen.radius.raw * turned >> 16) * turned >> 3;
  n = std::max<std::int64_t>(n, 1);
  while (n <= kMostSteps && n * n * pen.flatness < sag + swing) ++n;
  return n;
}

/// How the pen follows a piece: in this many steps from direction to direction, or (0) along the
/// legs of the control polygon with a turn at each, or (-1) not before it is halved.
template <int ORDER>
int CourseOf(const Bezier<ORDER>& piece, const Pen& pen) {
  Vector legs[ORDER];
  std::int64_t size = 0;
#pragma GCC unroll 3
  for (int i = 0; i < ORDER; ++i) {
    legs[i] = piece.Leg(i);
    size += Bound(legs[i]);
  }
  if (size <= pen.flatness / 4) return 0;
  const std::int64_t steps = StepsOf<ORDER>(legs, pen);
  if (steps == 0) return IsOneStep(piece, pen) ? 1 : -1;
  return steps <= kMostSteps ? static_cast<int>(steps) : -1;
}

/// Cuts a curve into steps that the pen can glide along, and gives each to `glide`; pieces that are
/// too small for that, or turn too sharply, go to `follow`. At most 2^kDepth pieces: what is not
/// simple by then is as small as a cusp's tip. A curve that leaves the plane wraps and stays in one
/// piece: one glyph gave 300,000 edges else, all of them active in every row.
template <int ORDER, typename Glide, typename Follow>
void Subdivide(const Bezier<ORDER>& curve, const Pen& pen, const KSoftMatrix3D& m, Glide glide,
               Follow follow) {
  constexpr int kDepth = 10;
  static_assert(kMostSteps == 6);
  constexpr std::int32_t kParts[] = {0,
                                     Unit::kOne,
                                     Unit::kOne / 2,
                                     Unit::kOne / 3,
                                     Unit::kOne / 4,
                                     Unit::kOne / 5,
                                     Unit::kOne / 6};
  const int deepest = curve.IsInPlane(m) ? kDepth : 0;
  Bezier<ORDER> pending[kDepth];
  int depths[kDepth];
  int count = 0;
  Bezier<ORDER> piece = curve, part;
  int depth = 0;
  for (;;) {
    int course = CourseOf(piece, pen);
    if (course < 0 && depth < deepest) {
      piece.Halve(piece, pending[count]);
      depths[count++] = ++depth;
      continue;
    }
    if (course <= 0) {
      follow(piece);
    } else {
      for (; course > 1; --course) {
        piece.ReParam(part, piece, kParts[course]);
        glide(part);
      }
      glide(piece);
    }
    if (count == 0) return;
    piece = pending[--count];
    depth = depths[count];
  }
}

}  // namespace kalvora

#endif
