// Length: see the header.
#include "examples/svg/Length.h"

#include <cmath>
#include <string>

#include "examples/svg/Scanner.h"

namespace svg {

namespace {

struct AbsoluteUnit {
  std::string_view name;
  double userUnits;
};

constexpr AbsoluteUnit kAbsoluteUnits[] = {
    {"", 1},           {"px", 1},         {"pt", 96.0 / 72}, {"pc", 16},  {"in", 96},
    {"cm", 96 / 2.54}, {"mm", 96 / 25.4}, {"q", 96 / 101.6}, {"rem", 16},
};

}  // namespace

double LengthScale::Extent(Axis axis) const {
  switch (axis) {
    case Axis::X:
      return width;
    case Axis::Y:
      return height;
    case Axis::Diagonal:
      break;
  }
  return std::sqrt((width * width + height * height) / 2);
}

double Length::Resolve(const LengthScale& scale, Axis axis) const {
  switch (unit) {
    case Unit::User:
      break;
    case Unit::Percent:
      return value / 100 * scale.Extent(axis);
    case Unit::Em:
      return value * scale.fontSize;
    case Unit::Ex:
      return value * scale.fontSize / 2;
  }
  return value;
}

std::optional<Length> ParseLength(std::string_view text) {
  Scanner in(Trim(text));
  const auto value = in.Number();
  if (!value) return std::nullopt;
  const std::string unit = Lower(in.Rest());
  if (unit == "%") return Length{*value, Length::Unit::Percent};
  if (unit == "em") return Length{*value, Length::Unit::Em};
  if (unit == "ex") return Length{*value, Length::Unit::Ex};
  for (const AbsoluteUnit& known : kAbsoluteUnits) {
    if (unit == known.name) return Length{*value * known.userUnits};
  }
  return std::nullopt;
}

}  // namespace svg
