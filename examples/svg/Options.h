// Options: what kalvora-svg is asked for.
#ifndef EXAMPLES_SVG_OPTIONS_H
#define EXAMPLES_SVG_OPTIONS_H

#include <optional>
#include <string>

#include "kalvora/core/KFormat.h"

#include "examples/common/Command.h"
#include "examples/svg/Color.h"

namespace svg {

/// Largest width and height of a picture.
constexpr unsigned kMaxSize = 8192;

/// A side that is 0 follows from the other.
struct Size {
  unsigned width = 0;
  unsigned height = 0;
};

struct Options {
  std::optional<Size> size;
  double zoom = 1;
  std::optional<Color> background;
  KFormat format = KFormat8888PM;
};

/// The command line, which sets `options`.
examples::Command CommandLine(Options& options);

}  // namespace svg

#endif
