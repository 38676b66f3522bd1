// Canvas: the picture, and the only part of the program that draws with the library.
#ifndef EXAMPLES_SVG_CANVAS_H
#define EXAMPLES_SVG_CANVAS_H

#include "kalvora/context/KSoftContext2D.h"

#include "examples/svg/Color.h"
#include "examples/svg/Outline.h"

namespace svg {

class Canvas {
 public:
  /// A picture of one colour. Throws Error when there is no memory for it.
  Canvas(unsigned width, unsigned height, KFormat format, Color background);

  /// Fills an outline that is given in pixels.
  void Fill(const Outline& outline, bool evenOdd, Color color);
  KSoftPixmap& Picture() { return picture_; }

 private:
  KSoftPixmap picture_;
  KSoftContext2D context_;
};

}  // namespace svg

#endif
