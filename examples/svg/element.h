// What every reader of elements needs: local names and attributes.
#ifndef EXAMPLES_SVG_ELEMENT_H
#define EXAMPLES_SVG_ELEMENT_H

#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "examples/svg/Length.h"

namespace svg {

/// An element's name without the prefix "svg:". Other prefixes stay: they are not SVG's elements.
std::string_view LocalName(pugi::xml_node element);
/// The text of `href` or `xlink:href`.
std::string_view Href(pugi::xml_node element);
/// The id that `href` or `xlink:href` points to within the document; empty when it does not.
std::string HrefId(pugi::xml_node element);
/// An attribute as a length in user units; `fallback` when it is missing or malformed.
double LengthAttribute(pugi::xml_node element, const char* name, const LengthScale& scale,
                       Axis axis, double fallback = 0);

}  // namespace svg

#endif
