// Color: see the header.
#include "examples/svg/Color.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "examples/svg/Scanner.h"

namespace svg {

namespace {

std::uint8_t ToByte(double value) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::optional<Color> ParseHex(std::string_view digits) {
  std::array<int, 8> d{};
  const std::size_t n = digits.size();
  if (n != 3 && n != 4 && n != 6 && n != 8) return std::nullopt;
  for (std::size_t i = 0; i < n; ++i) {
    d[i] = HexDigit(digits[i]);
    if (d[i] < 0) return std::nullopt;
  }
  std::array<int, 4> channel{0, 0, 0, 255};
  const std::size_t width = n <= 4 ? 1 : 2;
  for (std::size_t i = 0; i < n / width; ++i) {
    channel[i] = width == 1 ? d[i] * 17 : d[2 * i] * 16 + d[2 * i + 1];
  }
  return Color{static_cast<std::uint8_t>(channel[0]), static_cast<std::uint8_t>(channel[1]),
               static_cast<std::uint8_t>(channel[2]), channel[3] / 255.0};
}

struct Argument {
  double value = 0;
  bool percent = false;
};

// Three or four numbers between parentheses, apart by commas, spaces, or a slash before the last.
std::optional<std::array<Argument, 4>> ParseArguments(Scanner& in) {
  std::array<Argument, 4> arguments{};
  arguments[3].value = 1;
  if (!in.Take('(')) return std::nullopt;
  std::size_t count = 0;
  in.SkipSpace();
  while (!in.Take(')')) {
    if (count == 4) return std::nullopt;
    const auto value = in.NextNumber();
    if (!value) return std::nullopt;
    arguments[count].value = *value;
    arguments[count].percent = in.Take('%');
    if (!arguments[count].percent) in.TakeName();  // "deg" is the only unit that is used.
    ++count;
    in.SkipSpace();
    if (in.Take('/')) in.SkipSpace();
  }
  if (count < 3) return std::nullopt;
  return arguments;
}

double Alpha(Argument a) { return std::clamp(a.percent ? a.value / 100 : a.value, 0.0, 1.0); }

Color FromRgb(const std::array<Argument, 4>& a) {
  const auto channel = [](Argument x) { return ToByte(x.percent ? x.value * 255 / 100 : x.value); };
  return {channel(a[0]), channel(a[1]), channel(a[2]), Alpha(a[3])};
}

// Each channel is a trapezoid over the hue: l - s min(l, 1 - l) max(-1, min(k - 3, 9 - k, 1)) with
// k = (n + hue / 30) mod 12, n = 0, 8, 4 for red, green, blue.
Color FromHsl(const std::array<Argument, 4>& a) {
  const double hue = std::fmod(std::fmod(a[0].value, 360) + 360, 360) / 30;
  const double s = std::clamp(a[1].value / 100, 0.0, 1.0);
  const double l = std::clamp(a[2].value / 100, 0.0, 1.0);
  const auto channel = [&](double n) {
    const double k = std::fmod(n + hue, 12);
    const double ramp = std::max(-1.0, std::min({k - 3, 9 - k, 1.0}));
    return ToByte(255 * (l - s * std::min(l, 1 - l) * ramp));
  };
  return {channel(0), channel(8), channel(4), Alpha(a[3])};
}

}  // namespace

std::optional<Color> ParseColor(std::string_view text) {
  const std::string lower = Lower(Trim(text));
  Scanner in(lower);
  if (in.Take('#')) return ParseHex(in.Rest());
  const std::string_view name = in.TakeName();
  if (in.AtEnd()) return NamedColor(name);
  const auto arguments = ParseArguments(in);
  if (!arguments || !in.AtEnd()) return std::nullopt;
  if (name == "rgb" || name == "rgba") return FromRgb(*arguments);
  if (name == "hsl" || name == "hsla") return FromHsl(*arguments);
  return std::nullopt;
}

}  // namespace svg
