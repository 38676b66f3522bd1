// Color: a straight colour with alpha, and the notations for it.
#ifndef EXAMPLES_SVG_COLOR_H
#define EXAMPLES_SVG_COLOR_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace svg {

struct Color {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  double alpha = 1;

  bool operator==(const Color&) const = default;
};

/// #rgb, #rgba, #rrggbb, #rrggbbaa, rgb(), rgba(), hsl(), hsla(), a colour name or "transparent".
std::optional<Color> ParseColor(std::string_view text);

/// The colour of a CSS name in lower case.
std::optional<Color> NamedColor(std::string_view name);

}  // namespace svg

#endif
