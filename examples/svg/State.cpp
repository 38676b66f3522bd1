// State: see the header.
#include "examples/svg/State.h"

#include <algorithm>

#include "examples/svg/element.h"
#include "examples/svg/shapes.h"

namespace svg {

namespace {

// Collects shapes, each turned so that its area is positive: overlapping shapes then add up under
// the non-zero rule, whichever way they were drawn.
class SilhouetteReader {
 public:
  explicit SilhouetteReader(const Document& document) : document_(document) {}

  void Add(pugi::xml_node element, const State& state) {
    if (!state.style.displayed || depth_ >= kMaxDepth || ++elements_ > kMaxElements) return;
    ++depth_;
    const std::string_view name = LocalName(element);
    if (IsShape(name)) {
      if (state.style.visible) AddShape(element, state);
    } else if (name == "use") {
      const pugi::xml_node target = document_.Find(HrefId(element));
      if (target) Add(target, state.EnterUse(element).Enter(document_, target));
    } else if (name == "g" || name == "a" || name == "clipPath" || name == "symbol") {
      for (const pugi::xml_node child : element.children()) {
        if (child.type() == pugi::node_element) Add(child, state.Enter(document_, child));
      }
    }
    --depth_;
  }

  Silhouette Result() {
    result_.evenOdd = evenOdd_ && shapes_ == 1;
    return std::move(result_);
  }

 private:
  static constexpr unsigned kMaxElements = 10'000;

  void AddShape(pugi::xml_node element, const State& state) {
    const Outline outline = ShapeOutline(element, state.scale).Mapped(state.toPixels);
    if (outline.IsEmpty()) return;
    ++shapes_;
    evenOdd_ = state.style.clipEvenOdd;
    result_.outline.Append(outline.SignedArea() < 0 ? outline.Reversed() : outline);
  }

  const Document& document_;
  Silhouette result_;
  std::size_t depth_ = 0;
  unsigned elements_ = 0;
  unsigned shapes_ = 0;
  bool evenOdd_ = false;
};

}  // namespace

State State::Enter(const Document& document, pugi::xml_node element) const {
  State state = *this;
  state.style = document.StyleOf(element, style);
  state.scale.fontSize = state.style.fontSize;
  if (const auto transform = element.attribute("transform")) {
    state.toPixels = state.toPixels * ParseTransform(transform.value()).value_or(Affine());
  }
  return state;
}

State State::EnterUse(pugi::xml_node use) const {
  State state = *this;
  state.toPixels = state.toPixels * Affine::Translate(LengthAttribute(use, "x", scale, Axis::X),
                                                      LengthAttribute(use, "y", scale, Axis::Y));
  return state;
}

Silhouette ReadSilhouette(const Document& document, pugi::xml_node element, const State& state) {
  SilhouetteReader reader(document);
  reader.Add(element, state);
  return reader.Result();
}

}  // namespace svg
