// Dashes: the walk along a subpath that cuts it into pieces of the dash pattern.
#include "kalvora/geometry/dashes.h"

#include <algorithm>

#include "kalvora/geometry/course.h"

using namespace kalvora;

namespace {

constexpr int kExtraBits = Bezier<3>::kExtraBits;

std::int64_t LengthOf(Span v) { return ToPolar(v).length; }

/// 16.16 with further fraction bits.
Span Widen(Span v) { return {v.x << kExtraBits, v.y << kExtraBits}; }

/// Length of a piece that turns little: the polygon is too long by about as much as the chord is
/// too short (for a cubic; twice as much for a quadratic).
template <int ORDER>
std::int64_t GetBezierLen(const Bezier<ORDER>& piece) {
  const std::int64_t chord = LengthOf(piece.p[ORDER] - piece.p[0]);
  std::int64_t polygon = 0;
  for (int i = 0; i < ORDER; ++i) polygon += LengthOf(piece.Leg(i));
  return (2 * chord + (ORDER - 1) * polygon) / (ORDER + 1);
}

/// The parameter, 30 fraction bits, at which a piece that turns little has gone `part` of its way:
/// measured along the chord, along which it only runs forward, to `accuracy`.
template <int ORDER>
std::int64_t ParameterAt(const Bezier<ORDER>& piece, std::int64_t part, std::int64_t accuracy) {
  const Span chord = piece.p[ORDER] - piece.p[0];
  const int shift = ReducingShift(chord);
  std::int64_t x[ORDER + 1];
  for (int i = 0; i <= ORDER; ++i) {
    const Span v = piece.p[i] - piece.p[0];
    x[i] = Dot({v.x >> shift, v.y >> shift}, {chord.x >> shift, chord.y >> shift});
    x[i] >>= Unit::kBits - 2;
  }
  const std::int64_t wanted = x[ORDER] * part >> Unit::kBits;
  std::int64_t t = 0;
  for (std::int64_t step = Unit::kOne >> 1; step > accuracy; step >>= 1) {
    std::int64_t y[ORDER + 1];
    for (int i = 0; i <= ORDER; ++i) y[i] = x[i];
    for (int n = ORDER; n > 0; --n) {
      for (int i = 0; i < n; ++i) y[i] += (y[i + 1] - y[i]) * (t + step) >> Unit::kBits;
    }
    if (y[0] < wanted) t += step;
  }
  return t;
}

}  // namespace

// The pattern -------------------------------------------------------------------------------------

// On and off alternate by themselves: an odd number of lengths changes roles with every round.
void KDash::Advance() {
  on = !on;
  index = index + 1 < count ? index + 1 : 0;
  left = std::int64_t{lengths[index].raw} << kExtraBits;
}

DashPattern::DashPattern(const KFixed* lengths, std::uint32_t count, std::uint32_t phase) {
  if (!lengths || count == 0) return;
  std::int64_t sums[2] = {0, 0};
  for (std::uint32_t i = 0; i < count; ++i) {
    if (lengths[i] < kZero) return;
    sums[i & 1] += lengths[i].raw;
  }
  const std::int64_t total = sums[0] + sums[1];
  const bool odd = count & 1;
  if (total == 0 || (!odd && sums[1] == 0)) return;

  const std::int64_t cycle = odd ? 2 * total : total;
  std::int64_t ahead = static_cast<std::int32_t>(phase) % cycle;
  if (ahead < 0) ahead += cycle;
  start_.lengths = lengths;
  start_.count = count;
  while (ahead > 0 && ahead >= lengths[start_.index].raw) {
    ahead -= lengths[start_.index].raw;
    start_.Advance();
  }
  start_.left = (lengths[start_.index].raw - ahead) << kExtraBits;
}

std::uint32_t DashPattern::Boundaries(const Subpath& subpath) const {
  KDash dash = start_;
  std::uint32_t boundaries = 0;
  const auto walk = [&](KVertex2D from, KVertex2D to) {
    // A little more than the length, so that roundings on the way never make it one too few.
    std::int64_t length = LengthOf(Between(from, to)) + 1;
    length = (length << kExtraBits) + length;
    while (dash.left < length && boundaries <= kMostBoundaries) {
      length -= dash.left;
      dash.Advance();
      ++boundaries;
    }
    dash.left -= length;
  };
  KVertex2D at = subpath.start;
  subpath.ForEach([&](unsigned order, const KVertex2D* points, unsigned pieces) {
    // A curve is no longer than its control polygon.
    for (std::uint64_t i = 0; i < std::uint64_t{pieces} * order; ++i) {
      if (boundaries > kMostBoundaries) return;
      walk(at, points[i]);
      at = points[i];
    }
  });
  if (subpath.closed && boundaries <= kMostBoundaries) walk(at, subpath.start);
  return boundaries;
}

// The walk ----------------------------------------------------------------------------------------

void KStroker::ComputeDash(KIntercept* k, KVertex2D p, Span heading, const KSoftMatrix3D* m) {
  KDash& dash = k->dash;
  const std::uint32_t following = dash.index + 1 < dash.count ? dash.index + 1 : 0;
  if (dash.on && !dash.last && dash.lengths[following] == kZero) {
    // No gap: the next dash continues this one.
    dash.Advance();
    dash.Advance();
    if (dash.held) dash.heldLength += dash.left;
    return;
  }
  if (dash.Draws()) {
    k->heading = ToPolar(heading).direction.Rounded();
    ComputeClose(k, m, false);
  }
  k->point = p;
  dash.stopped = dash.last || k->failed;
  if (dash.stopped) return;
  dash.held = false;
  dash.Advance();
  if (dash.on) ComputeInit(k);
}

// Lengths are measured on the untransformed points.
void KStroker::DashPoly(KIntercept* k, const KVertex2D* points, unsigned pieces,
                        const KSoftMatrix3D* m) {
  KDash& dash = k->dash;
  for (unsigned i = 0; i < pieces && !dash.stopped; ++i) {
    const KVertex2D from = k->point;
    const Span v = Between(from, points[i]);
    if (v.IsZero()) continue;
    const std::int64_t length = LengthOf(Widen(v));
    std::int64_t done = 0;
    while (dash.left < length - done) {
      done += dash.left;
      const Span way = Part(v, Ratio(done, length));
      const KVertex2D cut = from + KVertex2D{KFixed::FromRaw(static_cast<std::int32_t>(way.x)),
                                             KFixed::FromRaw(static_cast<std::int32_t>(way.y))};
      if (dash.Draws()) OffsetPoly(k, &cut, 1, m);
      ComputeDash(k, cut, v, m);
      if (dash.stopped) return;
    }
    dash.left -= length - done;
    if (dash.Draws()) {
      OffsetPoly(k, &points[i], 1, m);
    } else {
      k->point = points[i];
    }
  }
}

namespace {

/// Cuts curves of ORDER points a piece.
template <int ORDER>
class CurveDasher {
 public:
  CurveDasher(KStroker& stroker, KIntercept* k) : stroker_(stroker), k_(k), dash_(k->dash) {}

  void Run(const KVertex2D* points, unsigned pieces) {
    for (; pieces > 0 && !dash_.stopped; --pieces, points += ORDER) {
      const auto curve = Bezier<ORDER>::From(k_->point, points);
      if (curve.IsPoint()) continue;
      if (dash_.Draws()) Turn(stroker_, k_, curve.FirstLeg(), false);
      Subdivide(
          curve, k_->pen, *k_->matrix, [this](const Bezier<ORDER>& piece) { Piece(piece); },
          [this](const Bezier<ORDER>& piece) {
            for (int i = 0; i < ORDER; ++i) Leg(piece.p[i], piece.Leg(i));
          });
    }
  }

 private:
  void Piece(Bezier<ORDER> rest) {
    std::int64_t length = GetBezierLen(rest);
    while (!dash_.stopped && dash_.left < length) {
      Bezier<ORDER> head, tail;
      const std::int64_t accuracy = Ratio(std::min(k_->pen.flatness >> 6, length), length);
      rest.ReParam(head, tail, ParameterAt(rest, Ratio(dash_.left, length), accuracy));
      Draw(head);
      length -= dash_.left;
      stroker_.ComputeDash(k_, head.End(), tail.FirstLeg(), k_->matrix);
      rest = tail;
    }
    if (dash_.stopped) return;
    dash_.left -= length;
    Draw(rest);
  }

  void Draw(const Bezier<ORDER>& piece) {
    if (!dash_.Draws()) {
      k_->point = piece.End();
    } else if (!piece.IsPoint()) {
      Glide(stroker_, k_, piece);
    }
  }

  void Leg(Span from, Span leg) {
    if (IsNothing(leg)) return;
    const std::int64_t length = LengthOf(leg);
    std::int64_t done = 0;
    while (!dash_.stopped && dash_.left < length - done) {
      done += dash_.left;
      const KVertex2D cut = Bezier<ORDER>::Narrow(from + Part(leg, Ratio(done, length)));
      DrawLeg(leg, cut);
      stroker_.ComputeDash(k_, cut, leg, k_->matrix);
    }
    if (dash_.stopped) return;
    dash_.left -= length - done;
    DrawLeg(leg, Bezier<ORDER>::Narrow(from + leg));
  }

  void DrawLeg(Span leg, KVertex2D end) {
    if (dash_.Draws()) {
      FollowLeg(stroker_, k_, leg, end);
    } else {
      k_->point = end;
    }
  }

  KStroker& stroker_;
  KIntercept* k_;
  KDash& dash_;
};

}  // namespace

void KStroker::DashBez3(KIntercept* k, const KVertex2D* points, unsigned pieces,
                        const KSoftMatrix3D*) {
  CurveDasher<2>(*this, k).Run(points, pieces);
}

void KStroker::DashBez4(KIntercept* k, const KVertex2D* points, unsigned pieces,
                        const KSoftMatrix3D*) {
  CurveDasher<3>(*this, k).Run(points, pieces);
}

// Subpaths ----------------------------------------------------------------------------------------

void KStroker::DashSubpath(KIntercept* k, const Subpath& subpath, const KSoftMatrix3D* m) {
  KDash& dash = k->dash;
  const bool startsOn = dash.on;
  dash.held = subpath.closed && startsOn;
  dash.heldLength = dash.left;
  k->point = subpath.start;
  if (dash.Draws()) ComputeInit(k);
  WalkSubpath(k, subpath, m);
  if (dash.stopped) return;
  if (dash.held) {
    // The first dash reaches all around: no ends.
    dash.lengths = nullptr;
    StrokeSubpath(k, subpath, m);
    return;
  }
  if (subpath.closed && startsOn) {
    if (!dash.on) ComputeInit(k);
    dash.on = dash.last = true;
    dash.left = dash.heldLength;
    WalkSubpath(k, subpath, m);
  } else if (dash.on) {
    ComputeClose(k, m, false);
  }
}
