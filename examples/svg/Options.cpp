// Options: see the header.
#include "examples/svg/Options.h"

#include <charconv>
#include <string_view>

#include "examples/common/Error.h"

namespace svg {

const char* const kUsage =
    "usage: kalvora-svg IN.svg OUT.png [--size WxH] [--background COLOUR] [--format 4|5]\n"
    "\n"
    "Draws an SVG file with Kalvora and writes a PNG.\n"
    "  --size WxH           pixels; without it, the size that the file asks for\n"
    "  --background COLOUR  an SVG colour; without it, transparent, or white in format 4\n"
    "  --format 4|5         the pixels drawn into: 4 opaque, 5 with alpha (without it, 5)\n";

namespace {

std::optional<unsigned> ParseExtent(std::string_view text) {
  unsigned value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  if (value == 0 || value > kMaxSize) return std::nullopt;
  return value;
}

Size ParseSize(std::string_view text) {
  const std::size_t x = text.find('x');
  if (x != std::string_view::npos) {
    const auto width = ParseExtent(text.substr(0, x)), height = ParseExtent(text.substr(x + 1));
    if (width && height) return {*width, *height};
  }
  throw examples::Error("--size takes WxH, each 1 to " + std::to_string(kMaxSize));
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
  Options options;
  int names = 0;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    const auto value = [&]() -> std::string_view {
      if (i + 1 >= argc) throw examples::Error(std::string(argument) + " needs a value");
      return argv[++i];
    };
    if (argument == "--help" || argument == "-h") {
      options.help = true;
    } else if (argument == "--size") {
      options.size = ParseSize(value());
    } else if (argument == "--background") {
      options.background = ParseColor(value());
      if (!options.background) throw examples::Error("--background takes an SVG colour");
    } else if (argument == "--format") {
      const std::string_view format = value();
      if (format != "4" && format != "5") throw examples::Error("--format takes 4 or 5");
      options.format = format == "4" ? KFormat0888PM : KFormat8888PM;
    } else if (argument.starts_with("--")) {
      throw examples::Error("unknown option " + std::string(argument));
    } else if (names < 2) {
      (names++ == 0 ? options.input : options.output) = argument;
    } else {
      throw examples::Error("more than two file names");
    }
  }
  if (!options.help && names < 2) throw examples::Error("two file names are needed");
  return options;
}

}  // namespace svg
