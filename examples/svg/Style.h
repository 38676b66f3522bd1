// Style: the properties of one element, and how they are read and inherited.
#ifndef EXAMPLES_SVG_STYLE_H
#define EXAMPLES_SVG_STYLE_H

#include <string>
#include <string_view>
#include <vector>

#include "examples/svg/Color.h"
#include "examples/svg/Length.h"

namespace svg {

/// What `fill` or `stroke` names.
struct Paint {
  enum class Kind { None, Solid, Current, Server };

  Kind kind = Kind::None;
  Color color;                 ///< Solid, or the fallback of a server
  std::string server;          ///< id of a gradient or pattern
  Kind fallback = Kind::None;  ///< None, Solid or Current: when the server is missing
};

enum class LineCap { Butt, Round, Square };
enum class LineJoin { Miter, Round, Bevel };

struct Style {
  // Inherited.
  Color color;
  Paint fill{Paint::Kind::Solid, {}, {}, Paint::Kind::None};
  Paint stroke;
  double fillOpacity = 1;
  double strokeOpacity = 1;
  bool fillEvenOdd = false;
  bool clipEvenOdd = false;
  bool visible = true;
  Length strokeWidth{1};
  LineCap cap = LineCap::Butt;
  LineJoin join = LineJoin::Miter;
  double miterLimit = 4;
  std::vector<Length> dashes;
  Length dashOffset;
  double fontSize = 16;
  bool hasMarkers = false;  ///< which are not drawn

  // Of the element alone.
  double opacity = 1;
  bool displayed = true;
  bool overflowVisible = false;
  std::string clipPath;   ///< id
  std::string mask;       ///< id
  bool filtered = false;  ///< by a filter, which is not applied
  Color stopColor;
  bool stopCurrentColor = false;
  double stopOpacity = 1;

  /// The style that a child without properties of its own has.
  Style ForChild() const;
  /// Sets one property. Unknown properties and malformed values change nothing.
  void Set(std::string_view property, std::string_view value, const Style& parent);
};

/// The id in "url(#id)", with or without quotes; empty when there is none.
std::string ParseReference(std::string_view text);

}  // namespace svg

#endif
