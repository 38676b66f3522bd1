// Reach: see the header.
#include "examples/svg/reach.h"

#include <algorithm>
#include <cmath>

namespace svg {

namespace {

using Polygon = std::vector<Point>;

// n equal steps deviate from a curve by at most |second derivative| / (8 n^2).
void AddCurve(Polygon& polygon, Point p0, const Outline::Step& s) {
  const Point d1 = p0 - s.c1 * 2 + s.c2, d2 = s.c1 - s.c2 * 2 + s.end;
  const double bend = 6 * std::max(std::hypot(d1.x, d1.y), std::hypot(d2.x, d2.y));
  constexpr double kTolerance = 0.1;
  const int n = static_cast<int>(std::clamp(std::sqrt(bend / (8 * kTolerance)), 1.0, 2000.0));
  for (int i = 1; i <= n; ++i) {
    const double t = static_cast<double>(i) / n, u = 1 - t;
    polygon.push_back(p0 * (u * u * u) + s.c1 * (3 * u * u * t) + s.c2 * (3 * u * t * t) +
                      s.end * (t * t * t));
  }
}

// Keeps the side of the polygon where distance(p) >= 0.
template <typename Distance>
Polygon ClipToSide(const Polygon& polygon, Distance distance) {
  Polygon result;
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    const Point p = polygon[i], q = polygon[(i + 1) % polygon.size()];
    const double dp = distance(p), dq = distance(q);
    if (dp >= 0) result.push_back(p);
    if ((dp >= 0) != (dq >= 0)) result.push_back(p + (q - p) * (dp / (dp - dq)));
  }
  return result;
}

void AddClipped(Outline& result, Polygon polygon) {
  polygon = ClipToSide(polygon, [](Point p) { return p.x + kReach; });
  polygon = ClipToSide(polygon, [](Point p) { return kReach - p.x; });
  polygon = ClipToSide(polygon, [](Point p) { return p.y + kReach; });
  polygon = ClipToSide(polygon, [](Point p) { return kReach - p.y; });
  if (polygon.size() < 3) return;
  result.MoveTo(polygon.front());
  for (std::size_t i = 1; i < polygon.size(); ++i) result.LineTo(polygon[i]);
  result.Close();
}

}  // namespace

bool WithinReach(const Outline& outline) {
  const Box box = outline.ControlBox();
  return box.left >= -kReach && box.top >= -kReach && box.right <= kReach && box.bottom <= kReach;
}

Outline CutToReach(const Outline& outline) {
  Outline result;
  Polygon polygon;
  Point from;
  for (const Outline::Step& step : outline.Steps()) {
    if (step.kind == Outline::Step::Move) {
      AddClipped(result, std::move(polygon));
      polygon.clear();
    }
    if (step.kind == Outline::Step::Cubic) {
      AddCurve(polygon, from, step);
    } else {
      polygon.push_back(step.end);
    }
    from = step.end;
  }
  AddClipped(result, std::move(polygon));
  return result;
}

}  // namespace svg
