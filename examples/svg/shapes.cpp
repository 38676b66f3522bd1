// Basic shapes: see the header.
#include "examples/svg/shapes.h"

#include <algorithm>
#include <optional>

#include "examples/svg/element.h"
#include "examples/svg/pathdata.h"

namespace svg {

namespace {

using Builder = Outline (*)(pugi::xml_node, const LengthScale&);

Outline EllipseOutline(Point c, double rx, double ry) {
  Outline outline;
  if (rx <= 0 || ry <= 0) return outline;
  const Point radii{rx, ry};
  outline.MoveTo({c.x + rx, c.y});
  outline.ArcTo(radii, 0, false, true, {c.x, c.y + ry});
  outline.ArcTo(radii, 0, false, true, {c.x - rx, c.y});
  outline.ArcTo(radii, 0, false, true, {c.x, c.y - ry});
  outline.ArcTo(radii, 0, false, true, {c.x + rx, c.y});
  outline.Close();
  return outline;
}

Outline Path(pugi::xml_node element, const LengthScale&) {
  return ParsePathData(element.attribute("d").value());
}

Outline Rectangle(pugi::xml_node element, const LengthScale& scale) {
  const double x = LengthAttribute(element, "x", scale, Axis::X);
  const double y = LengthAttribute(element, "y", scale, Axis::Y);
  const double w = LengthAttribute(element, "width", scale, Axis::X);
  const double h = LengthAttribute(element, "height", scale, Axis::Y);
  Outline outline;
  if (w <= 0 || h <= 0) return outline;

  // A radius that is missing, "auto" or negative is the other one's.
  double rx = LengthAttribute(element, "rx", scale, Axis::X, -1);
  double ry = LengthAttribute(element, "ry", scale, Axis::Y, -1);
  if (rx < 0) rx = std::max(ry, 0.0);
  if (ry < 0) ry = rx;
  rx = std::min(rx, w / 2);
  ry = std::min(ry, h / 2);
  const Point radii{rx, ry};
  const bool round = rx > 0 && ry > 0;
  if (!round) rx = ry = 0;

  outline.MoveTo({x + rx, y});
  outline.LineTo({x + w - rx, y});
  if (round) outline.ArcTo(radii, 0, false, true, {x + w, y + ry});
  outline.LineTo({x + w, y + h - ry});
  if (round) outline.ArcTo(radii, 0, false, true, {x + w - rx, y + h});
  outline.LineTo({x + rx, y + h});
  if (round) outline.ArcTo(radii, 0, false, true, {x, y + h - ry});
  outline.LineTo({x, y + ry});
  if (round) outline.ArcTo(radii, 0, false, true, {x + rx, y});
  outline.Close();
  return outline;
}

Point Centre(pugi::xml_node element, const LengthScale& scale) {
  return {LengthAttribute(element, "cx", scale, Axis::X),
          LengthAttribute(element, "cy", scale, Axis::Y)};
}

Outline Circle(pugi::xml_node element, const LengthScale& scale) {
  const double r = LengthAttribute(element, "r", scale, Axis::Diagonal);
  return EllipseOutline(Centre(element, scale), r, r);
}

Outline Ellipse(pugi::xml_node element, const LengthScale& scale) {
  double rx = LengthAttribute(element, "rx", scale, Axis::X, -1);
  double ry = LengthAttribute(element, "ry", scale, Axis::Y, -1);
  if (rx < 0) rx = ry;
  if (ry < 0) ry = rx;
  return EllipseOutline(Centre(element, scale), rx, ry);
}

Outline Line(pugi::xml_node element, const LengthScale& scale) {
  Outline outline;
  outline.MoveTo({LengthAttribute(element, "x1", scale, Axis::X),
                  LengthAttribute(element, "y1", scale, Axis::Y)});
  outline.LineTo({LengthAttribute(element, "x2", scale, Axis::X),
                  LengthAttribute(element, "y2", scale, Axis::Y)});
  return outline;
}

Outline Polyline(pugi::xml_node element, const LengthScale&) {
  Outline outline;
  for (const Point p : ParsePoints(element.attribute("points").value())) {
    outline.IsEmpty() ? outline.MoveTo(p) : outline.LineTo(p);
  }
  return outline;
}

Outline Polygon(pugi::xml_node element, const LengthScale& scale) {
  Outline outline = Polyline(element, scale);
  if (!outline.IsEmpty()) outline.Close();
  return outline;
}

constexpr struct {
  std::string_view name;
  Builder build;
} kShapes[] = {
    {"path", Path}, {"rect", Rectangle},    {"circle", Circle},   {"ellipse", Ellipse},
    {"line", Line}, {"polyline", Polyline}, {"polygon", Polygon},
};

Builder FindBuilder(std::string_view name) {
  for (const auto& shape : kShapes) {
    if (shape.name == name) return shape.build;
  }
  return nullptr;
}

}  // namespace

bool IsShape(std::string_view name) { return FindBuilder(name) != nullptr; }

Outline ShapeOutline(pugi::xml_node element, const LengthScale& scale) {
  const Builder build = FindBuilder(LocalName(element));
  return build ? build(element, scale) : Outline();
}

}  // namespace svg
