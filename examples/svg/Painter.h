// Painter: walks a document's elements and draws them.
#ifndef EXAMPLES_SVG_PAINTER_H
#define EXAMPLES_SVG_PAINTER_H

#include <vector>

#include "examples/svg/Canvas.h"
#include "examples/svg/Document.h"
#include "examples/svg/Notes.h"
#include "examples/svg/viewbox.h"

namespace svg {

/// The size in user units that the document asks for: its width and height, else its viewBox, else
/// 300 x 150.
Rect NaturalSize(const Document& document);

class Painter {
 public:
  Painter(const Document& document, Canvas& canvas, Notes& notes);
  /// Draws the whole document, fitted into that many pixels from the top left corner.
  void Draw(double width, double height);

 private:
  // What an element hands down to its children.
  struct State {
    Style style;
    Affine toPixels;
    LengthScale scale;
    double opacity = 1;  // of all groups around, multiplied
  };

  // A drawing as deep or as often repeated as this is meant to break its reader.
  static constexpr std::size_t kMaxDepth = 256;
  static constexpr unsigned kMaxElements = 500'000;

  void Element(pugi::xml_node element, const State& parent);
  void Children(pugi::xml_node element, const State& state);
  void Shape(pugi::xml_node element, const State& state);
  void Use(pugi::xml_node element, const State& state);
  void Switch(pugi::xml_node element, const State& state);
  void Viewport(pugi::xml_node element, State state, const Rect& viewport);
  Color Ink(const Paint& paint, double opacity, const State& state, const Outline& outline);
  bool IsActive(pugi::xml_node element) const;

  const Document& document_;
  Canvas& canvas_;
  Notes& notes_;
  std::vector<pugi::xml_node> active_;  // the elements being drawn, outermost first
  unsigned elements_ = 0;
};

}  // namespace svg

#endif
