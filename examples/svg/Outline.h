// Outline: the geometry of one shape: subpaths of lines and cubic curves, in doubles.
#ifndef EXAMPLES_SVG_OUTLINE_H
#define EXAMPLES_SVG_OUTLINE_H

#include <vector>

#include "examples/svg/Affine.h"

namespace svg {

/// The smallest upright rectangle around something; empty while left > right.
struct Box {
  double left = 1, top = 1, right = 0, bottom = 0;

  bool IsEmpty() const { return left > right; }
  double Width() const { return right - left; }
  double Height() const { return bottom - top; }
  void Add(Point p);
};

class Outline {
 public:
  /// One step: it goes on from where the step before ended. Only a cubic uses c1 and c2.
  struct Step {
    enum Kind : unsigned char { Move, Line, Cubic, Close } kind;
    Point c1, c2, end;
  };

  void MoveTo(Point p) { Add({Step::Move, {}, {}, p}); }
  void LineTo(Point p) { Add({Step::Line, {}, {}, p}); }
  void CubicTo(Point c1, Point c2, Point p) { Add({Step::Cubic, c1, c2, p}); }
  void QuadTo(Point control, Point p);
  /// An arc of an ellipse by SVG's end-point rule: radii, turn of the x axis in degrees, the flags.
  void ArcTo(Point radii, double degrees, bool large, bool sweep, Point p);
  /// Back to the subpath's start.
  void Close() { Add({Step::Close, {}, {}, start_}); }

  const std::vector<Step>& Steps() const { return steps_; }
  bool IsEmpty() const { return steps_.empty(); }
  Point Current() const { return current_; }

  void Append(const Outline& other);
  Outline Mapped(const Affine& m) const;
  /// Around all points, control points included.
  Box ControlBox() const;
  /// Around the drawn curves themselves.
  Box Bounds() const;
  bool IsFinite() const;
  /// Of the polygons through the end points; positive when they turn clockwise on the screen.
  double SignedArea() const;
  /// The same subpaths, each drawn backward.
  Outline Reversed() const;

 private:
  void Add(Step step);

  std::vector<Step> steps_;
  Point current_;
  Point start_;
};

}  // namespace svg

#endif
