// Caps: the ends of open lines, and the arcs of round caps and joins.
#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/strokes/KStrokeBuilder.h"

using namespace kalvora;

// From the left side of the direction at the current point to the right side: both sides' ends are
// already part of the outline, and the cap's points follow on the left side.
void KStrokeBuilder::ComputeCap() {
  const std::uint32_t kind = k_.atStart ? style_.startCap : style_.endCap;
  if (kind != kSquareCap && kind != kRoundCap) return;
  const KVertex2D p = k_.point;
  const KVertex2D d = k_.before.direction;
  const KVertex2D side = k_.before.offset;
  const KVertex2D ahead = {d.x * pen_.radius, d.y * pen_.radius};
  if (kind == kSquareCap) {
    out_.Add(Side::kLeft, p + side + ahead);
    out_.Add(Side::kLeft, p - side + ahead);
  } else {
    GetArcPts(Side::kLeft, side, -side, true);
  }
}

// Turns step by step from one offset to the other, over at most 180 degrees; the two themselves are
// the caller's.
void KStrokeBuilder::GetArcPts(Side side, KVertex2D from, KVertex2D to, bool clockwise) {
  const std::int64_t c = pen_.stepCos;
  const std::int64_t s = clockwise ? pen_.stepSin : -pen_.stepSin;
  const std::int64_t sign = clockwise ? 1 : -1;
  std::int64_t x = from.x.raw + Mul30(from.x.raw, pen_.bulge);
  std::int64_t y = from.y.raw + Mul30(from.y.raw, pen_.bulge);
  // Half a circle has fewer steps: offsets that are not this pen's would never be reached.
  for (int i = 0; i < Pen::kMostSteps; ++i) {
    const std::int64_t turned = Mul30(x, c) - Mul30(y, s);
    y = Mul30(x, s) + Mul30(y, c);
    x = turned;
    if ((x * to.y.raw - y * to.x.raw) * sign <= 0) return;
    out_.Add(side, k_.point + KVertex2D{KFixed::FromRaw(static_cast<std::int32_t>(x)),
                                        KFixed::FromRaw(static_cast<std::int32_t>(y))});
  }
}
