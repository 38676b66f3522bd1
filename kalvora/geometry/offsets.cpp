// Offsets: the two sides of straight lines and of curves.
#include <algorithm>

#include "kalvora/geometry/course.h"

using namespace kalvora;

namespace {

Span Wide(KVertex2D v) { return {v.x.raw, v.y.raw}; }

KRun RunAlong(const Pen& pen, Span v, bool straight) {
  const Polar polar = ToPolar(v);
  const KVertex2D direction = polar.direction.Rounded();
  return {direction, pen.Offset(direction), straight ? polar.length : 0};
}

/// Whether a curve that runs in direction d goes on along `leg` without a turn worth a join: less
/// than half a degree.
bool GoesOn(KVertex2D d, Span leg) {
  const Span unit = Wide(d), v = Reduced(leg);
  const std::int64_t ahead = Dot(unit, v);
  return ahead > 0 && Abs(Cross(unit, v)) <= ahead >> 7;
}

/// Reaches the sides of a point within a curve, so far outside that the polygon through such points
/// leaves the curve as much on one side as on the other: by the mean height of the curve above its
/// chord, and by s^2 / 12 of the pen's radius where the pen turns by s.
void Swell(KIntercept* k, std::int64_t height) {
  if (!k->pending || k->run.length > 0) {
    k->Arrive();
    return;
  }
  const KVertex2D d = k->run.direction, o = k->run.offset;
  const std::int64_t turn = Cross(Wide(d), Wide(k->next.direction)) >> 16;
  const auto swell = KFixed::FromRaw(static_cast<std::int32_t>((turn * turn >> 16) / 12));
  const auto shift = KFixed::FromRaw(static_cast<std::int32_t>(height));
  k->AddBoth(k->point + KVertex2D{d.y * shift, -d.x * shift},
             o + KVertex2D{o.x * swell, o.y * swell});
  k->pending = false;
}

/// Where the pen is wider than the curve's radius, its inner side runs backward: the pen's lines
/// before and after the step cross at way / swing of the half width, and beyond the crossing they
/// sweep a triangle the other way around. Walked once more than that, the triangle turns the same
/// way as everything else.
void Fan(KIntercept* k, KVertex2D end, KSide inner, std::int64_t way, std::int64_t swing) {
  const bool right = inner == KSide::Right;
  const KVertex2D a = right ? -k->run.offset : k->run.offset;
  const KVertex2D b = right ? -k->next.offset : k->next.offset;
  const Span part = Part(Wide(a), Ratio(way, swing));
  const KVertex2D crossing =
      k->point + KVertex2D{KFixed::FromRaw(static_cast<std::int32_t>(part.x)),
                           KFixed::FromRaw(static_cast<std::int32_t>(part.y))};
  k->Add(inner, crossing);
  k->Add(inner, end + b);
  k->Add(inner, k->point + a);
  k->Add(inner, crossing);
}

}  // namespace

void kalvora::Turn(KStroker& stroker, KIntercept* k, Span leg, bool smooth) {
  if (!k->empty && GoesOn(k->run.direction, leg)) return;
  k->next = RunAlong(k->pen, leg, false);
  if (k->empty) {
    k->Begin();
  } else {
    stroker.ComputeJoin(k, k->matrix, smooth);
  }
  k->run = k->next;
}

template <int ORDER>
void kalvora::Glide(KStroker& stroker, KIntercept* k, const Bezier<ORDER>& piece) {
  Turn(stroker, k, piece.FirstLeg(), true);
  k->next = RunAlong(k->pen, piece.LastLeg(), false);
  const KVertex2D end = piece.End();
  Swell(k, MeanHeight(piece) >> Bezier<ORDER>::kExtraBits);
  const Span ahead = Wide(k->next.direction);
  const std::int64_t way = Dot(Between(k->point, end), ahead);
  const std::int64_t swing = Dot(Between(k->run.offset, k->next.offset), ahead);
  if (Abs(swing) >= way && swing != 0)
    Fan(k, end, swing > 0 ? KSide::Right : KSide::Left, std::max<std::int64_t>(way, 0), Abs(swing));
  k->MoveTo(end);
}

template void kalvora::Glide(KStroker&, KIntercept*, const Bezier<2>&);
template void kalvora::Glide(KStroker&, KIntercept*, const Bezier<3>&);

void kalvora::FollowLeg(KStroker& stroker, KIntercept* k, Span leg, KVertex2D end) {
  if (IsNothing(leg)) return;
  Turn(stroker, k, leg, true);
  k->next = k->run;
  k->next.length = 0;
  k->MoveTo(end);
}

void KStroker::OffsetPoly(KIntercept* k, const KVertex2D* points, unsigned pieces,
                          const KSoftMatrix3D* m) {
  for (unsigned i = 0; i < pieces; ++i) {
    const Span v = Between(k->point, points[i]);
    if (v.IsZero()) continue;
    k->next = RunAlong(k->pen, v, true);
    if (k->empty) {
      k->Begin();
    } else if (k->next.direction != k->run.direction) {
      ComputeJoin(k, m, false);
    } else if (k->run.length == 0) {
      k->Arrive();
    } else {
      k->next.length += k->run.length;
    }
    k->MoveTo(points[i]);
  }
}

namespace {

template <int ORDER>
void Offset(KStroker& stroker, KIntercept* k, const KVertex2D* points, unsigned pieces) {
  for (; pieces > 0; --pieces, points += ORDER) {
    const auto curve = Bezier<ORDER>::From(k->point, points);
    if (curve.IsPoint()) continue;
    Turn(stroker, k, curve.FirstLeg(), false);
    Subdivide(
        curve, k->pen, *k->matrix, [&](const Bezier<ORDER>& piece) { Glide(stroker, k, piece); },
        [&](const Bezier<ORDER>& piece) {
          for (int i = 0; i < ORDER; ++i) {
            FollowLeg(stroker, k, piece.Leg(i), Bezier<ORDER>::Narrow(piece.p[i + 1]));
          }
        });
  }
}

}  // namespace

void KStroker::OffsetBezier3(KIntercept* k, const KVertex2D* points, unsigned pieces,
                             const KSoftMatrix3D*) {
  Offset<2>(*this, k, points, pieces);
}

void KStroker::OffsetBezier4(KIntercept* k, const KVertex2D* points, unsigned pieces,
                             const KSoftMatrix3D*) {
  Offset<3>(*this, k, points, pieces);
}
