// Document: a parsed SVG file, its elements by id, and the style of each element.
#ifndef EXAMPLES_SVG_DOCUMENT_H
#define EXAMPLES_SVG_DOCUMENT_H

#include <string>
#include <string_view>
#include <unordered_map>

#include <pugixml.hpp>

#include "examples/svg/Style.h"
#include "examples/svg/StyleSheet.h"

namespace svg {

class Document {
 public:
  /// Reads and parses a file, or standard input: "-". Throws Error when it cannot be read, is no
  /// XML, or is no SVG.
  explicit Document(const std::string& path);

  pugi::xml_node Root() const { return root_; }
  /// The first element with that id, or an empty node.
  pugi::xml_node Find(const std::string& id) const;
  /// Attributes, then the style sheet's rules, then the `style` attribute; important ones last.
  Style StyleOf(pugi::xml_node element, const Style& parent) const;

 private:
  void Index();

  pugi::xml_document xml_;
  pugi::xml_node root_;
  StyleSheet sheet_;
  std::unordered_map<std::string_view, pugi::xml_node> byId_;
};

}  // namespace svg

#endif
