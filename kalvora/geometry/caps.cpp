// Caps: the ends of open lines.
#include "kalvora/geometry/KIntercept.h"
#include "kalvora/geometry/KStroker.h"

// From the left side of k's direction at its point to the right side: both sides' ends are already
// part of the outline, and the cap's points follow on the left side.
void KStroker::ComputeCap(KIntercept* k, const KSoftMatrix3D*) {
  const std::uint32_t kind = k->atStart ? startCap : endCap;
  if (kind != kSquareCap && kind != kRoundCap) return;
  const KVertex2D p = k->point;
  const KVertex2D d = k->run.direction;
  const KVertex2D side = k->run.offset;
  const KVertex2D ahead = {d.x * k->pen.radius, d.y * k->pen.radius};
  if (kind == kSquareCap) {
    k->Add(KSide::Left, p + side + ahead);
    k->Add(KSide::Left, p - side + ahead);
  } else {
    GetArcPts(k, KSide::Left, side, -side, true);
  }
}
