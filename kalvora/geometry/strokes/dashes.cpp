// Dashes: the walk along a subpath that cuts it into pieces of the dash pattern.
#include <algorithm>

#include "kalvora/geometry/strokes/KStrokeBuilder.h"
#include "kalvora/geometry/strokes/subdivide.h"

using namespace kalvora;

namespace {

constexpr int kExtraBits = Bezier<3>::kExtraBits;

/// Vertices that a dash is given room for at first; it grows when it needs more.
constexpr std::uint32_t kRoomForDash = 34;

/// 16.16 with further fraction bits.
Vector Widen(Vector v) { return {v.x << kExtraBits, v.y << kExtraBits}; }

/// Length of a piece that turns little: the polygon is too long by about as much as the chord is
/// too short (for a cubic; twice as much for a quadratic).
template <int ORDER>
std::int64_t GetBezierLen(const Bezier<ORDER>& piece) {
  const std::int64_t chord = LengthOf(piece.p[ORDER] - piece.p[0]);
  std::int64_t polygon = 0;
  for (int i = 0; i < ORDER; ++i) polygon += LengthOf(piece.Leg(i));
  return Quotient(2 * chord + (ORDER - 1) * polygon, std::int64_t{ORDER + 1});
}

/// How far a piece has gone at a parameter, measured along its chord: control points of 29 bits,
/// the first of them 0.
template <int ORDER>
class Progress {
 public:
  explicit Progress(const std::int32_t (&x)[ORDER + 1]) : x_(x) {
    const std::int32_t a = x[1] >> 3, b = x[2] >> 3, c = x[ORDER] >> 3;
    linear_ = ORDER * a;
    square_ = ORDER == 3 ? 3 * (b - 2 * a) : b - 2 * a;
    cube_ = ORDER == 3 ? c - 3 * (b - a) : 0;
  }

  /// Whether it is below `wanted` at t, 30 fraction bits. Horner's rule gives an eighth of it, up
  /// to 4 too little, and At gives it up to 3 too little: only what is nearer than that is left to
  /// At.
  bool IsBelow(std::int32_t wanted, std::int32_t t) const {
    std::int32_t eighth = square_;
    if constexpr (ORDER == 3) eighth += Times(cube_, t);
    eighth = Times(linear_ + Times(eighth, t), t);
    const std::int64_t about = std::int64_t{eighth} * 8;
    if (about + 32 <= wanted) return true;
    return about - 3 < wanted && At(t) < wanted;
  }

 private:
  static std::int32_t Times(std::int32_t a, std::int32_t t) {
    return static_cast<std::int32_t>(std::int64_t{a} * t >> Unit::kBits);
  }
  std::int32_t At(std::int32_t t) const {
    std::int32_t y[ORDER + 1];
    for (int i = 0; i <= ORDER; ++i) y[i] = x_[i];
    for (int n = ORDER; n > 0; --n) {
      for (int i = 0; i < n; ++i) {
        y[i] += static_cast<std::int32_t>(std::int64_t{y[i + 1] - y[i]} * t >> Unit::kBits);
      }
    }
    return y[0];
  }

  const std::int32_t (&x_)[ORDER + 1];
  std::int32_t linear_, square_, cube_;
};

/// The parameter, 30 fraction bits, at which a piece that turns little has gone `part` of its way:
/// measured along the chord, along which it only runs forward, to `accuracy`.
template <int ORDER>
std::int32_t ParameterAt(const Bezier<ORDER>& piece, std::int64_t part, std::int64_t accuracy) {
  const Vector chord = piece.p[ORDER] - piece.p[0];
  const int shift = ReducingShift(chord);
  // Both below 2^28: a quarter of their product leaves 30 bits, and words suffice from here on.
  std::int32_t x[ORDER + 1];
  for (int i = 0; i <= ORDER; ++i) {
    const Vector v = piece.p[i] - piece.p[0];
    const std::int64_t along = Dot(Shifted(v, shift), Shifted(chord, shift));
    x[i] = static_cast<std::int32_t>(along >> (Unit::kBits - 2));
  }
  const auto wanted = static_cast<std::int32_t>(x[ORDER] * part >> Unit::kBits);
  const Progress<ORDER> progress(x);
  std::int32_t t = 0;
  for (std::int32_t step = Unit::kOne >> 1; step > accuracy; step >>= 1) {
    if (progress.IsBelow(wanted, t + step)) t += step;
  }
  return t;
}

}  // namespace

// The walk ----------------------------------------------------------------------------------------

void KStrokeBuilder::ComputeDash(KVertex2D p, Vector heading) {
  KDash& dash = k_.dash;
  const std::uint32_t following = dash.index + 1 < dash.count ? dash.index + 1 : 0;
  if (dash.on && !dash.last && dash.lengths[following] == kZero) {
    // No gap: the next dash continues this one.
    dash.Advance();
    dash.Advance();
    if (dash.held) dash.heldLength += dash.left;
    return;
  }
  if (dash.Draws()) {
    k_.heading = DirectionOf(heading).Rounded();
    ComputeClose(false);
  }
  k_.point = p;
  dash.stopped = dash.last || out_.Failed();
  if (dash.stopped) return;
  dash.held = false;
  dash.Advance();
  if (dash.on) ComputeInit();
}

// What nobody sees
// ---------------------------------------------------------------------------------

void KStrokeBuilder::SkipRounds() {
  const KDash& dash = k_.dash;
  if (dash.on || dash.round == 0 || way_.seen.IsAll()) return;
  std::int64_t to = way_.done;
  if (way_.done < way_.seen.begin) to = std::min(way_.seen.begin, way_.length);
  if (way_.done > way_.seen.end) to = way_.length;
  if (to - way_.done >= dash.round) way_.done += (to - way_.done) / dash.round * dash.round;
}

// All of it or nothing: where a curve is cut depends on where it was cut before.
bool KStrokeBuilder::CountDashes(std::int64_t length) {
  if (way_.seen.IsAll() || k_.dash.Draws()) return false;
  KDash dash = k_.dash;
  KDashWay way = way_;
  while (dash.left < length) {
    length -= dash.left;
    way.done += dash.left;
    if (!dash.PassBoundary(way)) return false;
  }
  dash.left -= length;
  way.done += length;
  k_.dash = dash;
  way_ = way;
  return true;
}

template <int ORDER>
KDashWay KStrokeBuilder::WayAlong(const Bezier<ORDER>& curve) const {
  const auto sidesOf = [this](Vector p) { return visible_.SidesOf(Bezier<ORDER>::Narrow(p)); };
  unsigned any = 0;
  for (const Vector p : curve.p) any |= sidesOf(p);
  if (any == 0 || !curve.IsInPlane(matrix_)) return {};

  KDashWay way{{INT64_MAX, 0}, 0, 0};
  const auto add = [&](const Bezier<ORDER>& piece, std::int64_t length) {
    unsigned sides = ~0u;
    for (const Vector p : piece.p) sides &= sidesOf(p);
    if (sides == 0) {
      way.seen.begin = std::min(way.seen.begin, way.length);
      way.seen.end = way.length + length;
    }
    way.length += length;
  };
  Subdivide(
      curve, pen_, matrix_, [&](const Bezier<ORDER>& piece) { add(piece, GetBezierLen(piece)); },
      [&](const Bezier<ORDER>& piece) {
        std::int64_t length = 0;
        for (int i = 0; i < ORDER; ++i) {
          if (!IsNothing(piece.Leg(i))) length += LengthOf(piece.Leg(i));
        }
        add(piece, length);
      });
  return way;
}

// The walk along lines and curves -----------------------------------------------------------------

// Lengths are measured on the untransformed points.
void KStrokeBuilder::DashPoly(const KVertex2D* points, unsigned pieces) {
  KDash& dash = k_.dash;
  for (unsigned i = 0; i < pieces && !dash.stopped; ++i) {
    const KVertex2D from = k_.point;
    const Vector v = Between(from, points[i]);
    if (v.IsZero()) continue;
    const std::int64_t length = LengthOf(Widen(v));
    way_ = {visible_.Of(from, points[i], length), 0, length};
    for (;;) {
      SkipRounds();
      if (dash.left >= length - way_.done) break;
      way_.done += dash.left;
      if (dash.PassBoundary(way_)) continue;
      const Vector way = Part(v, Ratio(way_.done, length));
      const KVertex2D cut = from + KVertex2D{KFixed::FromRaw(static_cast<std::int32_t>(way.x)),
                                             KFixed::FromRaw(static_cast<std::int32_t>(way.y))};
      if (dash.Draws()) OffsetPoly(&cut, 1);
      ComputeDash(cut, v);
      if (dash.stopped) return;
    }
    dash.left -= length - way_.done;
    if (dash.Draws()) {
      OffsetPoly(&points[i], 1);
    } else {
      k_.point = points[i];
    }
  }
}

template <int ORDER>
void KStrokeBuilder::Dash(const KVertex2D* points, unsigned pieces) {
  for (; pieces > 0 && !k_.dash.stopped; --pieces, points += ORDER) {
    const auto curve = Bezier<ORDER>::From(k_.point, points);
    if (curve.IsPoint()) continue;
    way_ = WayAlong(curve);
    if (k_.dash.Draws()) Turn(curve.FirstLeg(), false);
    Subdivide(
        curve, pen_, matrix_, [this](const Bezier<ORDER>& piece) { DashPiece(piece); },
        [this](const Bezier<ORDER>& piece) {
          for (int i = 0; i < ORDER; ++i) DashLeg(piece.p[i], piece.Leg(i));
        });
  }
}

template <int ORDER>
void KStrokeBuilder::DashPiece(Bezier<ORDER> rest) {
  KDash& dash = k_.dash;
  const auto draw = [this](const Bezier<ORDER>& piece) {
    if (!k_.dash.Draws()) {
      k_.point = piece.End();
    } else if (!piece.IsPoint()) {
      Glide(piece);
    }
  };
  std::int64_t length = GetBezierLen(rest);
  if (CountDashes(length)) {
    k_.point = rest.End();
    return;
  }
  while (!dash.stopped && dash.left < length) {
    Bezier<ORDER> head, tail;
    const std::int64_t accuracy = Ratio(std::min(pen_.flatness >> 6, length), length);
    rest.ReParam(head, tail, ParameterAt(rest, Ratio(dash.left, length), accuracy));
    draw(head);
    length -= dash.left;
    way_.done += dash.left;
    ComputeDash(head.End(), tail.FirstLeg());
    rest = tail;
  }
  if (dash.stopped) return;
  dash.left -= length;
  way_.done += length;
  draw(rest);
}

void KStrokeBuilder::DashLeg(Vector from, Vector leg) {
  if (IsNothing(leg)) return;
  KDash& dash = k_.dash;
  const auto draw = [&](KVertex2D end) {
    if (dash.Draws()) {
      FollowLeg(leg, end);
    } else {
      k_.point = end;
    }
  };
  const std::int64_t length = LengthOf(leg);
  if (CountDashes(length)) {
    k_.point = Bezier<3>::Narrow(from + leg);
    return;
  }
  std::int64_t done = 0;
  while (!dash.stopped && dash.left < length - done) {
    done += dash.left;
    way_.done += dash.left;
    const KVertex2D cut = Bezier<3>::Narrow(from + Part(leg, Ratio(done, length)));
    draw(cut);
    ComputeDash(cut, leg);
  }
  if (dash.stopped) return;
  dash.left -= length - done;
  way_.done += length - done;
  draw(Bezier<3>::Narrow(from + leg));
}

void KStrokeBuilder::DashBez3(const KVertex2D* points, unsigned pieces) { Dash<2>(points, pieces); }
void KStrokeBuilder::DashBez4(const KVertex2D* points, unsigned pieces) { Dash<3>(points, pieces); }

// Subpaths ----------------------------------------------------------------------------------------

void KStrokeBuilder::DashSubpath(const Subpath& subpath, const KDash& start) {
  KDash& dash = k_.dash;
  dash = start;
  reserve_ = kRoomForDash;
  const bool startsOn = dash.on;
  dash.held = subpath.closed && startsOn;
  dash.heldLength = dash.left;
  k_.point = subpath.start;
  if (dash.Draws()) ComputeInit();
  WalkSubpath(subpath);
  if (dash.stopped) return;
  if (dash.held) {
    // The first dash reaches all around: no ends.
    StrokeSubpath(subpath);
    return;
  }
  if (subpath.closed && startsOn) {
    if (!dash.on) ComputeInit();
    dash.on = dash.last = true;
    dash.left = dash.heldLength;
    WalkSubpath(subpath);
  } else if (dash.on) {
    ComputeClose(false);
  }
}
