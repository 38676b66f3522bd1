// Viewports: see the header.
#include "examples/svg/viewbox.h"

#include <algorithm>

#include "examples/svg/Scanner.h"

namespace svg {

namespace {

// The share of the free space that goes before the content.
std::optional<double> Share(std::string_view word) {
  if (word == "Min") return 0;
  if (word == "Mid") return 0.5;
  if (word == "Max") return 1;
  return std::nullopt;
}

}  // namespace

std::optional<Rect> ParseViewBox(std::string_view text) {
  Scanner in(text);
  double v[4];
  for (double& value : v) {
    const auto number = in.NextNumber();
    if (!number) return std::nullopt;
    value = *number;
  }
  if (v[2] <= 0 || v[3] <= 0) return std::nullopt;
  return Rect{v[0], v[1], v[2], v[3]};
}

Affine FitViewBox(const Rect& content, const Rect& viewport, std::string_view preserve) {
  double sx = viewport.width / content.width, sy = viewport.height / content.height;
  double alignX = 0.5, alignY = 0.5;
  Scanner in(Trim(preserve));
  const std::string_view align = in.TakeName();
  in.SkipSpace();
  if (align != "none") {
    if (align.size() == 8 && align[0] == 'x' && align[4] == 'Y') {
      alignX = Share(align.substr(1, 3)).value_or(0.5);
      alignY = Share(align.substr(5, 3)).value_or(0.5);
    }
    sx = sy = in.TakeName() == "slice" ? std::max(sx, sy) : std::min(sx, sy);
  }
  const double x = viewport.x + (viewport.width - content.width * sx) * alignX;
  const double y = viewport.y + (viewport.height - content.height * sy) * alignY;
  return Affine{sx, 0, 0, sy, x - content.x * sx, y - content.y * sy};
}

}  // namespace svg
