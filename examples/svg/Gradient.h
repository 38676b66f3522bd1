// Gradient: a linear or radial gradient with everything that it inherits by reference.
#ifndef EXAMPLES_SVG_GRADIENT_H
#define EXAMPLES_SVG_GRADIENT_H

#include <optional>
#include <string>
#include <vector>

#include "examples/svg/Affine.h"
#include "examples/svg/Color.h"
#include "examples/svg/Document.h"

namespace svg {

struct Gradient {
  struct Stop {
    double offset = 0;  ///< 0..1, never below the one before
    Color color;
  };
  enum class Spread { Pad, Reflect, Repeat };

  bool radial = false;
  bool userSpace = false;  ///< else lengths are fractions of the shape's bounding box
  Affine transform;
  Spread spread = Spread::Pad;
  Point from, to;           ///< linear: the axis
  Point centre;             ///< radial
  double radius = 0;        ///< radial
  Point focus;              ///< radial
  std::vector<Stop> stops;  ///< at least one

  /// The mean colour along the ramp.
  Color Average() const;
};

/// Nothing when the id names no gradient or the gradient has no stops. `user` is the style of the
/// element that is painted.
std::optional<Gradient> ReadGradient(const Document& document, const std::string& id,
                                     const LengthScale& scale, const Style& user);

}  // namespace svg

#endif
