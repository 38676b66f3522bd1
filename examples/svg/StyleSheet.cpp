// StyleSheet: see the header.
#include "examples/svg/StyleSheet.h"

#include <algorithm>

#include "examples/svg/Scanner.h"
#include "examples/svg/element.h"

namespace svg {

namespace {

std::string WithoutComments(std::string_view css) {
  std::string result;
  while (!css.empty()) {
    const std::size_t start = css.find("/*");
    result += css.substr(0, start);
    if (start == std::string_view::npos) break;
    const std::size_t end = css.find("*/", start + 2);
    if (end == std::string_view::npos) break;
    css.remove_prefix(end + 2);
    result += ' ';
  }
  return result;
}

// Takes "{ ... }" and returns what is inside, nested braces included.
std::string_view TakeBlock(Scanner& in) {
  const std::string_view text = in.Rest();
  std::size_t depth = 0, i = 0;
  for (; i < text.size(); ++i) {
    if (text[i] == '{') ++depth;
    if (text[i] == '}' && --depth == 0) break;
  }
  in = Scanner(i < text.size() ? text.substr(i + 1) : std::string_view{});
  return text.substr(1, i - 1);
}

bool HasClass(std::string_view list, std::string_view name) {
  Scanner in(list);
  for (in.SkipSpace(); !in.AtEnd(); in.SkipSpace()) {
    if (in.TakeUntil(" \t\r\n\f") == name) return true;
  }
  return false;
}

}  // namespace

std::vector<Declaration> ParseDeclarations(std::string_view text) {
  std::vector<Declaration> result;
  Scanner in(text);
  while (!in.AtEnd()) {
    const std::string_view piece = in.TakeUntil(";");
    in.Take(';');
    const std::size_t colon = piece.find(':');
    if (colon == std::string_view::npos) continue;
    Declaration declaration;
    declaration.property = Lower(Trim(piece.substr(0, colon)));
    std::string_view value = Trim(piece.substr(colon + 1));
    if (const std::size_t mark = value.find('!'); mark != std::string_view::npos) {
      declaration.important = Lower(Trim(value.substr(mark + 1))) == "important";
      value = Trim(value.substr(0, mark));
    }
    declaration.value = value;
    if (!declaration.property.empty() && !value.empty()) result.push_back(std::move(declaration));
  }
  return result;
}

void StyleSheet::Parse(std::string_view css) {
  const std::string text = WithoutComments(css);
  Scanner in(text);
  for (in.SkipSpace(); !in.AtEnd(); in.SkipSpace()) {
    if (in.Take("<!--") || in.Take("-->") || in.Take('}') || in.Take(';')) continue;
    if (in.Peek() == '@') {
      in.TakeUntil("{;");
      if (in.Peek() == '{') TakeBlock(in);
      continue;
    }
    const std::string_view selectors = in.TakeUntil("{");
    if (in.AtEnd()) break;
    AddRule(selectors, TakeBlock(in));
  }
  std::stable_sort(rules_.begin(), rules_.end(),
                   [](const Rule& a, const Rule& b) { return a.specificity < b.specificity; });
}

void StyleSheet::AddRule(std::string_view selectors, std::string_view body) {
  blocks_.push_back(ParseDeclarations(body));
  Scanner in(selectors);
  while (!in.AtEnd()) {
    Rule rule;
    rule.declarations = blocks_.size() - 1;
    if (ParseSelector(Trim(in.TakeUntil(",")), rule)) rules_.push_back(std::move(rule));
    in.Take(',');
  }
}

bool StyleSheet::ParseSelector(std::string_view text, Rule& rule) {
  Scanner in(text);
  bool directChild = false;
  while (!in.AtEnd()) {
    Compound part;
    part.directChild = directChild;
    directChild = false;
    const bool any = in.Take('*');
    if (!any) part.name = in.TakeName();
    if (!part.name.empty()) rule.specificity += 1;
    bool empty = !any && part.name.empty();
    while (in.Peek() == '.' || in.Peek() == '#') {
      const char kind = in.TakeAny();
      std::string name(in.TakeName());
      if (name.empty()) return false;
      rule.specificity += kind == '#' ? 0x10000 : 0x100;
      if (kind == '#') {
        part.id = std::move(name);
      } else {
        part.classes.push_back(std::move(name));
      }
      empty = false;
    }
    if (empty) return false;
    rule.selector.push_back(std::move(part));
    in.SkipSpace();
    if (in.Take('>')) {
      directChild = true;
      in.SkipSpace();
      if (in.AtEnd()) return false;
    }
  }
  return !rule.selector.empty();
}

bool StyleSheet::Compound::Matches(pugi::xml_node element) const {
  if (!name.empty() && LocalName(element) != name) return false;
  if (!id.empty() && id != element.attribute("id").value()) return false;
  return std::all_of(classes.begin(), classes.end(), [&](const std::string& wanted) {
    return HasClass(element.attribute("class").value(), wanted);
  });
}

// Greedy from the element upward: each descendant part takes the nearest ancestor that fits. A
// child part that fails behind a descendant part does not try a farther ancestor.
bool StyleSheet::Matches(const std::vector<Compound>& selector, pugi::xml_node element) {
  if (!selector.back().Matches(element)) return false;
  for (std::size_t i = selector.size() - 1; i-- > 0;) {
    element = element.parent();
    if (!selector[i + 1].directChild) {
      while (element && !selector[i].Matches(element)) element = element.parent();
    }
    if (!element || !selector[i].Matches(element)) return false;
  }
  return true;
}

std::vector<const Declaration*> StyleSheet::Match(pugi::xml_node element) const {
  std::vector<const Declaration*> result;
  for (const Rule& rule : rules_) {
    if (!Matches(rule.selector, element)) continue;
    for (const Declaration& declaration : blocks_[rule.declarations]) {
      result.push_back(&declaration);
    }
  }
  return result;
}

}  // namespace svg
