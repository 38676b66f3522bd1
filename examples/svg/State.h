// State: what an element hands down to its children.
#ifndef EXAMPLES_SVG_STATE_H
#define EXAMPLES_SVG_STATE_H

#include "examples/svg/Affine.h"
#include "examples/svg/Document.h"
#include "examples/svg/Length.h"
#include "examples/svg/Outline.h"

namespace svg {

struct State {
  Style style;
  Affine toPixels;
  LengthScale scale;
  double opacity = 1;  ///< what is still to be multiplied into every colour

  /// The state of a child element: its style and its transform applied.
  State Enter(const Document& document, pugi::xml_node element) const;
  /// The state of what a <use> shows, moved to its place.
  State EnterUse(pugi::xml_node use) const;
};

/// A drawing that is nested deeper than this is meant to break its reader.
constexpr std::size_t kMaxDepth = 256;

/// The area that the shapes of an element and its children cover together, as one outline.
struct Silhouette {
  Outline outline;
  bool evenOdd = false;  ///< by the clip rule of a single shape; several always add up
};
/// `state` is the element's own; its `toPixels` maps the outline.
Silhouette ReadSilhouette(const Document& document, pugi::xml_node element, const State& state);

}  // namespace svg

#endif
