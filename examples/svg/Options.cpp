// Options: see the header.
#include "examples/svg/Options.h"

#include "examples/common/Error.h"

namespace svg {

namespace {

unsigned ToExtent(const std::string& text) {
  return text.empty() ? 0 : static_cast<unsigned>(examples::ToNumber(text, 1, kMaxSize));
}

// "640x480", "640x", "x480".
Size ToSize(const std::string& text) {
  const std::size_t x = text.find('x');
  if (x == std::string::npos || text.size() < 2) {
    throw examples::UsageError("'" + text + "' is not a size such as 640x480, 640x or x480");
  }
  return {ToExtent(text.substr(0, x)), ToExtent(text.substr(x + 1))};
}

Color ToColor(const std::string& text) {
  const auto color = ParseColor(text);
  if (!color) throw examples::UsageError("'" + text + "' is not an SVG colour");
  return *color;
}

}  // namespace

examples::Command CommandLine(Options& options) {
  return {"kalvora-svg",
          "INPUT.svg OUTPUT.png",
          "Draws an SVG file and writes a PNG file; - is standard input or output.",
          {{"--size", "WxH", "pixels; Wx and xH keep the proportions (as the file asks)",
            [&](const std::string& value) { options.size = ToSize(value); }},
           {"--zoom", "FACTOR", "so many times the size, 0.01 to 100 (1)",
            [&](const std::string& value) { options.zoom = examples::ToFactor(value, 0.01, 100); }},
           {"--background", "COLOUR", "an SVG colour (transparent; white in format 4)",
            [&](const std::string& value) { options.background = ToColor(value); }},
           {"--format", "4|5", "the pixels drawn into: 4 opaque, 5 with alpha (5)",
            [&](const std::string& value) {
              options.format =
                  examples::ToChoice(value, {"4", "5"}) == 0 ? KFormat0888PM : KFormat8888PM;
            }}},
          2,
          2};
}

}  // namespace svg
