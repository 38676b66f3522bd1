// Elements: see the header.
#include "examples/svg/element.h"

namespace svg {

std::string_view LocalName(pugi::xml_node element) {
  std::string_view name = element.name();
  if (name.starts_with("svg:")) name.remove_prefix(4);
  return name;
}

std::string_view Href(pugi::xml_node element) {
  const pugi::xml_attribute href = element.attribute("href");
  return href ? href.value() : element.attribute("xlink:href").value();
}

std::string HrefId(pugi::xml_node element) {
  const std::string_view target = Href(element);
  return target.starts_with('#') ? std::string(target.substr(1)) : std::string();
}

double LengthAttribute(pugi::xml_node element, const char* name, const LengthScale& scale,
                       Axis axis, double fallback) {
  const auto length = ParseLength(element.attribute(name).value());
  return length ? length->Resolve(scale, axis) : fallback;
}

}  // namespace svg
