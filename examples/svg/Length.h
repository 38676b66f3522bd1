// Length: a number with a unit, and what it takes to turn it into user units.
#ifndef EXAMPLES_SVG_LENGTH_H
#define EXAMPLES_SVG_LENGTH_H

#include <optional>
#include <string_view>

namespace svg {

/// The extent that a percentage refers to.
enum class Axis { X, Y, Diagonal };

/// What relative lengths are relative to.
struct LengthScale {
  double width = 100;  ///< of the nearest viewport, in user units
  double height = 100;
  double fontSize = 16;

  double Extent(Axis axis) const;
};

struct Length {
  enum class Unit { User, Percent, Em, Ex };

  double value = 0;
  Unit unit = Unit::User;

  /// In user units.
  double Resolve(const LengthScale& scale, Axis axis) const;
};

/// Absolute units become user units at 96 to the inch. Nothing when the text is no length.
std::optional<Length> ParseLength(std::string_view text);

}  // namespace svg

#endif
