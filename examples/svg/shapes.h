// The basic shapes as outlines.
#ifndef EXAMPLES_SVG_SHAPES_H
#define EXAMPLES_SVG_SHAPES_H

#include <string_view>

#include <pugixml.hpp>

#include "examples/svg/Length.h"
#include "examples/svg/Outline.h"

namespace svg {

/// path, rect, circle, ellipse, line, polyline, polygon.
bool IsShape(std::string_view name);
/// The outline of such an element in its own user space; empty when it draws nothing.
Outline ShapeOutline(pugi::xml_node element, const LengthScale& scale);

}  // namespace svg

#endif
