// Painter: see the header.
#include "examples/svg/Painter.h"

#include <algorithm>

#include "examples/svg/Gradient.h"
#include "examples/svg/Scanner.h"
#include "examples/svg/element.h"
#include "examples/svg/shapes.h"

namespace svg {

namespace {

// Elements that draw nothing where they stand.
constexpr std::string_view kSilent[] = {
    "clipPath", "defs",    "desc",           "filter", "font",  "linearGradient", "marker", "mask",
    "metadata", "pattern", "radialGradient", "script", "style", "symbol",         "title",  "view",
};

bool IsSilent(std::string_view name) {
  // Editors keep their own elements in namespaces of their own.
  return name.find(':') != std::string_view::npos ||
         std::find(std::begin(kSilent), std::end(kSilent), name) != std::end(kSilent);
}

Rect ReadViewport(pugi::xml_node element, const LengthScale& scale) {
  return {LengthAttribute(element, "x", scale, Axis::X),
          LengthAttribute(element, "y", scale, Axis::Y),
          LengthAttribute(element, "width", scale, Axis::X, scale.width),
          LengthAttribute(element, "height", scale, Axis::Y, scale.height)};
}

bool SpeaksOurLanguage(pugi::xml_node element) {
  const auto attribute = element.attribute("systemLanguage");
  return !attribute || std::string_view(attribute.value()).starts_with("en");
}

}  // namespace

Rect NaturalSize(const Document& document) {
  const pugi::xml_node root = document.Root();
  const auto viewBox = ParseViewBox(root.attribute("viewBox").value());
  LengthScale scale;
  scale.width = viewBox ? viewBox->width : 300;
  scale.height = viewBox ? viewBox->height : 150;
  Rect size = ReadViewport(root, scale);
  // With only one of the two given, the viewBox keeps its shape.
  if (viewBox && !root.attribute("height") && root.attribute("width")) {
    size.height = size.width * viewBox->height / viewBox->width;
  } else if (viewBox && !root.attribute("width") && root.attribute("height")) {
    size.width = size.height * viewBox->width / viewBox->height;
  }
  return size;
}

Painter::Painter(const Document& document, Canvas& canvas, Notes& notes)
    : document_(document), canvas_(canvas), notes_(notes) {}

void Painter::Draw(double width, double height) {
  const pugi::xml_node root = document_.Root();
  State state;
  state.style = document_.StyleOf(root, Style());
  if (!state.style.displayed) return;
  state.opacity = state.style.opacity;
  state.scale = {width, height, state.style.fontSize};
  // A picture of another size than the document's shows the whole document.
  if (!root.attribute("viewBox")) {
    const Rect size = NaturalSize(document_);
    if (size.width > 0 && size.height > 0) {
      state.toPixels = FitViewBox({0, 0, size.width, size.height}, {0, 0, width, height}, {});
      state.scale.width = size.width;
      state.scale.height = size.height;
    }
  }
  active_.push_back(root);
  Viewport(root, state, {0, 0, width, height});
  active_.pop_back();
}

void Painter::Element(pugi::xml_node element, const State& parent) {
  if (element.type() != pugi::node_element) return;
  const std::string_view name = LocalName(element);
  if (IsSilent(name)) return;
  if (active_.size() >= kMaxDepth) return notes_.Once("nested too deeply; skipping the inside");
  if (++elements_ > kMaxElements) return notes_.Once("too many elements; skipping the rest");

  State state = parent;
  state.style = document_.StyleOf(element, parent.style);
  if (!state.style.displayed) return;
  state.opacity *= state.style.opacity;
  state.scale.fontSize = state.style.fontSize;
  if (const auto transform = element.attribute("transform")) {
    state.toPixels = state.toPixels * ParseTransform(transform.value()).value_or(Affine());
  }

  active_.push_back(element);
  if (name == "g" || name == "a") {
    Children(element, state);
  } else if (name == "use") {
    Use(element, state);
  } else if (name == "svg") {
    Viewport(element, state, ReadViewport(element, state.scale));
  } else if (name == "switch") {
    Switch(element, state);
  } else if (IsShape(name)) {
    Shape(element, state);
  } else {
    notes_.Once("skipping <" + std::string(name) + ">");
  }
  active_.pop_back();
}

void Painter::Children(pugi::xml_node element, const State& state) {
  for (const pugi::xml_node child : element.children()) Element(child, state);
}

void Painter::Shape(pugi::xml_node element, const State& state) {
  const Style& style = state.style;
  if (!style.visible) return;
  const Outline outline = ShapeOutline(element, state.scale);
  const Color fill = Ink(style.fill, style.fillOpacity, state, outline);
  if (fill.alpha > 0) canvas_.Fill(outline.Mapped(state.toPixels), style.fillEvenOdd, fill);
}

// The colour that a paint gives, all opacities included; alpha 0 when it paints nothing.
Color Painter::Ink(const Paint& paint, double opacity, const State& state, const Outline&) {
  Paint::Kind kind = paint.kind;
  Color color = paint.color;
  if (kind == Paint::Kind::Server) {
    kind = paint.fallback;
    if (const auto gradient = ReadGradient(document_, paint.server, state.scale, state.style)) {
      kind = Paint::Kind::Solid;
      color = gradient->Average();
    }
  }
  if (kind == Paint::Kind::Current) color = state.style.color;
  if (kind == Paint::Kind::None) color.alpha = 0;
  color.alpha *= opacity * state.opacity;
  return color;
}

void Painter::Use(pugi::xml_node element, const State& state) {
  const pugi::xml_node target = document_.Find(HrefId(element));
  if (!target) return;
  if (IsActive(target)) return notes_.Once("a <use> refers to itself; skipping it");

  State inner = state;
  const Rect place = ReadViewport(element, state.scale);
  inner.toPixels = state.toPixels * Affine::Translate(place.x, place.y);
  if (LocalName(target) != "symbol") return Element(target, inner);

  inner.style = document_.StyleOf(target, state.style);
  inner.opacity *= inner.style.opacity;
  active_.push_back(target);
  Viewport(target, inner, {0, 0, place.width, place.height});
  active_.pop_back();
}

void Painter::Switch(pugi::xml_node element, const State& state) {
  for (const pugi::xml_node child : element.children()) {
    if (child.type() != pugi::node_element || child.attribute("requiredExtensions")) continue;
    if (SpeaksOurLanguage(child)) return Element(child, state);
  }
}

// The children of an <svg> or <symbol> that fills `viewport`.
void Painter::Viewport(pugi::xml_node element, State state, const Rect& viewport) {
  if (viewport.width <= 0 || viewport.height <= 0) return;
  if (const auto viewBox = ParseViewBox(element.attribute("viewBox").value())) {
    state.toPixels = state.toPixels * FitViewBox(*viewBox, viewport,
                                                 element.attribute("preserveAspectRatio").value());
    state.scale.width = viewBox->width;
    state.scale.height = viewBox->height;
  } else {
    state.toPixels = state.toPixels * Affine::Translate(viewport.x, viewport.y);
    if (element != document_.Root()) {
      state.scale.width = viewport.width;
      state.scale.height = viewport.height;
    }
  }
  Children(element, state);
}

bool Painter::IsActive(pugi::xml_node element) const {
  return std::find(active_.begin(), active_.end(), element) != active_.end();
}

}  // namespace svg
