// Gradient: see the header.
#include "examples/svg/Gradient.h"

#include <algorithm>
#include <cmath>

#include "examples/svg/Scanner.h"
#include "examples/svg/element.h"

namespace svg {

namespace {

// The gradient and those it refers to, nearest first. A cycle ends at the limit.
std::vector<pugi::xml_node> Chain(const Document& document, const std::string& id) {
  constexpr std::size_t kLimit = 32;
  std::vector<pugi::xml_node> chain;
  pugi::xml_node node = document.Find(id);
  while (node && chain.size() < kLimit) {
    const std::string_view name = LocalName(node);
    if (name != "linearGradient" && name != "radialGradient") break;
    chain.push_back(node);
    node = document.Find(HrefId(node));
  }
  return chain;
}

// Reads attributes of a gradient, each from the first element of the chain that has it.
class Reader {
 public:
  Reader(const Document& document, std::vector<pugi::xml_node> chain, const LengthScale& scale)
      : document_(document), chain_(std::move(chain)), scale_(scale) {}

  std::optional<Gradient> Read(const Style& user) {
    Gradient gradient;
    gradient.radial = LocalName(chain_.front()) == "radialGradient";
    gradient.userSpace = Text("gradientUnits") == "userSpaceOnUse";
    // Fractions of the bounding box count as user units of a box of size one.
    if (!gradient.userSpace) scale_.width = scale_.height = 1;
    gradient.transform = ParseTransform(Text("gradientTransform")).value_or(Affine());
    const std::string_view spread = Text("spreadMethod");
    if (spread == "reflect") gradient.spread = Gradient::Spread::Reflect;
    if (spread == "repeat") gradient.spread = Gradient::Spread::Repeat;
    ReadGeometry(gradient);
    ReadStops(gradient, user);
    if (gradient.stops.empty()) return std::nullopt;
    // Without an extent, everything lies behind the last stop.
    const bool flat = gradient.radial ? gradient.radius <= 0 : gradient.from == gradient.to;
    if (flat) gradient.stops.erase(gradient.stops.begin(), gradient.stops.end() - 1);
    return gradient;
  }

 private:
  std::string_view Text(const char* name) const {
    for (const pugi::xml_node node : chain_) {
      if (const auto attribute = node.attribute(name)) return attribute.value();
    }
    return {};
  }

  double Coordinate(const char* name, Axis axis, Length fallback) const {
    return ParseLength(Text(name)).value_or(fallback).Resolve(scale_, axis);
  }

  void ReadGeometry(Gradient& g) const {
    constexpr Length zero{0, Length::Unit::Percent}, half{50, Length::Unit::Percent},
        whole{100, Length::Unit::Percent};
    if (!g.radial) {
      g.from = {Coordinate("x1", Axis::X, zero), Coordinate("y1", Axis::Y, zero)};
      g.to = {Coordinate("x2", Axis::X, whole), Coordinate("y2", Axis::Y, zero)};
      return;
    }
    g.centre = {Coordinate("cx", Axis::X, half), Coordinate("cy", Axis::Y, half)};
    g.radius = std::max(0.0, Coordinate("r", Axis::Diagonal, half));
    g.focus = {Coordinate("fx", Axis::X, Length{g.centre.x}),
               Coordinate("fy", Axis::Y, Length{g.centre.y})};
  }

  void ReadStops(Gradient& g, const Style& user) const {
    for (const pugi::xml_node node : chain_) {
      const Style parent = document_.StyleOf(node, user);
      for (const pugi::xml_node child : node.children()) {
        if (LocalName(child) == "stop") AddStop(g, child, parent);
      }
      if (!g.stops.empty()) return;
    }
  }

  void AddStop(Gradient& g, pugi::xml_node element, const Style& parent) const {
    const Style style = document_.StyleOf(element, parent);
    Gradient::Stop stop;
    Scanner in(Trim(element.attribute("offset").value()));
    stop.offset = in.Number().value_or(0);
    if (in.Take('%')) stop.offset /= 100;
    const double least = g.stops.empty() ? 0 : g.stops.back().offset;
    stop.offset = std::clamp(stop.offset, least, 1.0);
    stop.color = style.stopCurrentColor ? style.color : style.stopColor;
    stop.color.alpha *= style.stopOpacity;
    g.stops.push_back(stop);
  }

  const Document& document_;
  std::vector<pugi::xml_node> chain_;
  LengthScale scale_;
};

}  // namespace

// The integral of the ramp over [0, 1], in premultiplied channels: half of each stop's interval
// belongs to each of its ends.
Color Gradient::Average() const {
  double red = 0, green = 0, blue = 0, alpha = 0;
  for (std::size_t i = 0; i < stops.size(); ++i) {
    const double before = i == 0 ? -stops[i].offset : stops[i - 1].offset;
    const double after = i + 1 == stops.size() ? 2 - stops[i].offset : stops[i + 1].offset;
    const Color& c = stops[i].color;
    const double weight = (after - before) / 2 * c.alpha;
    red += weight * c.red;
    green += weight * c.green;
    blue += weight * c.blue;
    alpha += weight;
  }
  if (alpha <= 0) return {0, 0, 0, 0};
  const auto byte = [&](double sum) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(sum / alpha, 0.0, 255.0)));
  };
  return {byte(red), byte(green), byte(blue), std::min(alpha, 1.0)};
}

std::optional<Gradient> ReadGradient(const Document& document, const std::string& id,
                                     const LengthScale& scale, const Style& user) {
  std::vector<pugi::xml_node> chain = Chain(document, id);
  if (chain.empty()) return std::nullopt;
  return Reader(document, std::move(chain), scale).Read(user);
}

}  // namespace svg
