// StyleSheet: the rules of <style> elements that simple drawings use.
#ifndef EXAMPLES_SVG_STYLESHEET_H
#define EXAMPLES_SVG_STYLESHEET_H

#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace svg {

struct Declaration {
  std::string property;
  std::string value;
  bool important = false;
};

/// "name: value; name: value", as in a `style` attribute. Malformed pieces are left out.
std::vector<Declaration> ParseDeclarations(std::string_view text);

/// Rules whose selectors are made of element names, `*`, classes, ids, and the descendant and child
/// combinators. Rules with anything else in their selector, and at-rules, are ignored.
class StyleSheet {
 public:
  void Parse(std::string_view css);
  bool IsEmpty() const { return rules_.empty(); }
  /// The declarations that hold for an element, the weakest first.
  std::vector<const Declaration*> Match(pugi::xml_node element) const;

 private:
  // One element's part of a selector: "rect.a#b".
  struct Compound {
    std::string name;  // empty: any
    std::string id;    // empty: any
    std::vector<std::string> classes;
    bool directChild = false;  // the part before this one is the parent itself

    bool Matches(pugi::xml_node element) const;
  };
  struct Rule {
    std::vector<Compound> selector;
    unsigned specificity = 0;
    std::size_t declarations = 0;  // index into blocks_
  };

  void AddRule(std::string_view selectors, std::string_view body);
  static bool ParseSelector(std::string_view text, Rule& rule);
  static bool Matches(const std::vector<Compound>& selector, pugi::xml_node element);

  std::vector<Rule> rules_;  // by specificity, then in the order of the text
  std::vector<std::vector<Declaration>> blocks_;
};

}  // namespace svg

#endif
