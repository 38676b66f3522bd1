// Elliptical arcs given by their end points, turned into cubic curves.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "examples/svg/Outline.h"

namespace svg {

namespace {

constexpr double kPi = std::numbers::pi;

double Angle(Point v) { return std::atan2(v.y, v.x); }

}  // namespace

// In the frame where the ellipse is the unit circle, the two ends p and q lie on a circle whose
// centre is on the bisector of pq, at a distance of sqrt(1 - |pq|^2 / 4) from its middle, on the
// side that the two flags choose. Radii that are too small for the ends grow until they reach.
void Outline::ArcTo(Point radii, double degrees, bool large, bool sweep, Point end) {
  double rx = std::abs(radii.x), ry = std::abs(radii.y);
  if (end == current_) return;
  if (rx < 1e-12 || ry < 1e-12) return LineTo(end);

  const Affine turn = Affine::Rotate(degrees), back = Affine::Rotate(-degrees);
  const Point half = back * ((end - current_) * 0.5);
  const double grow = std::hypot(half.x / rx, half.y / ry);
  if (grow > 1) {
    rx *= grow;
    ry *= grow;
  }
  const auto unit = [&](Point v) { return Point{v.x / rx, v.y / ry}; };
  const Point p = unit(half);  // half the chord, on the unit circle
  const double length = std::hypot(p.x, p.y);
  if (!(length > 0)) return LineTo(end);
  const double height = std::sqrt(std::max(0.0, 1 - length * length));
  const double side = large == sweep ? -1 : 1;
  // From the middle of the chord to the centre.
  const Point centre = Point{-p.y, p.x} * (side * height / length);

  const double from = Angle(Point{} - p - centre);
  double span = Angle(p - centre) - from;
  if (sweep && span < 0) span += 2 * kPi;
  if (!sweep && span > 0) span -= 2 * kPi;

  const Point middle = current_ + (end - current_) * 0.5;
  const auto place = [&](Point v) {
    return middle + turn * Point{(v.x + centre.x) * rx, (v.y + centre.y) * ry};
  };
  const int pieces = std::max(1, static_cast<int>(std::ceil(std::abs(span) / (kPi / 2) - 1e-9)));
  const double step = span / pieces;
  const double handle = 4.0 / 3 * std::tan(step / 4);
  for (int i = 0; i < pieces; ++i) {
    const double a = from + step * i, b = a + step;
    const Point pa{std::cos(a), std::sin(a)}, pb{std::cos(b), std::sin(b)};
    CubicTo(place(pa + Point{-pa.y, pa.x} * handle), place(pb - Point{-pb.y, pb.x} * handle),
            i + 1 == pieces ? end : place(pb));
  }
}

}  // namespace svg
