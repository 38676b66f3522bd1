// IdealStroke: the stroke of a path as a union of plane figures, in floating point and user space.
#ifndef KALVORA_TESTS_GEOMETRY_IDEALSTROKE_H
#define KALVORA_TESTS_GEOMETRY_IDEALSTROKE_H

#include <algorithm>
#include <cmath>
#include <vector>

#include "kalvora/core/KVertex2D.h"
#include "kalvora/geometry/KStroker.h"

struct Pt {
  double x, y;

  Pt operator+(Pt b) const { return {x + b.x, y + b.y}; }
  Pt operator-(Pt b) const { return {x - b.x, y - b.y}; }
  Pt operator*(double s) const { return {x * s, y * s}; }
  double Norm() const { return std::sqrt(x * x + y * y); }
  Pt Unit() const { return *this * (1 / Norm()); }
  Pt Right() const { return {-y, x}; }  // clockwise on the screen
};
inline double Dot(Pt a, Pt b) { return a.x * b.x + a.y * b.y; }
inline double Cross(Pt a, Pt b) { return a.x * b.y - a.y * b.x; }
inline Pt ToPt(KVertex2D v) { return {v.x.raw / 65536.0, v.y.raw / 65536.0}; }

inline KFixed ToFixed(double v) {
  return KFixed::FromRaw(static_cast<std::int32_t>(std::lrint(v * 65536)));
}

/// A path made of straight lines; the corners within curves are marked smooth.
struct Polyline {
  struct Corner {
    Pt at;
    bool smooth;
  };
  std::vector<Corner> corners;
  bool closed = false;
  Pt heading{1, 0};  ///< of a line without length

  void Add(Pt p, bool smooth) {
    if (corners.empty() || (p - corners.back().at).Norm() > 1e-7)
      corners.push_back({p, smooth});
    else
      corners.back().smooth = corners.back().smooth && smooth;
  }
  double Length() const {
    double length = 0;
    for (std::size_t i = 1; i < corners.size(); ++i)
      length += (corners[i].at - corners[i - 1].at).Norm();
    return length;
  }
};

struct StrokeStyle {
  double h;
  std::uint32_t startCap, endCap, join;
  double limit;
};

class IdealStroke {
 public:
  explicit IdealStroke(const StrokeStyle& style) : style_(style) {}

  /// Some figure depends on a comparison that rounding may decide either way.
  bool ambiguous = false;

  struct Figure;
  using Figures = std::vector<const Figure*>;

  /// The figures that a box touches: all that matter to the points in it.
  Figures Near(Pt low, Pt high) const {
    Figures near;
    for (const Figure& f : figures_) {
      if (low.x <= f.high.x && high.x >= f.low.x && low.y <= f.high.y && high.y >= f.low.y)
        near.push_back(&f);
    }
    return near;
  }

  /// Whether p belongs to one of the figures; with `perhaps`, whether it may.
  static bool Contains(const Figures& figures, Pt p, bool perhaps) {
    for (const Figure* f : figures) {
      if ((perhaps || !f->optional) && f->Contains(p)) return true;
    }
    return false;
  }

  void Add(const Polyline& line) {
    std::vector<Polyline::Corner> c = line.corners;
    if (line.closed && c.size() > 1 && (c.front().at - c.back().at).Norm() > 1e-7)
      c.push_back(c.front());
    if (c.size() < 2) {
      if (!c.empty()) AddDot(c[0].at, line.heading);
      return;
    }
    std::vector<Pt> d;
    for (std::size_t i = 0; i + 1 < c.size(); ++i) {
      d.push_back((c[i + 1].at - c[i].at).Unit());
      const Pt n = d[i].Right() * style_.h;
      AddQuad(c[i].at + n, c[i + 1].at + n, c[i + 1].at - n, c[i].at - n);
      if (i > 0) AddJoin(c[i].at, d[i - 1], d[i], c[i].smooth);
    }
    if (line.closed) {
      AddJoin(c[0].at, d.back(), d.front(), c[0].smooth);
    } else {
      AddCap(c.back().at, d.back(), style_.endCap);
      AddCap(c.front().at, d.front() * -1, style_.startCap);
    }
  }

  /// A convex polygon, or the sector of a circle that lies clockwise of `a` and counter-clockwise
  /// of `b` and spans at most 180 degrees.
  struct Figure {
    std::vector<Pt> polygon;
    Pt centre, a, b;
    double radius;
    Pt low, high;
    bool optional = false;

    /// Points on the edge count, and what rounding puts a little outside.
    bool Contains(Pt p) const {
      if (p.x < low.x || p.x > high.x || p.y < low.y || p.y > high.y) return false;
      if (polygon.empty()) {
        const Pt v = p - centre;
        const double slack = kSlack * radius;
        return Cross(a, v) >= -slack && Cross(v, b) >= -slack && v.Norm() <= radius + kSlack;
      }
      bool left = true, right = true;
      for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Pt from = polygon[i], edge = polygon[(i + 1) % polygon.size()] - from;
        const double side = Cross(edge, p - from), slack = kSlack * edge.Norm();
        left = left && side <= slack;
        right = right && side >= -slack;
      }
      return left || right;
    }
  };

 private:
  static constexpr double kSlack = 1e-3;

  void AddPolygon(std::vector<Pt> polygon) {
    Figure f{std::move(polygon), {}, {}, {}, 0, {}, {}, false};
    f.low = f.high = f.polygon[0];
    for (const Pt p : f.polygon) {
      f.low = {std::min(f.low.x, p.x - kSlack), std::min(f.low.y, p.y - kSlack)};
      f.high = {std::max(f.high.x, p.x + kSlack), std::max(f.high.y, p.y + kSlack)};
    }
    figures_.push_back(f);
  }
  void AddQuad(Pt a, Pt b, Pt c, Pt d) { AddPolygon({a, b, c, d}); }
  void AddSector(Pt centre, Pt a, Pt b, bool optional = false) {
    const double r = style_.h + kSlack;
    figures_.push_back(
        {{}, centre, a, b, style_.h, centre - Pt{r, r}, centre + Pt{r, r}, optional});
  }

  void AddJoin(Pt p, Pt d1, Pt d2, bool smooth) {
    const double turn = Cross(d1, d2);
    // Outer offsets, such that `b` is reached from `a` clockwise.
    Pt a = d1.Right() * (turn > 0 ? -style_.h : style_.h);
    Pt b = d2.Right() * (turn > 0 ? -style_.h : style_.h);
    if (smooth || style_.join == kRoundJoin) {
      turn > 0 ? AddSector(p, a, b) : AddSector(p, b, a);
      // A pen line that turns with a curve sweeps the opposite sector too, where the curve is
      // tighter than the pen.
      if (smooth)
        turn > 0 ? AddSector(p, a * -1, b * -1, true) : AddSector(p, b * -1, a * -1, true);
      return;
    }
    const double ratio = std::sqrt(2 / std::max(1e-12, 1 + Dot(d1, d2)));
    if (style_.join == kMiterJoin && std::abs(ratio / style_.limit - 1) < 3e-3) ambiguous = true;
    if (style_.join == kMiterJoin && ratio <= style_.limit) {
      AddQuad(p, p + a, p + (a + b) * (1 / (1 + Dot(d1, d2))), p + b);
    } else {
      AddPolygon({p, p + a, p + b});
    }
  }

  void AddCap(Pt p, Pt d, std::uint32_t cap) {
    const Pt n = d.Right() * style_.h, ahead = d * style_.h;
    if (cap == kSquareCap) AddQuad(p - n, p - n + ahead, p + n + ahead, p + n);
    if (cap == kRoundCap) AddSector(p, n * -1, n);
  }

  void AddDot(Pt p, Pt heading) {
    AddCap(p, heading, style_.endCap);
    AddCap(p, heading * -1, style_.startCap);
  }

  StrokeStyle style_;
  std::vector<Figure> figures_;
};

/// The points of a Bezier curve of any order, close together at the ends to show its tangents.
inline void AddCurve(Polyline& line, const std::vector<Pt>& control, int steps) {
  const auto at = [&](double t) {
    std::vector<Pt> p = control;
    for (std::size_t n = p.size() - 1; n > 0; --n) {
      for (std::size_t i = 0; i < n; ++i) p[i] = p[i] * (1 - t) + p[i + 1] * t;
    }
    return p[0];
  };
  std::vector<double> ts{1e-4, 1e-3};
  for (int i = 1; i < steps; ++i) ts.push_back(static_cast<double>(i) / steps);
  ts.insert(ts.end(), {1 - 1e-3, 1 - 1e-4});
  for (const double t : ts) line.Add(at(t), true);
  line.Add(control.back(), false);
}

/// Cuts a line into dashes. `ambiguous` is set when a boundary falls so near to a corner or an end
/// that rounding decides on which side.
inline std::vector<Polyline> CutIntoDashes(const Polyline& line, const std::vector<double>& lengths,
                                           double phase, bool& ambiguous) {
  constexpr double kNear = 0.02;
  std::vector<Polyline::Corner> c = line.corners;
  if (line.closed && (c.front().at - c.back().at).Norm() > 1e-7) c.push_back(c.front());

  double cycle = 0;
  for (const double length : lengths) cycle += length;
  if (lengths.size() % 2) cycle *= 2;
  double ahead = std::fmod(phase, cycle);
  if (ahead < 0) ahead += cycle;
  std::size_t index = 0;
  const auto length = [&] { return lengths[index % lengths.size()]; };
  while (ahead > 0 && ahead >= length()) {
    ahead -= length();
    ++index;
  }
  double left = length() - ahead;

  std::vector<Polyline> dashes;
  const bool startsOn = index % 2 == 0;
  bool boundary = false;
  if (startsOn) dashes.push_back({{c[0]}, false, {1, 0}});
  for (std::size_t i = 1; i < c.size(); ++i) {
    const Pt from = c[i - 1].at, d = (c[i].at - from).Unit();
    const double whole = (c[i].at - from).Norm();
    double done = 0;
    while (left < whole - done) {
      done += left;
      const bool corner = !c[i].smooth && (whole - done < kNear);
      const bool end = i + 1 == c.size() && whole - done < kNear;
      const bool begin = !c[i - 1].smooth && done < kNear && (i > 1 || line.closed);
      if (corner || end || begin) ambiguous = true;
      const Pt cut = from + d * done;
      if (index % 2 == 0 && lengths[(index + 1) % lengths.size()] == 0) {
        // Without a gap the dash goes on.
        index += 2;
        left = length();
        continue;
      }
      if (index % 2 == 0) {
        Polyline& dash = dashes.back();
        dash.Add(cut, false);
        if (dash.corners.size() == 1) dash.heading = d;
      }
      boundary = true;
      ++index;
      left = length();
      if (index % 2 == 0) dashes.push_back({{{cut, false}}, false, d});
    }
    left -= whole - done;
    if (left < kNear && !(c[i].smooth && i + 1 < c.size())) ambiguous = true;
    if (index % 2 == 0) dashes.back().Add(c[i].at, c[i].smooth);
  }
  if (!line.closed || !startsOn) return dashes;
  if (!boundary) return {line};
  if (index % 2 == 0) {
    // The last dash goes on into the first.
    Polyline joined = dashes.back();
    joined.corners.back().smooth = line.corners.front().smooth;
    for (std::size_t i = 1; i < dashes[0].corners.size(); ++i)
      joined.Add(dashes[0].corners[i].at, dashes[0].corners[i].smooth);
    dashes.back() = joined;
    dashes.erase(dashes.begin());
  }
  return dashes;
}

#endif
