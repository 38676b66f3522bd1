// Arcs: elliptical arcs as cubic curves.
#include <algorithm>
#include <bit>
#include <utility>

#include "kalvora/core/circle.h"
#include "kalvora/core/linear.h"
#include "kalvora/core/roots.h"
#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/direction.h"

using namespace kalvora;

namespace {

/// An ellipse with axis-parallel radii, seen as a circle: its points are centre + radii * unit.
struct Ellipse {
  KVertex2D centre, radii;

  Ellipse(KVertex2D c, KVertex2D r) : centre(c), radii{Abs(r.x), Abs(r.y)} {}

  bool IsFlat() const { return radii.x == kZero || radii.y == kZero; }
  KVertex2D At(std::int64_t x, std::int64_t y) const {
    return {centre.x + KFixed::FromRaw(static_cast<std::int32_t>(Mul30(radii.x.raw, x))),
            centre.y + KFixed::FromRaw(static_cast<std::int32_t>(Mul30(radii.y.raw, y)))};
  }
  KVertex2D At(Unit u) const { return At(u.x, u.y); }

  /// The direction in which p lies once the offset from the centre is scaled by the ratio of the
  /// radii. The centre itself lies in the direction (1, 0).
  Unit DirectionOf(KVertex2D p) const {
    Vector v = Between(centre, p);
    if (v.IsZero()) return {Unit::kOne, 0};
    if (radii.x != radii.y) {
      // The ratio is all that counts: 17 bits of the larger radius.
      const std::int64_t larger = std::max(radii.x, radii.y).raw;
      const int shift =
          std::max(0, static_cast<int>(std::bit_width(static_cast<std::uint64_t>(larger))) - 17);
      v = {v.x * std::max(radii.y.raw >> shift, 1), v.y * std::max(radii.x.raw >> shift, 1)};
    }
    return ToPolar(v).direction;
  }
};

/// Writes pieces of at most an eighth of a circle.
class ArcWriter {
 public:
  ArcWriter(const Ellipse& ellipse, Unit from, bool clockwise, KVertex2D* out, int stride)
      : ellipse_(ellipse), u_(from), sign_(clockwise ? 1 : -1), out_(out), stride_(stride) {}

  int Pieces() const { return pieces_; }

  void Eighths(int n) {
    for (; n > 0; --n) {
      const std::int64_t x = u_.x, y = sign_ * u_.y;
      const auto turned = [](std::int64_t v) {
        return static_cast<std::int32_t>(Mul30(v, kSineOfEighth));
      };
      To({turned(x - y), static_cast<std::int32_t>(sign_ * turned(x + y))}, kEighthControl);
    }
  }

  /// The rest, less than an eighth.
  void To(Unit end) {
    // tan(a / 2) = sin a / (1 + cos a), taken twice.
    const std::int64_t sine = sign_ * std::int64_t{Sine(u_, end)};
    const std::int64_t half = sine * Unit::kOne / (std::int64_t{Unit::kOne} + Cosine(u_, end));
    if (half <= kNothing) return;
    const std::int64_t secant =
        Root(static_cast<std::uint64_t>(half * half + std::int64_t{Unit::kOne} * Unit::kOne));
    const std::int64_t quarter = half * Unit::kOne / (Unit::kOne + secant);
    To(end, static_cast<std::int32_t>(quarter * 4 / 3));
  }

 private:
  static constexpr std::int64_t kNothing = 1 << 12;

  void To(Unit end, std::int32_t control) {
    const std::int64_t k = sign_ * std::int64_t{control};
    Put(ellipse_.At(u_.x - Mul30(k, u_.y), u_.y + Mul30(k, u_.x)));
    Put(ellipse_.At(end.x + Mul30(k, end.y), end.y - Mul30(k, end.x)));
    Put(ellipse_.At(end));
    u_ = end;
    ++pieces_;
  }
  void Put(KVertex2D p) {
    *out_ = p;
    out_ += stride_;
  }

  const Ellipse& ellipse_;
  Unit u_;
  std::int32_t sign_;
  KVertex2D* out_;
  int stride_;
  int pieces_ = 0;
};

/// Whole eighths in the angle that has this cosine and sine, 0..7.
int EighthsIn(std::int32_t cosine, std::int32_t sine) {
  int eighths = 0;
  if (sine < 0 || (sine == 0 && cosine < 0)) {
    eighths = 4;
    cosine = -cosine;
    sine = -sine;
  }
  if (cosine <= 0) {
    eighths += 2;
    std::swap(cosine, sine);
    sine = -sine;
  }
  return sine >= cosine ? eighths + 1 : eighths;
}

/// Cosine and sine, exact at multiples of 90 degrees.
Unit UnitAt(KFixed degrees) {
  std::int32_t angle = degrees.raw % kTurn.raw;
  if (angle < 0) angle += kTurn.raw;
  if (angle == 0) return {Unit::kOne, 0};
  const auto [sine, cosine] = SinCosOf(KFixed::FromRaw(angle));
  return ToPolar({cosine.raw, sine.raw}).direction;
}

/// Whether an arc may begin or end at p where its ellipse passes through `on`: points that were
/// computed with the library's own sines lie that near.
bool IsNear(KVertex2D p, KVertex2D on, const Ellipse& ellipse) {
  const std::int64_t tolerance =
      kOne.raw / 64 + (std::max(ellipse.radii.x, ellipse.radii.y).raw >> 11);
  return Extent(Between(p, on)) <= tolerance;
}

}  // namespace

int KStroker::GetArcBeziers(KVertex2D* out, KVertex2D start, KVertex2D end, KVertex2D centre,
                            KVertex2D radii, bool direction, int stride) {
  const Ellipse ellipse(centre, radii);
  const Unit from = ellipse.DirectionOf(start), to = ellipse.DirectionOf(end);
  ArcWriter writer(ellipse, from, direction, out, stride);
  if (start == end) {
    writer.Eighths(8);
  } else {
    const std::int32_t sine = Sine(from, to);
    writer.Eighths(EighthsIn(Cosine(from, to), direction ? sine : -sine));
    writer.To(to);
  }
  return writer.Pieces();
}

bool KSoftPath::ArcTo(KVertex2D end, KVertex2D centre, KVertex2D radii, bool direction) {
  const Ellipse ellipse(centre, radii);
  if (ellipse.IsFlat()) return LineTo(end);
  const KVertex2D start = current;
  const KVertex2D begin = ellipse.At(ellipse.DirectionOf(start));
  if (!IsNear(start, begin, ellipse) && !LineTo(begin)) return false;

  KVertex2D points[3 * KStroker::kMostArcPieces];
  const int pieces = KStroker::GetArcBeziers(points, start, end, centre, radii, direction, 1);
  if (pieces == 0) return LineTo(end);
  KVertex2D& arcEnd = points[3 * pieces - 1];
  const bool joined = !IsNear(end, arcEnd, ellipse);
  if (!joined) arcEnd = end;
  return BezierTo(3, points, static_cast<unsigned>(pieces)) && (!joined || LineTo(end));
}

bool KSoftPath::AddArc(KVertex2D centre, KVertex2D radii, KFixed start, KFixed sweep) {
  const Ellipse ellipse(centre, radii);
  const Unit from = UnitAt(start);
  const std::int64_t swept = std::min<std::int64_t>(Abs(sweep.raw), kTurn.raw);
  const bool clockwise = sweep >= kZero;
  MoveTo(ellipse.At(from));
  if (swept == 0) return LineTo(current);

  KVertex2D points[3 * KStroker::kMostArcPieces];
  ArcWriter writer(ellipse, from, clockwise, points, 1);
  writer.Eighths(static_cast<int>(swept / kEighthTurn.raw));
  if (swept % kEighthTurn.raw != 0)
    writer.To(UnitAt(KFixed::FromRaw(start.raw % kTurn.raw) + sweep));
  if (swept == kTurn.raw) points[3 * writer.Pieces() - 1] = current;
  if (writer.Pieces() == 0) return LineTo(current);
  if (!BezierTo(3, points, static_cast<unsigned>(writer.Pieces()))) return false;
  if (swept == kTurn.raw) Close();
  return true;
}
