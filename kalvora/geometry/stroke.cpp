// Stroking: the walk over a path's or a polyline's subpaths.
#include <algorithm>
#include <optional>

#include "kalvora/geometry/KIntercept.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/dashes.h"
#include "kalvora/geometry/subpath.h"

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

std::uint32_t RoomFor(const Subpath& subpath) {
  std::uint64_t lines = 0, curves = 0;
  subpath.ForEach([&](unsigned order, const KVertex2D*, unsigned pieces) {
    (order == 1 ? lines : curves) += pieces;
  });
  return RoomFor(lines, curves);
}

/// Decides for every subpath of a stroke, in their order, whether it is cut into dashes.
class DashBudget {
 public:
  explicit DashBudget(const DashPattern& pattern) : pattern_(pattern) {}

  /// The number of boundaries; none for a subpath that is drawn solid.
  std::optional<std::uint32_t> Take(const Subpath& subpath) {
    if (pattern_.IsSolid()) return {};
    const std::uint32_t boundaries = pattern_.Boundaries(subpath);
    if (boundaries > std::min(left_, DashPattern::kMostBoundaries)) return {};
    left_ -= boundaries;
    return boundaries;
  }

 private:
  const DashPattern& pattern_;
  std::uint32_t left_ = DashPattern::kMostInStroke;
};

/// The most rings that the subpath can give: two sides of a closed line, or one for every dash.
std::uint64_t RingsOf(std::optional<std::uint32_t> boundaries) {
  return 2 + std::uint64_t{boundaries.value_or(0)} / 2;
}

}  // namespace

template <typename ForEachSubpath>
unsigned KStroker::Stroke(KVertex2D**& rings, const KSoftMatrix3D* m, bool onStack,
                          ForEachSubpath forEach) {
  rings = nullptr;
  if (halfWidth <= kZero) return 0;
  const DashPattern pattern(dashes, dashCount, dashPhase);
  std::uint64_t most = 0;
  DashBudget counting(pattern);
  forEach([&](const Subpath& subpath) { most += RingsOf(counting.Take(subpath)); });

  KIntercept k(Pen(halfWidth, *m, GeoQuality), m, onStack ? stack : nullptr);
  if (most == 0 || !k.AllocRings(most)) return 0;
  DashBudget drawing(pattern);
  forEach([&](const Subpath& subpath) {
    if (drawing.Take(subpath)) {
      k.dash = pattern.Start();
      k.reserve = RoomFor(1, 0);
      DashSubpath(&k, subpath, m);
    } else {
      k.dash = {};
      StrokeSubpath(&k, subpath, m);
    }
  });
  rings = k.Result();
  return k.count;
}

unsigned KStroker::StrokePath(const KSoftPath* path, KVertex2D**& rings, const KSoftMatrix3D* m,
                              bool onStack) {
  return Stroke(rings, m, onStack, [path](auto visit) {
    for (const KSegment* segment = path->first; segment; segment = segment->next) {
      if (segment->Opens()) visit(Subpath::Of(segment));
    }
  });
}

unsigned KStroker::StrokePoly(const KVertex2D* points, unsigned count, KVertex2D**& rings,
                              const KSoftMatrix3D* m, bool onStack, bool closed) {
  return Stroke(rings, m, onStack, [=](auto visit) {
    if (count > 0) visit(Subpath{points[0], closed, nullptr, points + 1, count - 1});
  });
}

void KStroker::FreeStroke(KVertex2D** rings, unsigned count, bool onStack) {
  FreeRings(rings, count, onStack);
}

void KStroker::StrokeSubpath(KIntercept* k, const Subpath& subpath, const KSoftMatrix3D* m) {
  k->point = subpath.start;
  k->reserve = RoomFor(subpath);
  if (!ComputeInit(k)) return;
  WalkSubpath(k, subpath, m);
  ComputeClose(k, m, subpath.closed);
}

void KStroker::WalkSubpath(KIntercept* k, const Subpath& subpath, const KSoftMatrix3D* m) {
  const bool dashed = k->dash.lengths;
  subpath.ForEach([&](unsigned order, const KVertex2D* points, unsigned pieces) {
    switch (order) {
      case 1:
        dashed ? DashPoly(k, points, pieces, m) : OffsetPoly(k, points, pieces, m);
        break;
      case 2:
        dashed ? DashBez3(k, points, pieces, m) : OffsetBezier3(k, points, pieces, m);
        break;
      default:
        dashed ? DashBez4(k, points, pieces, m) : OffsetBezier4(k, points, pieces, m);
        break;
    }
  });
  if (dashed && subpath.closed) DashPoly(k, &subpath.start, 1, m);
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
    k->next = {k->heading, k->pen.Offset(k->heading), 0};
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
