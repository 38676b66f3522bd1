// Painter: see the header.
#include "examples/svg/Painter.h"

#include <algorithm>

#include "examples/svg/element.h"
#include "examples/svg/image.h"
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

Outline RectOutline(const Rect& r) {
  Outline outline;
  outline.MoveTo({r.x, r.y});
  outline.LineTo({r.x + r.width, r.y});
  outline.LineTo({r.x + r.width, r.y + r.height});
  outline.LineTo({r.x, r.y + r.height});
  outline.Close();
  return outline;
}

// Maps the unit square to the box.
Affine FromUnitSquare(const Box& box) {
  return {box.Width(), 0, 0, box.Height(), box.left, box.top};
}

bool PaintsOnce(const Style& style) {
  return (style.fill.kind == Paint::Kind::None) != (style.stroke.kind == Paint::Kind::None);
}

Pen MakePen(const Style& style, const LengthScale& scale) {
  Pen pen;
  pen.width = style.strokeWidth.Resolve(scale, Axis::Diagonal);
  pen.cap = style.cap;
  pen.join = style.join;
  pen.miterLimit = style.miterLimit;
  for (const Length& dash : style.dashes) {
    pen.dashes.push_back(dash.Resolve(scale, Axis::Diagonal));
  }
  pen.dashOffset = style.dashOffset.Resolve(scale, Axis::Diagonal);
  return pen;
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
  const Surround surround = Begin(root, state);
  if (!surround.hidden) Viewport(root, state, {0, 0, width, height});
  End(root, state, surround);
  active_.pop_back();
}

void Painter::Element(pugi::xml_node element, const State& parent) {
  if (element.type() != pugi::node_element) return;
  const std::string_view name = LocalName(element);
  if (IsSilent(name)) return;
  if (active_.size() >= kMaxDepth) return notes_.Once("nested too deeply; skipping the inside");
  if (++elements_ > kMaxElements) return notes_.Once("too many elements; skipping the rest");

  State state = parent.Enter(document_, element);
  if (!state.style.displayed) return;
  active_.push_back(element);
  const Surround surround = Begin(element, state);
  if (!surround.hidden) Draw(element, name, state);
  End(element, state, surround);
  active_.pop_back();
}

void Painter::Draw(pugi::xml_node element, std::string_view name, const State& state) {
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
  } else if (name == "image") {
    Image(element, state);
  } else {
    notes_.Once("skipping <" + std::string(name) + ">");
  }
}

void Painter::Children(pugi::xml_node element, const State& state) {
  for (const pugi::xml_node child : element.children()) Element(child, state);
}

void Painter::Shape(pugi::xml_node element, const State& state) {
  const Style& style = state.style;
  if (!style.visible) return;
  if (style.hasMarkers) notes_.Once("skipping markers");
  const Outline outline = ShapeOutline(element, state.scale);
  const Box bounds = outline.Bounds();
  const Ink fill = MakeInk(style.fill, style.fillOpacity, state, bounds);
  const Ink stroke = MakeInk(style.stroke, style.strokeOpacity, state, bounds);
  if (!fill.IsClear()) canvas_.Fill(outline.Mapped(state.toPixels), style.fillEvenOdd, fill);
  if (!stroke.IsClear()) {
    canvas_.Stroke(outline, state.toPixels, MakePen(style, state.scale), stroke);
  }
}

void Painter::Image(pugi::xml_node element, const State& state) {
  KSoftPixmap image;
  if (!ReadDataImage(Href(element), image)) {
    return notes_.Once("skipping images that are not PNG data within the file");
  }
  const double width = image.width, height = image.height;
  Rect place = ReadViewport(element, state.scale);
  if (!element.attribute("width")) place.width = width;
  if (!element.attribute("height")) place.height = height;
  if (!state.style.visible || place.width <= 0 || place.height <= 0) return;
  const char* preserve = element.attribute("preserveAspectRatio").value();
  Surround surround;
  AddClip({RectOutline(place).Mapped(state.toPixels), false}, surround);
  canvas_.DrawImage(image, state.toPixels * FitViewBox({0, 0, width, height}, place, preserve),
                    state.opacity);
  End(element, state, surround);
}

Ink Painter::MakeInk(const Paint& paint, double opacity, const State& state, const Box& bounds) {
  Ink ink;
  ink.color = paint.color;
  ink.opacity = opacity * state.opacity;
  Paint::Kind kind = paint.kind;
  if (kind == Paint::Kind::Server) {
    ink.gradient = ReadGradient(document_, paint.server, state.scale, state.style);
    if (ink.gradient && !ink.gradient->userSpace) {
      // A box without area has no gradient.
      if (bounds.IsEmpty() || bounds.Width() <= 0 || bounds.Height() <= 0) ink.gradient.reset();
      ink.gradientToPixels = FromUnitSquare(bounds);
    }
    if (!ink.gradient && LocalName(document_.Find(paint.server)) == "pattern") {
      notes_.Once("skipping patterns");
    }
    kind = paint.fallback;
  }
  if (ink.gradient) {
    ink.gradientToPixels = state.toPixels * ink.gradientToPixels * ink.gradient->transform;
  } else if (kind == Paint::Kind::Current) {
    ink.color = state.style.color;
  } else if (kind == Paint::Kind::None) {
    ink.opacity = 0;
  }
  return ink;
}

void Painter::Use(pugi::xml_node element, const State& state) {
  const pugi::xml_node target = document_.Find(HrefId(element));
  if (!target) return;
  if (IsActive(target)) return notes_.Once("a <use> refers to itself; skipping it");

  const State inner = state.EnterUse(element);
  if (LocalName(target) != "symbol") return Element(target, inner);
  const Rect place = ReadViewport(element, state.scale);
  State symbol = inner.Enter(document_, target);
  active_.push_back(target);
  const Surround surround = Begin(target, symbol);
  if (!surround.hidden) Viewport(target, symbol, {0, 0, place.width, place.height});
  End(target, symbol, surround);
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
  const bool isRoot = element == document_.Root();
  Surround surround;
  if (!isRoot && !state.style.overflowVisible) {
    AddClip({RectOutline(viewport).Mapped(state.toPixels), false}, surround);
  }
  if (const auto viewBox = ParseViewBox(element.attribute("viewBox").value())) {
    state.toPixels = state.toPixels * FitViewBox(*viewBox, viewport,
                                                 element.attribute("preserveAspectRatio").value());
    state.scale.width = viewBox->width;
    state.scale.height = viewBox->height;
  } else {
    state.toPixels = state.toPixels * Affine::Translate(viewport.x, viewport.y);
    if (!isRoot) {
      state.scale.width = viewport.width;
      state.scale.height = viewport.height;
    }
  }
  Children(element, state);
  End(element, state, surround);
}

// Opens what an element's opacity, mask and clip path need around it. A shape that paints only once
// takes the opacity into its colour; a group, whose parts must not show through one another, and
// everything with a mask, is drawn on a layer.
Painter::Surround Painter::Begin(pugi::xml_node element, State& state) {
  const Style& style = state.style;
  if (style.filtered) notes_.Once("skipping filters");
  Surround surround;
  const pugi::xml_node mask = document_.Find(style.mask);
  surround.masked = mask && LocalName(mask) == "mask" && !IsActive(mask);
  const std::string_view name = LocalName(element);
  const bool simple = name == "image" || (IsShape(name) && PaintsOnce(style));
  surround.hidden = style.opacity <= 0;
  if (surround.masked || (style.opacity < 1 && !simple)) {
    if (canvas_.BeginLayer()) {
      surround.layers = 1;
      surround.opacity = style.opacity * state.opacity;
      state.opacity = 1;
    } else {
      surround.masked = false;
    }
  }
  if (surround.layers == 0) state.opacity *= style.opacity;
  if (!style.clipPath.empty()) AddClipPath(element, state, surround);
  return surround;
}

// Clips to an outline, on top of the clip that there may be: a new layer is free of that, and gets
// it when it is put onto the one below.
void Painter::AddClip(const Silhouette& clip, Surround& surround) {
  if (clip.outline.IsEmpty()) {
    surround.hidden = true;
    return;
  }
  if (canvas_.HasClip()) {
    if (!canvas_.BeginLayer()) return;
    ++surround.layers;
  }
  canvas_.SetClip(clip.outline, clip.evenOdd);
  if (surround.layers == 0) surround.clipped = true;
}

// The element's clip path, and the clip path that this one has itself, and so on.
void Painter::AddClipPath(pugi::xml_node element, const State& state, Surround& surround) {
  constexpr int kLongestChain = 8;
  std::string id = state.style.clipPath;
  for (int i = 0; i < kLongestChain && !id.empty(); ++i) {
    const pugi::xml_node clip = document_.Find(id);
    if (!clip || LocalName(clip) != "clipPath") return;
    State inside;
    inside.scale = state.scale;
    inside.toPixels = state.toPixels * UnitsOf(clip, "clipPathUnits", element, state);
    inside = inside.Enter(document_, clip);
    inside.style.displayed = true;
    AddClip(ReadSilhouette(document_, clip, inside), surround);
    id = inside.style.clipPath;
  }
}

// The map for the contents of a clip path or mask that counts in fractions of the element's box.
Affine Painter::UnitsOf(pugi::xml_node server, const char* attribute, pugi::xml_node element,
                        const State& state) {
  if (std::string_view(server.attribute(attribute).value()) != "objectBoundingBox") return {};
  State user = state;
  user.toPixels = Affine();
  return FromUnitSquare(ReadSilhouette(document_, element, user).outline.Bounds());
}

void Painter::End(pugi::xml_node element, const State& state, const Surround& surround) {
  for (int layer = surround.layers; layer > 0; --layer) {
    if (layer == 1 && surround.masked) DrawMask(element, state);
    canvas_.EndLayer(layer == 1 ? surround.opacity : 1);
  }
  if (surround.clipped) canvas_.ResetClip();
}

void Painter::DrawMask(pugi::xml_node element, const State& state) {
  if (!canvas_.BeginLayer()) return;
  const pugi::xml_node mask = document_.Find(state.style.mask);
  State inside;
  inside.scale = state.scale;
  inside.toPixels = state.toPixels * UnitsOf(mask, "maskContentUnits", element, state);
  inside.style = document_.StyleOf(mask, Style());
  active_.push_back(mask);
  Children(mask, inside);
  active_.pop_back();
  canvas_.EndMask();
}

bool Painter::IsActive(pugi::xml_node element) const {
  return std::find(active_.begin(), active_.end(), element) != active_.end();
}

}  // namespace svg
