// Viewports: viewBox and preserveAspectRatio.
#ifndef EXAMPLES_SVG_VIEWBOX_H
#define EXAMPLES_SVG_VIEWBOX_H

#include <optional>
#include <string_view>

#include "examples/svg/Affine.h"

namespace svg {

/// An upright rectangle of user space.
struct Rect {
  double x = 0, y = 0, width = 0, height = 0;
};

/// Four numbers; nothing when the text is malformed or the rectangle is empty.
std::optional<Rect> ParseViewBox(std::string_view text);

/// The map that fits `content` into `viewport` as preserveAspectRatio says; an empty or malformed
/// text means "xMidYMid meet".
Affine FitViewBox(const Rect& content, const Rect& viewport, std::string_view preserveAspectRatio);

}  // namespace svg

#endif
