// Document: see the header.
#include "examples/svg/Document.h"

#include "examples/common/Error.h"
#include "examples/common/files.h"
#include "examples/svg/element.h"

namespace svg {

namespace {

// The element behind `node` in document order. pugixml's own walker does the same; a loop of our
// own has no depth to run out of.
pugi::xml_node NextInOrder(pugi::xml_node node, pugi::xml_node top) {
  if (node.first_child()) return node.first_child();
  while (node != top && !node.next_sibling()) node = node.parent();
  return node == top ? pugi::xml_node() : node.next_sibling();
}

std::string TextOf(pugi::xml_node element) {
  std::string text;
  for (pugi::xml_node child : element.children()) text += child.value();
  return text;
}

}  // namespace

Document::Document(const std::string& path) {
  const std::string text = examples::ReadInput(path), name = examples::InputName(path);
  const pugi::xml_parse_result result = xml_.load_buffer(text.data(), text.size());
  if (!result) {
    std::string message = name + ": " + result.description();
    if (result.offset > 0) message += " at byte " + std::to_string(result.offset);
    throw examples::Error(message);
  }
  root_ = xml_.document_element();
  if (LocalName(root_) != "svg") {
    throw examples::Error(name + ": not an SVG file: no <svg> at the top");
  }
  Index();
}

void Document::Index() {
  for (pugi::xml_node node = root_; node; node = NextInOrder(node, root_)) {
    const std::string_view id = node.attribute("id").value();
    if (!id.empty()) byId_.emplace(id, node);
    if (LocalName(node) == "style") sheet_.Parse(TextOf(node));
  }
}

pugi::xml_node Document::Find(const std::string& id) const {
  const auto found = byId_.find(id);
  return found == byId_.end() ? pugi::xml_node() : found->second;
}

Style Document::StyleOf(pugi::xml_node element, const Style& parent) const {
  Style style = parent.ForChild();
  for (const pugi::xml_attribute attribute : element.attributes()) {
    style.Set(attribute.name(), attribute.value(), parent);
  }
  const auto own = ParseDeclarations(element.attribute("style").value());
  const auto rules = sheet_.Match(element);
  for (const bool important : {false, true}) {
    for (const Declaration* d : rules) {
      if (d->important == important) style.Set(d->property, d->value, parent);
    }
    for (const Declaration& d : own) {
      if (d.important == important) style.Set(d.property, d.value, parent);
    }
  }
  return style;
}

}  // namespace svg
