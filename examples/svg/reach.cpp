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

// The part of the line from p to q within the reach, as two parameters; false when there is none.
bool LineWithinReach(Point p, Point q, double& from, double& to) {
  from = 0;
  to = 1;
  const auto cut = [&](double start, double delta) {  // keeps start + t delta >= 0
    if (delta == 0) return start >= 0;
    const double t = -start / delta;
    (delta > 0 ? from : to) = delta > 0 ? std::max(from, t) : std::min(to, t);
    return from <= to;
  };
  return cut(p.x + kReach, q.x - p.x) && cut(kReach - p.x, p.x - q.x) &&
         cut(p.y + kReach, q.y - p.y) && cut(kReach - p.y, p.y - q.y);
}

void AddClippedLines(Outline& result, const Polygon& points) {
  bool joined = false;
  for (std::size_t i = 1; i < points.size(); ++i) {
    const Point p = points[i - 1], d = points[i] - p;
    double from, to;
    if (!LineWithinReach(p, points[i], from, to)) {
      joined = false;
      continue;
    }
    if (!joined || from > 0) result.MoveTo(p + d * from);
    result.LineTo(p + d * to);
    joined = to == 1;
  }
}

// Calls add(points) for each subpath, with its curves as short lines.
template <typename AddSubpath>
void ForEachSubpath(const Outline& outline, AddSubpath add) {
  Polygon points;
  Point from;
  for (const Outline::Step& step : outline.Steps()) {
    if (step.kind == Outline::Step::Move) {
      add(std::move(points));
      points.clear();
    }
    if (step.kind == Outline::Step::Cubic) {
      AddCurve(points, from, step);
    } else {
      points.push_back(step.end);
    }
    from = step.end;
  }
  add(std::move(points));
}

}  // namespace

bool WithinReach(const Outline& outline) {
  const Box box = outline.ControlBox();
  return box.left >= -kReach && box.top >= -kReach && box.right <= kReach && box.bottom <= kReach;
}

Outline CutToReach(const Outline& outline) {
  Outline result;
  ForEachSubpath(outline, [&](Polygon points) { AddClipped(result, std::move(points)); });
  return result;
}

Outline CutLinesToReach(const Outline& outline) {
  Outline result;
  ForEachSubpath(outline, [&](const Polygon& points) { AddClippedLines(result, points); });
  return result;
}

}  // namespace svg
