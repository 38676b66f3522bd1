// Offsets: the two sides of straight lines and of curves.
#include <algorithm>

#include "kalvora/geometry/strokes/KStrokeBuilder.h"
#include "kalvora/geometry/strokes/heights.h"
#include "kalvora/geometry/strokes/subdivide.h"

using namespace kalvora;

namespace {

/// DirectionOf(v).Rounded(), of what is not zero.
KVertex2D RoundedDirectionOf(QuickVector v) {
  if constexpr (!kHasReals) return DirectionOf(v.Exactly()).Rounded();
  // Roots and quotients of floating-point numbers take half of the time. DirectionOf differs from
  // them by less than 10 units, which matters only where 16 bits are rounded the other way then.
  constexpr std::int32_t kNear = 16, kStep = 1 << 14;
  const auto x = static_cast<double>(v.x), y = static_cast<double>(v.y);
  const double inverse = Unit::kOne / __builtin_sqrt(x * x + y * y);
  const Unit unit{static_cast<std::int32_t>(x * inverse), static_cast<std::int32_t>(y * inverse)};
  const auto isClear = [](std::int32_t u) {
    return ((u + kStep / 2 + kNear) & (kStep - 1)) >= 2 * kNear;
  };
  return isClear(unit.x) && isClear(unit.y) ? unit.Rounded() : DirectionOf(v.Exactly()).Rounded();
}

/// Of a straight line, and of a curve's leg.
KStretch StretchAlong(const Pen& pen, Vector v) {
  const Polar polar = ToPolar(v);
  const KVertex2D direction = polar.direction.Rounded();
  return {direction, pen.Offset(direction), polar.length};
}
KStretch StretchToward(const Pen& pen, QuickVector leg) {
  const KVertex2D direction = leg.IsZero() ? KVertex2D::Origin : RoundedDirectionOf(leg);
  return {direction, pen.Offset(direction), 0};
}

/// Whether a curve that runs in direction d goes on along `leg` without a turn worth a join: less
/// than half a degree.
bool GoesOn(KVertex2D d, Vector leg) {
  const ShortVector unit = Short(d), v = Reduced(leg);
  const std::int64_t ahead = Dot(unit, v);
  return ahead > 0 && Abs(Cross(unit, v)) <= ahead >> 7;
}

}  // namespace

// Sides -------------------------------------------------------------------------------------------

void KStrokeBuilder::AddBoth(KVertex2D p, KVertex2D offset) {
  out_.AddBoth(p + offset, p - offset);
}

void KStrokeBuilder::Begin() {
  k_.first = k_.next;
  AddBoth(k_.point, k_.first.offset);
  k_.empty = false;
}

void KStrokeBuilder::MoveTo(KVertex2D p) {
  k_.before = k_.next;
  k_.point = p;
  k_.pending = true;
}

void KStrokeBuilder::Arrive() {
  if (k_.pending) AddBoth(k_.point, k_.before.offset);
  k_.pending = false;
}

// Steps of curves ---------------------------------------------------------------------------------

// Reaches the sides of a point within a curve, so far outside that the polygon through such points
// leaves the curve as much on one side as on the other: by the mean height of the curve above its
// chord, and by s^2 / 12 of the pen's radius where the pen turns by s.
void KStrokeBuilder::Swell(std::int32_t height) {
  const KVertex2D d = k_.before.direction, o = k_.before.offset;
  const std::int64_t turn = Cross(Short(d), Short(k_.next.direction)) >> 16;
  const auto swell = KFixed::FromRaw(static_cast<std::int32_t>(turn * turn >> 16) / 12);
  const KFixed shift = KFixed::FromRaw(height);
  AddBoth(k_.point + KVertex2D{d.y * shift, -d.x * shift}, o + KVertex2D{o.x * swell, o.y * swell});
  k_.pending = false;
}

// Where the pen is wider than the curve's radius, its inner side runs backward: the pen's lines
// before and after the step cross at way / swing of the half width, and beyond the crossing they
// sweep a triangle the other way around. Walked once more than that, the triangle turns the same
// way as everything else; steps that follow each other do it together, as one fan.
void KStrokeBuilder::Fan(Side inner, std::int64_t way, std::int64_t swing) {
  if (fanSteps_ == StrokeRings::kMostFanSteps || inner != fanSide_) EndFan();
  fanSide_ = inner;
  ++fanSteps_;
  const KVertex2D a = inner == Side::kRight ? -k_.before.offset : k_.before.offset;
  const Vector part = Part(Wide(a), Ratio(way, swing));
  out_.Add(inner, k_.point + KVertex2D{KFixed::FromRaw(static_cast<std::int32_t>(part.x)),
                                       KFixed::FromRaw(static_cast<std::int32_t>(part.y))});
}

void KStrokeBuilder::EndFan() {
  if (fanSteps_ == 0) return;
  Arrive();
  out_.TurnFan(fanSide_, fanSteps_);
  fanSteps_ = 0;
}

void KStrokeBuilder::Turn(Vector leg, bool smooth) {
  if (!k_.empty && GoesOn(k_.before.direction, leg)) return;
  EndFan();
  k_.next = StretchToward(pen_, QuickVector::Of(leg));
  if (k_.empty) {
    Begin();
  } else {
    ComputeJoin(smooth);
  }
  k_.before = k_.next;
}

template <int ORDER>
void KStrokeBuilder::Glide(const Bezier<ORDER>& piece) {
  // Where pieces are cut evenly, roundings turn legs that stay as long by 1/400 at the most: less
  // than what is worth a join. Dashes may cut them anywhere.
  constexpr int kLong = 1 << 16;
  QuickVector to[ORDER];
#pragma GCC unroll 3
  for (int i = 0; i < ORDER; ++i) to[i] = QuickVector::Of(piece.p[i + 1] - piece.p[0]);
  QuickVector last = to[ORDER - 1] - to[ORDER - 2];
  const bool endsLong = last.Reaches(kLong);
  if (!endsLong) last = QuickVector::Of(piece.LastLeg());
  if (!glides_ || !to[0].Reaches(kLong)) Turn(piece.FirstLeg(), true);
  glides_ = endsLong && !k_.dash.lengths;
  k_.next = StretchToward(pen_, last);
  const KVertex2D end = piece.End();
  if (k_.pending && k_.before.length == 0) {
    Swell(RoundedHeight(piece, to));
  } else {
    Arrive();
  }
  const ShortVector ahead = Short(k_.next.direction);
  const auto along = [ahead](KVertex2D v) { return Dot(Short(v), ahead); };
  const std::int64_t way = along(end) - along(k_.point);
  const std::int64_t swing = along(k_.next.offset) - along(k_.before.offset);
  if (Abs(swing) >= way && swing != 0) {
    Fan(swing > 0 ? Side::kRight : Side::kLeft, std::max<std::int64_t>(way, 0), Abs(swing));
  } else {
    EndFan();
  }
  MoveTo(end);
}

template void KStrokeBuilder::Glide(const Bezier<2>&);
template void KStrokeBuilder::Glide(const Bezier<3>&);

void KStrokeBuilder::FollowLeg(Vector leg, KVertex2D end) {
  if (IsNothing(leg)) return;
  EndFan();
  glides_ = false;
  Turn(leg, true);
  k_.next = k_.before;
  k_.next.length = 0;
  MoveTo(end);
}

// Pieces ------------------------------------------------------------------------------------------

void KStrokeBuilder::OffsetPoly(const KVertex2D* points, unsigned pieces) {
  for (unsigned i = 0; i < pieces; ++i) {
    const Vector v = Between(k_.point, points[i]);
    if (v.IsZero()) continue;
    EndFan();
    k_.next = StretchAlong(pen_, v);
    if (k_.empty) {
      Begin();
    } else if (k_.next.direction != k_.before.direction) {
      ComputeJoin(false);
    } else if (k_.before.length == 0) {
      Arrive();
    } else {
      k_.next.length += k_.before.length;
    }
    MoveTo(points[i]);
  }
}

template <int ORDER>
void KStrokeBuilder::Offset(const KVertex2D* points, unsigned pieces) {
  for (; pieces > 0; --pieces, points += ORDER) {
    const auto curve = Bezier<ORDER>::From(k_.point, points);
    if (curve.IsPoint()) continue;
    Turn(curve.FirstLeg(), false);
    glides_ = false;
    Subdivide(
        curve, pen_, matrix_, [this](const Bezier<ORDER>& piece) { Glide(piece); },
        [this](const Bezier<ORDER>& piece) {
          for (int i = 0; i < ORDER; ++i) {
            FollowLeg(piece.Leg(i), Bezier<ORDER>::Narrow(piece.p[i + 1]));
          }
        });
  }
}

void KStrokeBuilder::OffsetBezier3(const KVertex2D* points, unsigned pieces) {
  Offset<2>(points, pieces);
}

void KStrokeBuilder::OffsetBezier4(const KVertex2D* points, unsigned pieces) {
  Offset<3>(points, pieces);
}
