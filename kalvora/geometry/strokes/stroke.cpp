// Stroking: the walk over a path's or a polyline's subpaths.
#include <algorithm>
#include <optional>

#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/strokes/DashPattern.h"
#include "kalvora/geometry/strokes/KStrokeBuilder.h"
#include "kalvora/geometry/strokes/subpath.h"

using namespace kalvora;

namespace {

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

std::int64_t DeviceLength(std::int64_t length, const Pen& pen) {
  return length * std::min(pen.stretch, std::int64_t{1} << 31) >> 16;
}

/// How far the outline stands off the path, 16.16 device pixels, with some to spare for what makes
/// polygons as large as the curves that they stand for.
std::int64_t ReachOf(const KStroker& settings, const Pen& pen) {
  std::int64_t reach = std::int64_t{pen.radius.raw} * 3 / 2;  // the corner of a square cap
  if (settings.join == kMiterJoin) reach = std::max<std::int64_t>(reach, settings.limitWidth.raw);
  reach = DeviceLength(reach, pen);
  return reach + (reach >> 4) + 16 * kOne.raw;
}

template <typename ForEachSubpath>
unsigned Stroke(const KStroker& settings, KVertex2D**& rings, const KSoftMatrix3D& m, bool onStack,
                const KRect* clip, ForEachSubpath forEach) {
  rings = nullptr;
  if (settings.halfWidth <= kZero) return 0;
  const DashPattern pattern(settings.dashes, settings.dashCount, settings.dashPhase);
  std::uint64_t most = 0;
  DashBudget counting(pattern);
  forEach([&](const Subpath& subpath) { most += RingsOf(counting.Take(subpath)); });
  if (most == 0) return 0;

  const Pen pen(settings.halfWidth, m, settings.Flatness());
  const Visible visible(clip, m, ReachOf(settings, pen), DeviceLength(pattern.Longest().raw, pen));
  KStrokeBuilder builder({settings.startCap, settings.endCap, settings.join, settings.limitWidth},
                         pen, m, visible, {onStack ? settings.stack : nullptr}, most);
  DashBudget drawing(pattern);
  forEach([&](const Subpath& subpath) {
    const bool dashed = drawing.Take(subpath).has_value();
    if (visible.Hides(subpath)) return;
    if (dashed) {
      builder.DashSubpath(subpath, pattern.Start());
    } else {
      builder.StrokeSubpath(subpath);
    }
  });
  return builder.Take(rings);
}

}  // namespace

unsigned KStroker::StrokePath(const KSoftPath* path, KVertex2D**& rings, const KSoftMatrix3D* m,
                              bool onStack, const KRect* clip) {
  return Stroke(*this, rings, *m, onStack, clip, [path](auto visit) {
    for (const KSegment* segment = path->first; segment; segment = segment->next) {
      if (segment->Opens()) visit(Subpath::Of(segment));
    }
  });
}

unsigned KStroker::StrokePoly(const KVertex2D* points, unsigned count, KVertex2D**& rings,
                              const KSoftMatrix3D* m, bool onStack, bool closed,
                              const KRect* clip) {
  return Stroke(*this, rings, *m, onStack, clip, [=](auto visit) {
    if (count > 0) visit(Subpath{points[0], closed, nullptr, points + 1, count - 1});
  });
}

void KStroker::FreeStroke(KVertex2D** rings, unsigned count, bool onStack) {
  FreeRings(rings, count, onStack);
}
