// Subdivision: how many steps a piece of a curve takes, and what must be halved before.
#include "kalvora/geometry/strokes/subdivide.h"

#include <algorithm>
#include <bit>

#include "kalvora/geometry/strokes/cuts.h"
#include "kalvora/support/processor.h"

namespace kalvora {
namespace {

/// The most steps of one piece, and the most that one may turn (20 degrees, 16.16).
constexpr std::int32_t kMostSteps = 6;
constexpr std::uint32_t kMostStepTurn = 22876;

// Exactly -----------------------------------------------------------------------------------------

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

}  // namespace

template <int ORDER>
[[gnu::noinline, gnu::cold]] int ExactCourse(const Bezier<ORDER>& piece, const Pen& pen) {
  Vector legs[ORDER];
  std::int64_t size = 0;
#pragma GCC unroll 3
  for (int i = 0; i < ORDER; ++i) {
    legs[i] = piece.Leg(i);
    size += Bound(legs[i]);
  }
  if (size <= pen.flatness / 4) return kFollowed;
  const std::int64_t steps = StepsOf<ORDER>(legs, pen);
  if (steps == 0) return IsOneStep(piece, pen) ? 1 : kHalved;
  return steps <= kMostSteps ? static_cast<int>(steps) : kHalved;
}

// Quickly -----------------------------------------------------------------------------------------

namespace {

constexpr int kUnsure = -2;
constexpr double kNoNumber = __builtin_nan("");

/// The same in real numbers.
///
/// ExactCourse's legs have lost up to 1 in the last of 22 bits: up to 2^-21 of the longest, and
/// 2^-18 of the shortest one that gets as far. Its angles are good to 2^-17, and its heights to
/// 2^-14 of the longest leg.
template <int ORDER>
class QuickPiece {
 public:
  [[gnu::always_inline]] explicit QuickPiece(const Bezier<ORDER>& piece) {
#pragma GCC unroll 3
    for (int i = 0; i < ORDER; ++i) {
      const Vector leg = piece.Leg(i);
      x_[i] = Real(leg.x);
      y_[i] = Real(leg.y);
      const double across = __builtin_fabs(x_[i]), down = __builtin_fabs(y_[i]);
      const double extent = std::max(across, down);
      size_ = i == 0 ? across + down : size_ + (across + down);
      longest_ = i == 0 ? extent : std::max(longest_, extent);
      shortest_ = i == 0 ? extent : std::min(shortest_, extent);
    }
  }

  /// ExactCourse, or kUnsure.
  [[gnu::always_inline]] int Course(const Pen& pen) const {
    const double flatness = Real(pen.flatness);
    if (4 * size_ <= flatness) return kFollowed;
    // Legs of a thousand units are something, whatever IsOneStep makes of them.
    if (longest_ < 8192 || 8 * shortest_ + 8 <= longest_) return kUnsure;
    const double turn = Turn();
    if (turn > kMostTurn) return kHalved;
    const double sag = Sag();
    return turn >= 0 && sag >= 0 ? Steps(turn * kOne.raw, sag, pen.radius.raw, flatness) : kUnsure;
  }

 private:
  // Turns of more than 2 come in more than kMostSteps steps or, from 4 on, in none, and are not
  // taken for one either: a leg that is eight times as long as its neighbour turns by 10 degrees
  // before the rates at the ends are as large as that.
  static constexpr double kMostTurn = 2.1, kFarthestTurn = 3.9;
  static_assert(kMostTurn * kOne.raw > kMostSteps * kMostStepTurn + 256.0);

  double Dot(int i, int k) const { return x_[i] * x_[k] + y_[i] * y_[k]; }
  double Cross(int i, int k) const { return x_[i] * y_[k] - y_[i] * x_[k]; }

  /// The turn of the whole piece, or what it would be at the rates of its ends.
  [[gnu::always_inline]] double Turn() const {
    // Legs at right angles and more are never one step.
    const double right = longest_ * longest_ * (1.0 / (1 << 17));
    const double ahead = Dot(0, 1), further = Dot(ORDER - 2, ORDER - 1);
    if (ahead <= right || further <= right) {
      return ahead < -right || further < -right ? kFarthestTurn : kNoNumber;
    }
    const double sine = __builtin_fabs(Cross(0, 1));
    const double lastSine = __builtin_fabs(Cross(ORDER - 2, ORDER - 1));
    const double turn =
        ORDER == 2 ? sine / ahead : (sine * further + lastSine * ahead) / (ahead * further);
    if (turn > kMostTurn) return turn;
    const double square = Dot(0, 0), lastSquare = Dot(ORDER - 1, ORDER - 1);
    const double rate =
        (ORDER - 1) * std::max(sine * lastSquare, lastSine * square) / (square * lastSquare);
    return rate < kFarthestTurn ? std::max(turn, rate) : kNoNumber;
  }

  /// How far the curve leaves its chord.
  [[gnu::always_inline]] double Sag() const {
    double chordX = x_[0], chordY = y_[0];
#pragma GCC unroll 3
    for (int i = 1; i < ORDER; ++i) {
      chordX += x_[i];
      chordY += y_[i];
    }
    const double across = __builtin_fabs(chordX), down = __builtin_fabs(chordY);
    const double length = std::max(std::max(across, down), (across + down) * (181.0 / 256));
    if (longest_ > 2 * length) return kNoNumber;
    // The products of the chord and the changes of the legs.
    const double first = Cross(0, 1);
    if constexpr (ORDER == 2) return __builtin_fabs(first) / length * 0.5;
    const double second = Cross(ORDER - 2, ORDER - 1), both = Cross(0, ORDER - 1);
    const double bend = std::max(__builtin_fabs(2 * first + both - second),
                                 __builtin_fabs(2 * second + both - first));
    return bend / length * 0.75;
  }

  [[gnu::always_inline]] int Steps(double turn, double sag, double radius, double flatness) const {
    // The turn in 16.16 is off by less than 16, and what is rounded away.
    constexpr std::int32_t kNear = 17;
    const auto stepsFor = [](std::int32_t v) {
      const auto turned = static_cast<std::uint32_t>(std::max(v, 1));
      return static_cast<std::int32_t>((turned + kMostStepTurn - 1) / kMostStepTurn);
    };
    const auto whole = static_cast<std::int32_t>(turn);
    std::int32_t n = stepsFor(whole - kNear);
    if (n != stepsFor(whole + kNear)) return kUnsure;
    // How many tolerances it leaves the chord by, and by how much that may be wrong.
    const double swing = radius * turn * turn * (1.0 / (1 << 19));
    const double slack = longest_ * (1.0 / (1 << 14)) +
                         radius * (turn * (1.0 / (1 << 14)) + 1.0 / (1 << 11)) + (1 << 16);
    const double part = 256 / flatness;
    const double wanted = (sag + swing) * part, near = slack * part + 1;
    if (!(near < 256)) return kUnsure;
    if (wanted - near > 256 * kMostSteps * kMostSteps) return kHalved;
    const auto least = static_cast<std::int32_t>(wanted - near);
    const auto most = static_cast<std::int32_t>(wanted + near);
    for (; n <= kMostSteps; ++n) {
      const std::int32_t reached = 256 * n * n;
      if (reached > most) return n;
      if (reached >= least) return kUnsure;
    }
    return kHalved;
  }

  double x_[ORDER], y_[ORDER];
  double size_, longest_, shortest_;  // sum and bounds of the legs' sizes
};

}  // namespace

template <int ORDER>
[[gnu::always_inline]] inline int CourseOf(const Bezier<ORDER>& piece, const Pen& pen) {
  if constexpr (kHasReals) {
    const int course = QuickPiece<ORDER>(piece).Course(pen);
    if (course != kUnsure) return course;
  }
  return ExactCourse(piece, pen);
}

// Cutting -----------------------------------------------------------------------------------------

#if KALVORA_CURVE_VECTORS
namespace {
const bool kHasVectors = WidestVectors() != Vectors::kNone;
}  // namespace
#endif

template <int ORDER>
void Bezier<ORDER>::ReParam(Bezier& before, Bezier& after, std::int32_t t,
                            bool hasShortLegs) const {
#if KALVORA_CURVE_VECTORS
  if (kHasVectors) return vectors::Cut(*this, before, after, t, hasShortLegs);
#endif
  if (hasShortLegs) {
    // What lies between two points of a later step is no longer than what lay between earlier
    // ones.
    Cut(before, after, [t](Vector a, Vector b) {
      const ShortVector v = ShortVector::Of(b - a);
      return a + Vector{std::int64_t{v.x} * t >> Unit::kBits, std::int64_t{v.y} * t >> Unit::kBits};
    });
  } else {
    Cut(before, after, [t](Vector a, Vector b) { return a + Part(b - a, t); });
  }
}

template void Bezier<2>::ReParam(Bezier&, Bezier&, std::int32_t, bool) const;
template void Bezier<3>::ReParam(Bezier&, Bezier&, std::int32_t, bool) const;

namespace {

template <int ORDER>
void Halve(const Bezier<ORDER>& whole, Bezier<ORDER>& before, Bezier<ORDER>& after) {
#if KALVORA_CURVE_VECTORS
  if (kHasVectors) return vectors::Halve(whole, before, after);
#endif
  whole.Halve(before, after);
}

/// Gives a piece to `glide` in so many steps of equal parameter lengths.
template <int ORDER, typename Glide>
void CutEvenly(Bezier<ORDER>& piece, int steps, Glide glide) {
  static_assert(kMostSteps == 6);
  static constexpr std::int32_t kParts[] = {0,
                                            Unit::kOne,
                                            Unit::kOne / 2,
                                            Unit::kOne / 3,
                                            Unit::kOne / 4,
                                            Unit::kOne / 5,
                                            Unit::kOne / 6};
  Bezier<ORDER> part;
  // Legs that are short stay so.
  const bool isShort = steps > 1 && piece.HasShortLegs();
  for (; steps > 1; --steps) {
    piece.ReParam(part, piece, kParts[steps], isShort);
    glide(part);
  }
  glide(piece);
}

}  // namespace

template <int ORDER>
void SubdivideFor(const Bezier<ORDER>& curve, const Pen& pen, const KSoftMatrix3D& m,
                  const PieceTaker<ORDER>& taker) {
  constexpr int kDepth = 10;
  Bezier<ORDER> pieces[kDepth + 1];
  int depths[kDepth + 1];
  // The present piece, and how often it may be halved.
  Bezier<ORDER>* piece = pieces;
  int* depth = depths;
  *piece = curve;
  *depth = kDepth;
  bool inPlane = false;
  for (;;) {
    const int course = CourseOf(*piece, pen);
    if (course < 0 && *depth > 0) {
      inPlane = inPlane || curve.IsInPlane(m);
      if (inPlane) {
        Halve(*piece, piece[1], piece[0]);
        depth[1] = --depth[0];
        ++piece;
        ++depth;
        continue;
      }
    }
    if (course <= 0) {
      taker.take(taker.self, *piece, false);
    } else {
      CutEvenly(*piece, course,
                [&taker](const Bezier<ORDER>& step) { taker.take(taker.self, step, true); });
    }
    if (piece == pieces) return;
    --piece;
    --depth;
  }
}

template int ExactCourse(const Bezier<2>&, const Pen&);
template int ExactCourse(const Bezier<3>&, const Pen&);
template int CourseOf(const Bezier<2>&, const Pen&);
template int CourseOf(const Bezier<3>&, const Pen&);
template void SubdivideFor(const Bezier<2>&, const Pen&, const KSoftMatrix3D&,
                           const PieceTaker<2>&);
template void SubdivideFor(const Bezier<3>&, const Pen&, const KSoftMatrix3D&,
                           const PieceTaker<3>&);

}  // namespace kalvora
