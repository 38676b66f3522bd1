// Curves: adaptive halving, and when a piece counts as straight.
#include "kalvora/geometry/curves.h"

#include <algorithm>
#include <bit>

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

// |a x chord| / |chord| is how far a reaches across the chord. The table's measure differs from it
// by no more than
// - 1/4096 of the legs, for the sines (1/8400) and for the angle's 23 roundings to 1/65536 degree,
// - 176 / |chord| of the legs, for the angle's 23 steps in whole units of 4 raw ones,
// - 2 for rounding the products;
// all of this is multiplied by the chord's length here.
bool IsFlat(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound) {
  constexpr std::uint32_t kRoom = 1u << 30;
  const Rough length = RoughLength(chord);
  const std::uint64_t legs = Reach(a) + Reach(b);
  if (legs < kRoom && length.most < kRoom) {
    const std::uint64_t across = Area(a, chord) + Area(b, chord);
    const std::uint64_t hair = legs * ((length.most >> 12) + 176) + 4 * std::uint64_t{length.most};
    if (across + hair < std::uint64_t{bound} * length.least) return true;
    if (across >= std::uint64_t{bound} * length.most + hair) return false;
  }
  return IsFlatByTable(chord, a, b, bound);
}

// Halving -----------------------------------------------------------------------------------------

namespace {

// (a + b) / 2, rounded down, without a carry to lose.
KFixed Middle(KFixed a, KFixed b) {
  return KFixed::FromRaw((a.raw & b.raw) + ((a.raw ^ b.raw) >> 1));
}

/// A curve of ORDER + 1 points, last to first.
template <int ORDER>
struct Curve {
  /// One coordinate of the halves at t = 1/2, in place of the whole, the later half first.
  template <KFixed KVertex2D::*C>
  static void Split(KVertex2D* p) {
    const KFixed first = p[ORDER].*C, last = p[0].*C;
    const KFixed p01 = Middle(first, p[ORDER - 1].*C),
                 p12 = Middle(p[ORDER - 1].*C, p[ORDER - 2].*C);
    p[2 * ORDER].*C = first;
    p[2 * ORDER - 1].*C = p01;
    if constexpr (ORDER == 2) {
      p[2].*C = Middle(p01, p12);
      p[1].*C = p12;
    } else {
      const KFixed p23 = Middle(p[1].*C, last), p012 = Middle(p01, p12), p123 = Middle(p12, p23);
      p[4].*C = p012;
      p[3].*C = Middle(p012, p123);
      p[2].*C = p123;
      p[1].*C = p23;
    }
  }
  static void Split(KVertex2D* p) {
    Split<&KVertex2D::x>(p);
    Split<&KVertex2D::y>(p);
  }

  static KVertex2D Chord(const KVertex2D* p) { return p[0] - p[ORDER]; }
  // The two control points are measured each on its own: on opposite sides of the chord their
  // deviations would cancel, and an S would become a line.
  static KVertex2D FirstLeg(const KVertex2D* p) { return p[ORDER - 1] - p[ORDER]; }
  static KVertex2D LastLeg(const KVertex2D* p) {
    return ORDER == 3 ? p[1] - p[0] : KVertex2D::Origin;
  }
  [[gnu::noinline]] static bool IsSurelyFlat(const KVertex2D* p, std::uint32_t bound) {
    return kalvora::IsFlat(Chord(p), FirstLeg(p), LastLeg(p), bound);
  }
  static bool IsFlat(const KVertex2D* p, const QuickTest& quick, std::uint32_t bound) {
    const QuickTest::Verdict verdict = quick(Chord(p), FirstLeg(p), LastLeg(p));
    if (verdict == QuickTest::kUnsure) return IsSurelyFlat(p, bound);
    return verdict == QuickTest::kFlat;
  }
};

/// How many bits distances between points of the curve have at the most, if it lies where none
/// wraps around; else 32.
template <int ORDER>
int WidthOf(const KVertex2D* p) {
  const auto bits = [](KVertex2D v) {
    return static_cast<std::uint32_t>((v.x.raw ^ v.x.raw >> 31) | (v.y.raw ^ v.y.raw >> 31));
  };
  std::uint32_t farthest = bits(p[0]), longest = 0;
  for (int i = 1; i <= ORDER; ++i) {
    farthest |= bits(p[i]);
    longest |= bits(p[i] - p[0]);
  }
  return farthest >> 30 ? 32 : static_cast<int>(std::bit_width(longest)) + 1;
}

// The halves still to do lie on a small stack, where neighbours share their point. A piece is taken
// as straight when it is flat enough, when the stack is full, or when the points left are just
// enough for what is pending.
template <int ORDER>
int Flatten(const KVertex2D* curve, KVertex2D* out, int stride, KFixed tolerance) {
  constexpr int kMostPending = 10;
  constexpr int kMostPieces = KStroker::kMaxCurvePoints - 1;  // the end point takes the last place
  const std::uint32_t bound = tolerance.raw > 0 ? 2 * static_cast<std::uint32_t>(tolerance.raw) : 0;
  const QuickTest quick(WidthOf<ORDER>(curve), bound);
  KVertex2D points[ORDER * (kMostPending + 1) + 1];
  std::reverse_copy(curve, curve + ORDER + 1, points);
  KVertex2D* piece = points;
  int pending = 0;
  for (int pieces = 1;; ++pieces) {
    while (pending < kMostPending && pieces + pending < kMostPieces &&
           !Curve<ORDER>::IsFlat(piece, quick, bound)) {
      Curve<ORDER>::Split(piece);
      piece += ORDER;
      ++pending;
    }
    *out = piece[ORDER];
    out += stride;
    if (pending == 0) {
      *out = points[0];
      return pieces + 1;
    }
    --pending;
    piece -= ORDER;
  }
}

}  // namespace

int FlattenCubic(KVertex2D* out, const KVertex2D (&p)[4], int stride, KFixed tolerance) {
  return Flatten<3>(p, out, stride, tolerance);
}

int FlattenQuadratic(KVertex2D* out, const KVertex2D (&p)[3], int stride, KFixed tolerance) {
  return Flatten<2>(p, out, stride, tolerance);
}

}  // namespace kalvora
