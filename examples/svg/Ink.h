// Ink: what a fill or a stroke is painted with, and the pen of a stroke.
#ifndef EXAMPLES_SVG_INK_H
#define EXAMPLES_SVG_INK_H

#include <optional>
#include <vector>

#include "examples/svg/Gradient.h"
#include "examples/svg/Style.h"

namespace svg {

/// A colour, or a gradient that lies somewhere on the picture.
struct Ink {
  Color color;
  std::optional<Gradient> gradient;
  Affine gradientToPixels;
  double opacity = 1;  ///< on top of the colour's alpha or the gradient's

  bool IsClear() const { return opacity <= 0 || (!gradient && color.alpha <= 0); }
};

/// The pen, in the user units of the outline.
struct Pen {
  double width = 1;
  LineCap cap = LineCap::Butt;
  LineJoin join = LineJoin::Miter;
  double miterLimit = 4;
  std::vector<double> dashes;
  double dashOffset = 0;
};

}  // namespace svg

#endif
