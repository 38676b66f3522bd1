// Curves: adaptive halving, and when a piece counts as straight.
#include "kalvora/geometry/curves.h"

#include <algorithm>

#include "kalvora/core/division.h"
#include "kalvora/core/roots.h"
#include "kalvora/geometry/KStroker.h"

namespace kalvora {

// The deviation -----------------------------------------------------------------------------------

namespace {

// In 32-bit words, whose products one instruction forms.

constexpr std::uint64_t Reach(KVertex2D v) {
  return std::uint64_t{Magnitude(v.x.raw)} + Magnitude(v.y.raw);
}

/// |a x b|
constexpr std::uint64_t Area(KVertex2D a, KVertex2D b) {
  return static_cast<std::uint64_t>(
      Abs(std::int64_t{a.x.raw} * b.y.raw - std::int64_t{a.y.raw} * b.x.raw));
}

/// Bounds of a vector's length below 2^32.
struct Rough {
  std::uint32_t least, most;
};

/// The sides of a regular 16-gon: 2 % lie between the bounds.
Rough RoughLength(KVertex2D v) {
  const std::uint32_t x = Magnitude(v.x.raw), y = Magnitude(v.y.raw);
  const std::uint32_t longer = std::max(x, y), shorter = std::min(x, y);
  const auto side = [=](std::uint32_t a, std::uint32_t b) {
    return static_cast<std::uint32_t>((std::uint64_t{longer} * a + std::uint64_t{shorter} * b) >>
                                      16);
  };
  const std::uint32_t least = std::max({longer, side(60547, 25079), side(46340, 46340)});
  return {least, least + (least >> 6) + (least >> 8) + (least >> 10) + 4};
}

/// Measures distances from a chord along its normal (-sin, cos).
class Chord {
 public:
  explicit Chord(KVertex2D d) : point_(d == KVertex2D::Origin) {
    // Axis-parallel chords take exact values instead of the table's.
    if (d.y.raw == 0) {
      sin_ = kZero;
      cos_ = kOne;
    } else if (d.x.raw == 0) {
      sin_ = kOne;
      cos_ = kZero;
    } else {
      const KFixed angle = KFixed::ArcTan(d.x, d.y);
      sin_ = KFixed::Sin(angle);
      cos_ = KFixed::Cos(angle);
    }
  }

  /// Length of v across the chord. A chord of no length has no normal: the whole vector counts.
  std::int64_t Across(KVertex2D v) const {
    if (point_) return static_cast<std::int64_t>(Reach(v));
    return Abs(((std::int64_t{v.y.raw} * cos_.raw) >> 16) -
               ((std::int64_t{v.x.raw} * sin_.raw) >> 16));
  }

 private:
  KFixed sin_, cos_;
  bool point_;
};

}  // namespace

bool IsFlatByTable(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound) {
  const Chord measure(chord);
  return measure.Across(a) + measure.Across(b) < bound;
}

namespace {

// |a x chord| / |chord| is how far a reaches across the chord. The table's measure differs from it
// by no more than
// - 1/4096 of the legs, for the sines (1/8400) and for the angle's 23 roundings to 1/65536 degree,
// - 176 / |chord| of the legs, for the angle's 23 steps in whole units of 4 raw ones,
// - 2 for rounding the products;
// all of this is multiplied by the chord's length here.
struct Across {
  std::uint64_t areas;
  std::uint32_t legs;

  bool IsLess(std::uint32_t bound, Rough length) const {
    return areas + Hair(length) < std::uint64_t{bound} * length.least;
  }
  bool IsMore(std::uint32_t bound, Rough length) const {
    return areas >= std::uint64_t{bound} * length.most + Hair(length);
  }

 private:
  std::uint64_t Hair(Rough length) const {
    return std::uint64_t{legs} * ((length.most >> 12) + 176) + 4 * std::uint64_t{length.most};
  }
};

}  // namespace

namespace {

// Legs and chord below 2^30.
[[gnu::noinline]] bool IsFlatWithin(Across across, KVertex2D chord, KVertex2D a, KVertex2D b,
                                    std::uint32_t bound) {
  const Rough length = RoughLength(chord);
  if (across.IsLess(bound, length)) return true;
  return !across.IsMore(bound, length) && IsFlatByTable(chord, a, b, bound);
}

// Mostly bounds of the length that lie 12 % apart do.
inline bool IsFlat(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint64_t legs,
                   std::uint32_t bound) {
  constexpr std::uint32_t kRoom = 1u << 29;
  const std::uint32_t x = Magnitude(chord.x.raw), y = Magnitude(chord.y.raw);
  const std::uint32_t longer = std::max(x, y), shorter = std::min(x, y);
  if (legs >= kRoom || longer >= kRoom) return IsFlatByTable(chord, a, b, bound);
  const Across across{Area(a, chord) + Area(b, chord), static_cast<std::uint32_t>(legs)};
  const Rough length{longer, longer + shorter / 2 + 1};
  if (across.IsLess(bound, length)) return true;
  return !across.IsMore(bound, length) && IsFlatWithin(across, chord, a, b, bound);
}

}  // namespace

bool IsFlat(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound) {
  return IsFlat(chord, a, b, Reach(a) + Reach(b), bound);
}

// Halving -----------------------------------------------------------------------------------------

namespace {

// (a + b) / 2, rounded down, without a carry to lose.
KFixed Middle(KFixed a, KFixed b) {
  return KFixed::FromRaw((a.raw & b.raw) + ((a.raw ^ b.raw) >> 1));
}
KVertex2D Middle(KVertex2D a, KVertex2D b) { return {Middle(a.x, b.x), Middle(a.y, b.y)}; }

/// A curve of ORDER + 1 points, last to first.
template <int ORDER>
bool IsStraight(const KVertex2D* p, std::uint32_t bound);

// The two control points are measured each on its own: on opposite sides of the chord their
// deviations would cancel, and an S would become a line.
template <>
bool IsStraight<3>(const KVertex2D* p, std::uint32_t bound) {
  const KVertex2D a = p[2] - p[3];
  const KVertex2D b = p[1] - p[0];
  // No projection is longer than its vector (the sines exceed 1 by less than 1/64).
  const std::uint64_t legs = Reach(a) + Reach(b);
  return legs + (legs >> 6) < bound || IsFlat(p[0] - p[3], a, b, legs, bound);
}

template <>
bool IsStraight<2>(const KVertex2D* p, std::uint32_t bound) {
  const KVertex2D a = p[1] - p[2];
  return IsFlat(p[0] - p[2], a, KVertex2D::Origin, Reach(a), bound);
}

/// The curve's halves at t = 1/2, in its place and behind it: the later one first.
template <int ORDER>
void Split(KVertex2D* p);

template <>
void Split<3>(KVertex2D* p) {
  const KVertex2D p01 = Middle(p[3], p[2]), p12 = Middle(p[2], p[1]), p23 = Middle(p[1], p[0]);
  const KVertex2D p012 = Middle(p01, p12), p123 = Middle(p12, p23);
  p[6] = p[3];
  p[5] = p01;
  p[4] = p012;
  p[3] = Middle(p012, p123);
  p[2] = p123;
  p[1] = p23;
}

template <>
void Split<2>(KVertex2D* p) {
  const KVertex2D p01 = Middle(p[2], p[1]), p12 = Middle(p[1], p[0]);
  p[4] = p[2];
  p[3] = p01;
  p[2] = Middle(p01, p12);
  p[1] = p12;
}

// The halves still to do lie on a small stack, where neighbours share their point. A piece is taken
// as straight when it is flat enough, when the stack is full, or when the points left are just
// enough for what is pending.
template <int ORDER>
int Flatten(const KVertex2D* curve, KVertex2D* out, int stride, KFixed tolerance) {
  constexpr int kMostPending = 10;
  constexpr int kMostPieces = KStroker::kMaxCurvePoints - 1;  // the end point takes the last place
  const std::uint32_t bound = tolerance.raw > 0 ? 2 * static_cast<std::uint32_t>(tolerance.raw) : 0;
  KVertex2D points[ORDER * (kMostPending + 1) + 1];
  std::reverse_copy(curve, curve + ORDER + 1, points);
  KVertex2D* const lowest = points;
  KVertex2D* const highest = points + ORDER * kMostPending;
  KVertex2D* piece = points;
  int pieces = 0;
  for (;;) {
    const bool full = piece == highest || pieces + (piece - lowest) / ORDER + 1 >= kMostPieces;
    if (!full && !IsStraight<ORDER>(piece, bound)) {
      Split<ORDER>(piece);
      piece += ORDER;
      continue;
    }
    *out = piece[ORDER];
    out += stride;
    ++pieces;
    if (piece == lowest) break;
    piece -= ORDER;
  }
  *out = points[0];
  return pieces + 1;
}

}  // namespace

int FlattenCubic(KVertex2D* out, const KVertex2D (&p)[4], int stride, KFixed tolerance) {
  return Flatten<3>(p, out, stride, tolerance);
}

int FlattenQuadratic(KVertex2D* out, const KVertex2D (&p)[3], int stride, KFixed tolerance) {
  return Flatten<2>(p, out, stride, tolerance);
}

}  // namespace kalvora
