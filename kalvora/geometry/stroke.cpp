// Stroking: the walk over a path's or a polyline's subpaths.
#include <algorithm>

#include "kalvora/geometry/KIntercept.h"
#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"

using namespace kalvora;

namespace {

// Vertices that an outline is given room for at first; it grows when it needs more.
constexpr std::uint64_t kRoomForCaps = 30;
constexpr std::uint64_t kRoomForLine = 4;
constexpr std::uint64_t kRoomForCurve = 40;
constexpr std::uint64_t kMostRoom = 1 << 20;

bool IsButt(std::uint32_t cap) { return cap != kSquareCap && cap != kRoundCap; }

std::uint32_t RoomFor(std::uint64_t lines, std::uint64_t curves) {
  return static_cast<std::uint32_t>(
      std::min(kRoomForCaps + lines * kRoomForLine + curves * kRoomForCurve, kMostRoom));
}

/// Room for the subpath that `segment` opens.
std::uint32_t RoomFor(const KSegment* segment) {
  std::uint64_t lines = 0, curves = 0;
  do {
    (segment->Order() == 1 ? lines : curves) += segment->Pieces();
    segment = segment->next;
  } while (segment && !segment->Opens());
  return RoomFor(lines, curves);
}

}  // namespace

unsigned KStroker::StrokePath(const KSoftPath* path, KVertex2D**& rings, const KSoftMatrix3D* m,
                              bool onStack) {
  rings = nullptr;
  if (halfWidth <= kZero || !path->first) return 0;
  KIntercept k(Pen(halfWidth, *m), m, onStack ? stack : nullptr);
  if (!k.AllocRings(path->subpathCount)) return 0;
  bool closed = false;
  for (const KSegment* segment = path->first; segment; segment = segment->next) {
    if (segment->Opens()) {
      ComputeClose(&k, m, closed);
      closed = segment->Closed();
      k.point = *segment->Start();
      k.reserve = RoomFor(segment);
      if (!ComputeInit(&k)) break;
    }
    switch (segment->Order()) {
      case 1:
        OffsetPoly(&k, segment->Points(), segment->Pieces(), m);
        break;
      case 2:
        OffsetBezier3(&k, segment->Points(), segment->Pieces(), m);
        break;
      default:
        OffsetBezier4(&k, segment->Points(), segment->Pieces(), m);
        break;
    }
  }
  ComputeClose(&k, m, closed);
  rings = k.Result();
  return k.count;
}

unsigned KStroker::StrokePoly(const KVertex2D* points, unsigned count, KVertex2D**& rings,
                              const KSoftMatrix3D* m, bool onStack, bool closed) {
  rings = nullptr;
  if (halfWidth <= kZero || count == 0) return 0;
  KIntercept k(Pen(halfWidth, *m), m, onStack ? stack : nullptr);
  if (!k.AllocRings(1)) return 0;
  k.point = points[0];
  k.reserve = RoomFor(count, 0);
  if (ComputeInit(&k)) OffsetPoly(&k, points + 1, count - 1, m);
  ComputeClose(&k, m, closed);
  rings = k.Result();
  return k.count;
}

void KStroker::FreeStroke(KVertex2D** rings, unsigned count, bool onStack) {
  FreeRings(rings, count, onStack);
}

bool KStroker::ComputeInit(KIntercept* k) { return k->Open(); }

void KStroker::ComputeClose(KIntercept* k, const KSoftMatrix3D* m, bool closed) {
  if (!k->ring) return;
  if (closed) OffsetPoly(k, &k->start, 1, m);
  if (k->empty) {
    // A subpath of no length is a dot: two caps, back to back.
    if (IsButt(startCap) && IsButt(endCap)) {
      k->Drop();
      return;
    }
    k->next = {{kOne, kZero}, k->pen.Offset({kOne, kZero}), 0};
    k->Begin();
    k->run = k->next;
    closed = false;
  }
  if (closed) {
    k->next = k->first;
    if (k->run.direction != k->first.direction) {
      ComputeJoin(k, m, false);
      k->CloseInnerSide();
    }
    k->FinishTwo();
    return;
  }
  k->Arrive();
  ComputeCap(k, m);
  k->Fold();
  k->point = k->start;
  k->run = k->first.Reversed();
  k->atStart = true;
  ComputeCap(k, m);
  k->FinishOne();
}
