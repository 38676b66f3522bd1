// Outline: see the header.
#include "examples/svg/Outline.h"

#include <algorithm>
#include <cmath>

namespace svg {

namespace {

double CubicAt(double p0, double p1, double p2, double p3, double t) {
  const double u = 1 - t;
  return u * u * u * p0 + 3 * u * u * t * p1 + 3 * u * t * t * p2 + t * t * t * p3;
}

Point CubicAt(Point p0, const Outline::Step& s, double t) {
  return {CubicAt(p0.x, s.c1.x, s.c2.x, s.end.x, t), CubicAt(p0.y, s.c1.y, s.c2.y, s.end.y, t)};
}

// Adds the points where one coordinate of the cubic turns: the roots of its derivative
// A t^2 + B t + C within (0, 1).
void AddTurns(Box& box, Point start, const Outline::Step& s, double p0, double p1, double p2,
              double p3) {
  const double a = p3 - 3 * p2 + 3 * p1 - p0, b = 2 * (p2 - 2 * p1 + p0), c = p1 - p0;
  double roots[2];
  int count = 0;
  if (std::abs(a) < 1e-12 * (std::abs(b) + std::abs(c))) {
    if (b != 0) roots[count++] = -c / b;
  } else if (const double d = b * b - 4 * a * c; d >= 0) {
    roots[count++] = (-b + std::sqrt(d)) / (2 * a);
    roots[count++] = (-b - std::sqrt(d)) / (2 * a);
  }
  for (int i = 0; i < count; ++i) {
    if (roots[i] > 0 && roots[i] < 1) box.Add(CubicAt(start, s, roots[i]));
  }
}

}  // namespace

void Box::Add(Point p) {
  if (IsEmpty()) {
    *this = {p.x, p.y, p.x, p.y};
    return;
  }
  left = std::min(left, p.x);
  top = std::min(top, p.y);
  right = std::max(right, p.x);
  bottom = std::max(bottom, p.y);
}

void Outline::Add(Step step) {
  if (step.kind == Step::Move) start_ = step.end;
  current_ = step.end;
  steps_.push_back(step);
}

void Outline::QuadTo(Point control, Point p) {
  CubicTo(current_ + (control - current_) * (2.0 / 3), p + (control - p) * (2.0 / 3), p);
}

void Outline::Append(const Outline& other) {
  for (const Step& step : other.steps_) Add(step);
}

Outline Outline::Mapped(const Affine& m) const {
  Outline result;
  result.steps_.reserve(steps_.size());
  for (const Step& s : steps_) result.Add({s.kind, m * s.c1, m * s.c2, m * s.end});
  return result;
}

Box Outline::ControlBox() const {
  Box box;
  for (const Step& s : steps_) {
    if (s.kind == Step::Cubic) {
      box.Add(s.c1);
      box.Add(s.c2);
    }
    box.Add(s.end);
  }
  return box;
}

Box Outline::Bounds() const {
  Box box;
  Point from;
  for (const Step& s : steps_) {
    if (s.kind == Step::Cubic) {
      AddTurns(box, from, s, from.x, s.c1.x, s.c2.x, s.end.x);
      AddTurns(box, from, s, from.y, s.c1.y, s.c2.y, s.end.y);
    }
    box.Add(s.end);
    from = s.end;
  }
  return box;
}

double Outline::SignedArea() const {
  double twice = 0;
  Point start, from;
  for (const Step& s : steps_) {
    if (s.kind == Step::Move) {
      twice += from.x * start.y - from.y * start.x;
      start = s.end;
    } else {
      twice += from.x * s.end.y - from.y * s.end.x;
    }
    from = s.end;
  }
  return (twice + from.x * start.y - from.y * start.x) / 2;
}

Outline Outline::Reversed() const {
  Outline result;
  for (std::size_t begin = 0; begin < steps_.size();) {
    std::size_t end = begin + 1;
    while (end < steps_.size() && steps_[end].kind != Step::Move) ++end;
    const bool closed = steps_[end - 1].kind == Step::Close;
    // A close draws a line back to the start; backward, it comes first.
    result.MoveTo(steps_[end - 1].end);
    for (std::size_t i = end - 1; i > begin; --i) {
      const Point to = steps_[i - 1].end;
      if (steps_[i].kind == Step::Cubic) {
        result.CubicTo(steps_[i].c2, steps_[i].c1, to);
      } else {
        result.LineTo(to);
      }
    }
    if (closed) result.Close();
    begin = end;
  }
  return result;
}

bool Outline::IsFinite() const {
  return std::all_of(steps_.begin(), steps_.end(), [](const Step& s) {
    const double sum = s.c1.x + s.c1.y + s.c2.x + s.c2.y + s.end.x + s.end.y;
    return std::isfinite(sum);
  });
}

}  // namespace svg
