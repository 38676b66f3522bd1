// kalvora-svg: reads an SVG file, draws it with the library, writes a PNG.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>

#include "examples/common/Error.h"
#include "examples/common/png.h"
#include "examples/svg/Canvas.h"
#include "examples/svg/Document.h"
#include "examples/svg/Notes.h"
#include "examples/svg/Options.h"
#include "examples/svg/Painter.h"

namespace {

// The whole pixels of the picture, and the part of them that the document fills.
struct Extent {
  svg::Size pixels;
  double width;
  double height;
};

Extent PictureExtent(const svg::Options& options, const svg::Document& document,
                     svg::Notes& notes) {
  if (options.size) {
    const auto [width, height] = *options.size;
    return {{width, height}, double(width), double(height)};
  }
  const svg::Rect natural = svg::NaturalSize(document);
  if (!(natural.width > 0 && natural.height > 0)) {
    throw examples::Error(options.input + ": the picture has no size; give one with --size");
  }
  double scale = 1;
  if (const double largest = std::max(natural.width, natural.height); largest > svg::kMaxSize) {
    scale = svg::kMaxSize / largest;
    notes.Once("the picture is too large; drawing it smaller");
  }
  const double width = natural.width * scale, height = natural.height * scale;
  const auto pixels = [](double extent) {
    return static_cast<unsigned>(std::clamp(std::ceil(extent - 1e-6), 1.0, double{svg::kMaxSize}));
  };
  return {{pixels(width), pixels(height)}, width, height};
}

svg::Color Background(const svg::Options& options) {
  if (options.background) return *options.background;
  return options.format == KFormat0888PM ? svg::Color{255, 255, 255, 1} : svg::Color{0, 0, 0, 0};
}

int Run(const svg::Options& options) {
  if (options.help) {
    std::fputs(svg::kUsage, stdout);
    return 0;
  }
  const svg::Document document(options.input);
  svg::Notes notes(options.input);
  const Extent extent = PictureExtent(options, document, notes);
  svg::Canvas canvas(extent.pixels.width, extent.pixels.height, options.format,
                     Background(options));
  svg::Painter(document, canvas, notes).Draw(extent.width, extent.height);
  examples::WritePng(canvas.Picture(), options.output);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(svg::ParseOptions(argc, argv));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kalvora-svg: %s\n", error.what());
  }
  return 1;
}
