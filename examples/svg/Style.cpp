// Style: see the header.
#include "examples/svg/Style.h"

#include <algorithm>
#include <optional>

#include "examples/svg/Scanner.h"

namespace svg {

namespace {

using Setter = void (*)(Style& style, std::string_view value, const Style& parent);

struct Property {
  std::string_view name;
  Setter set;      ///< from a value
  Setter inherit;  ///< from the parent, for "inherit"
};

// A property whose value is read by a function that may fail.
template <auto Member, auto Parse>
constexpr Property Make(std::string_view name) {
  return {
      name,
      [](Style& style, std::string_view value, const Style&) {
        if (auto parsed = Parse(value)) style.*Member = std::move(*parsed);
      },
      [](Style& style, std::string_view, const Style& parent) { style.*Member = parent.*Member; }};
}

std::optional<double> ParseOpacity(std::string_view text) {
  Scanner in(text);
  auto value = in.Number();
  if (!value) return std::nullopt;
  if (in.Take('%')) *value /= 100;
  return std::clamp(*value, 0.0, 1.0);
}

std::optional<double> ParseMiterLimit(std::string_view text) {
  const auto value = Scanner(text).Number();
  return value && *value >= 1 ? value : std::nullopt;
}

std::optional<bool> ParseEvenOdd(std::string_view text) {
  if (text == "evenodd") return true;
  if (text == "nonzero") return false;
  return std::nullopt;
}

std::optional<bool> ParseVisible(std::string_view text) { return text == "visible"; }
std::optional<bool> ParseOverflow(std::string_view text) {
  return text == "visible" || text == "auto";
}
std::optional<bool> ParseNotNone(std::string_view text) { return text != "none"; }

std::optional<LineCap> ParseCap(std::string_view text) {
  if (text == "butt") return LineCap::Butt;
  if (text == "round") return LineCap::Round;
  if (text == "square") return LineCap::Square;
  return std::nullopt;
}

std::optional<LineJoin> ParseJoin(std::string_view text) {
  if (text == "miter" || text == "miter-clip" || text == "arcs") return LineJoin::Miter;
  if (text == "round") return LineJoin::Round;
  if (text == "bevel") return LineJoin::Bevel;
  return std::nullopt;
}

std::optional<Length> ParseWidth(std::string_view text) {
  const auto length = ParseLength(text);
  return length && length->value >= 0 ? length : std::nullopt;
}

std::optional<std::vector<Length>> ParseDashes(std::string_view text) {
  std::vector<Length> dashes;
  if (text == "none") return dashes;
  Scanner in(text);
  for (in.SkipSpace(); !in.AtEnd(); in.SkipSeparator()) {
    const auto length = ParseLength(in.TakeUntil(", \t\r\n"));
    if (!length || length->value < 0) return std::nullopt;
    dashes.push_back(*length);
  }
  return dashes;
}

std::optional<std::string> ParseIdOrNone(std::string_view text) { return ParseReference(text); }

void SetPaintColor(Paint::Kind& kind, Color& color, std::string_view text) {
  const std::string lower = Lower(text);
  if (lower == "none") {
    kind = Paint::Kind::None;
  } else if (lower == "currentcolor") {
    kind = Paint::Kind::Current;
  } else if (const auto parsed = ParseColor(text)) {
    kind = Paint::Kind::Solid;
    color = *parsed;
  }
}

std::optional<Paint> ParsePaint(std::string_view text) {
  Paint paint;
  if (text.starts_with("url(")) {
    const std::size_t end = text.find(')');
    if (end == std::string_view::npos) return std::nullopt;
    paint.kind = Paint::Kind::Server;
    paint.server = ParseReference(text);
    SetPaintColor(paint.fallback, paint.color, Trim(text.substr(end + 1)));
    return paint;
  }
  constexpr auto unset = Paint::Kind::Server;
  paint.kind = unset;
  SetPaintColor(paint.kind, paint.color, text);
  if (paint.kind == unset) return std::nullopt;
  return paint;
}

void SetColor(Style& style, std::string_view value, const Style& parent) {
  if (Lower(value) == "currentcolor") {
    style.color = parent.color;
  } else if (const auto color = ParseColor(value)) {
    style.color = *color;
  }
}

void SetStopColor(Style& style, std::string_view value, const Style&) {
  style.stopCurrentColor = Lower(value) == "currentcolor";
  if (const auto color = ParseColor(value)) style.stopColor = *color;
}

void SetFontSize(Style& style, std::string_view value, const Style& parent) {
  const auto length = ParseLength(value);
  if (!length || length->value < 0) return;
  // A percentage refers to the parent's size too.
  const LengthScale scale{parent.fontSize, parent.fontSize, parent.fontSize};
  style.fontSize = length->Resolve(scale, Axis::X);
}

template <auto Member>
void Inherit(Style& style, std::string_view, const Style& parent) {
  style.*Member = parent.*Member;
}

constexpr Property kProperties[] = {
    Make<&Style::clipPath, ParseIdOrNone>("clip-path"),
    Make<&Style::clipEvenOdd, ParseEvenOdd>("clip-rule"),
    {"color", SetColor, Inherit<&Style::color>},
    Make<&Style::displayed, ParseNotNone>("display"),
    Make<&Style::fill, ParsePaint>("fill"),
    Make<&Style::fillOpacity, ParseOpacity>("fill-opacity"),
    Make<&Style::fillEvenOdd, ParseEvenOdd>("fill-rule"),
    Make<&Style::filtered, ParseNotNone>("filter"),
    {"font-size", SetFontSize, Inherit<&Style::fontSize>},
    Make<&Style::hasMarkers, ParseNotNone>("marker"),
    Make<&Style::hasMarkers, ParseNotNone>("marker-end"),
    Make<&Style::hasMarkers, ParseNotNone>("marker-mid"),
    Make<&Style::hasMarkers, ParseNotNone>("marker-start"),
    Make<&Style::mask, ParseIdOrNone>("mask"),
    Make<&Style::opacity, ParseOpacity>("opacity"),
    Make<&Style::overflowVisible, ParseOverflow>("overflow"),
    {"stop-color", SetStopColor, Inherit<&Style::stopColor>},
    Make<&Style::stopOpacity, ParseOpacity>("stop-opacity"),
    Make<&Style::stroke, ParsePaint>("stroke"),
    Make<&Style::dashes, ParseDashes>("stroke-dasharray"),
    Make<&Style::dashOffset, ParseLength>("stroke-dashoffset"),
    Make<&Style::cap, ParseCap>("stroke-linecap"),
    Make<&Style::join, ParseJoin>("stroke-linejoin"),
    Make<&Style::miterLimit, ParseMiterLimit>("stroke-miterlimit"),
    Make<&Style::strokeOpacity, ParseOpacity>("stroke-opacity"),
    Make<&Style::strokeWidth, ParseWidth>("stroke-width"),
    Make<&Style::visible, ParseVisible>("visibility"),
};

}  // namespace

Style Style::ForChild() const {
  Style child = *this;
  const Style initial;
  child.opacity = initial.opacity;
  child.displayed = initial.displayed;
  child.overflowVisible = initial.overflowVisible;
  child.clipPath.clear();
  child.mask.clear();
  child.filtered = initial.filtered;
  child.stopColor = initial.stopColor;
  child.stopCurrentColor = initial.stopCurrentColor;
  child.stopOpacity = initial.stopOpacity;
  return child;
}

void Style::Set(std::string_view property, std::string_view value, const Style& parent) {
  value = Trim(value);
  const auto* found = std::find_if(std::begin(kProperties), std::end(kProperties),
                                   [&](const Property& known) { return known.name == property; });
  if (found == std::end(kProperties)) return;
  (value == "inherit" ? found->inherit : found->set)(*this, value, parent);
}

std::string ParseReference(std::string_view text) {
  Scanner in(Trim(text));
  if (!in.Take("url(")) return {};
  std::string_view target = Trim(in.TakeUntil(")"));
  if (target.size() >= 2 && (target.front() == '"' || target.front() == '\'')) {
    target = Trim(target.substr(1, target.size() - 2));
  }
  if (!target.starts_with('#')) return {};
  return std::string(target.substr(1));
}

}  // namespace svg
