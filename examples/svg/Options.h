// Options: the command line.
#ifndef EXAMPLES_SVG_OPTIONS_H
#define EXAMPLES_SVG_OPTIONS_H

#include <optional>
#include <string>

#include "kalvora/core/KFormat.h"

#include "examples/svg/Color.h"

namespace svg {

/// Largest width and height of a picture.
constexpr unsigned kMaxSize = 8192;

struct Size {
  unsigned width = 0;
  unsigned height = 0;
};

struct Options {
  std::string input;
  std::string output;
  std::optional<Size> size;
  std::optional<Color> background;
  KFormat format = KFormat8888PM;
  bool help = false;
};

extern const char* const kUsage;

/// Throws Error when the arguments make no sense.
Options ParseOptions(int argc, const char* const* argv);

}  // namespace svg

#endif
