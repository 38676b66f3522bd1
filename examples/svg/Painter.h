// Painter: walks a document's elements and draws them.
#ifndef EXAMPLES_SVG_PAINTER_H
#define EXAMPLES_SVG_PAINTER_H

#include <vector>

#include "examples/svg/Canvas.h"
#include "examples/svg/Notes.h"
#include "examples/svg/State.h"
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
  // A drawing that repeats its elements more often than this is meant to exhaust its reader.
  static constexpr unsigned kMaxElements = 200'000;

  // The layers and the clip that surround an element while it is drawn.
  struct Surround {
    int layers = 0;
    bool clipped = false;
    bool masked = false;
    bool hidden = false;  // nothing of the element shows
    double opacity = 1;   // of the innermost layer
  };

  void Element(pugi::xml_node element, const State& parent);
  void Draw(pugi::xml_node element, std::string_view name, const State& state);
  void Children(pugi::xml_node element, const State& state);
  void Shape(pugi::xml_node element, const State& state);
  void Image(pugi::xml_node element, const State& state);
  void Use(pugi::xml_node element, const State& state);
  void Switch(pugi::xml_node element, const State& state);
  void Viewport(pugi::xml_node element, State state, const Rect& viewport);

  Surround Begin(pugi::xml_node element, State& state);
  void AddClip(const Silhouette& clip, Surround& surround);
  void AddClipPath(pugi::xml_node element, const State& state, Surround& surround);
  Affine UnitsOf(pugi::xml_node server, const char* attribute, pugi::xml_node element,
                 const State& state);
  void End(pugi::xml_node element, const State& state, const Surround& surround);
  void DrawMask(pugi::xml_node element, const State& state);
  Ink MakeInk(const Paint& paint, double opacity, const State& state, const Box& bounds);
  bool IsActive(pugi::xml_node element) const;

  const Document& document_;
  Canvas& canvas_;
  Notes& notes_;
  std::vector<pugi::xml_node> active_;  // the elements being drawn, outermost first
  unsigned elements_ = 0;
};

}  // namespace svg

#endif
