// KStrokeBuilder: subpaths from their beginning to their end.
#include "kalvora/geometry/strokes/KStrokeBuilder.h"

#include <algorithm>

#include "kalvora/geometry/KStroker.h"

using namespace kalvora;

namespace {

// Vertices that an outline is given room for at first; it grows when it needs more.
constexpr std::uint64_t kRoomForCaps = 30;
constexpr std::uint64_t kRoomForLine = 4;
constexpr std::uint64_t kRoomForCurve = 40;
constexpr std::uint64_t kMostRoom = 1 << 20;

bool IsButt(std::uint32_t cap) { return cap != kSquareCap && cap != kRoundCap; }

std::uint32_t RoomFor(const Subpath& subpath) {
  std::uint64_t lines = 0, curves = 0;
  subpath.ForEach([&](unsigned order, const KVertex2D*, unsigned pieces) {
    (order == 1 ? lines : curves) += pieces;
  });
  return static_cast<std::uint32_t>(
      std::min(kRoomForCaps + lines * kRoomForLine + curves * kRoomForCurve, kMostRoom));
}

}  // namespace

KStrokeBuilder::KStrokeBuilder(const KStrokeStyle& style, const Pen& pen, const KSoftMatrix3D& m,
                               const Visible& visible, Memory memory, std::uint64_t mostRings)
    : style_(style),
      pen_(pen),
      matrix_(m),
      visible_(visible),
      out_(m, memory),
      k_{.radius = pen.radius} {
  out_.AllocList(mostRings);
}

void KStrokeBuilder::StrokeSubpath(const Subpath& subpath) {
  k_.dash = {};
  k_.point = subpath.start;
  reserve_ = RoomFor(subpath);
  if (!ComputeInit()) return;
  WalkSubpath(subpath);
  ComputeClose(subpath.closed);
}

void KStrokeBuilder::WalkSubpath(const Subpath& subpath) {
  const bool dashed = k_.dash.lengths;
  subpath.ForEach([&](unsigned order, const KVertex2D* points, unsigned pieces) {
    switch (order) {
      case 1:
        dashed ? DashPoly(points, pieces) : OffsetPoly(points, pieces);
        break;
      case 2:
        dashed ? DashBez3(points, pieces) : OffsetBezier3(points, pieces);
        break;
      default:
        dashed ? DashBez4(points, pieces) : OffsetBezier4(points, pieces);
        break;
    }
  });
  if (dashed && subpath.closed) DashPoly(&subpath.start, 1);
}

bool KStrokeBuilder::ComputeInit() {
  k_.start = k_.point;
  k_.heading = {kOne, kZero};
  k_.empty = true;
  k_.pending = k_.atStart = glides_ = false;
  fanSteps_ = 0;
  return out_.Open(reserve_);
}

void KStrokeBuilder::ComputeClose(bool closed) {
  if (!out_.IsOpen()) return;
  EndFan();
  if (closed) OffsetPoly(&k_.start, 1);
  if (k_.empty) {
    // A subpath of no length is a dot: two caps, back to back.
    if (IsButt(style_.startCap) && IsButt(style_.endCap)) {
      out_.Drop();
      return;
    }
    k_.next = {k_.heading, pen_.Offset(k_.heading), 0};
    Begin();
    k_.before = k_.next;
    closed = false;
  }
  if (closed) {
    k_.next = k_.first;
    if (k_.before.direction != k_.first.direction) {
      ComputeJoin(false);
      if (crossed_) out_.BeginAtEnd(inner_);
    }
    out_.FinishTwo();
    return;
  }
  Arrive();
  ComputeCap();
  out_.Fold();
  k_.point = k_.start;
  k_.before = k_.first.Reversed();
  k_.atStart = true;
  ComputeCap();
  out_.FinishOne();
}
