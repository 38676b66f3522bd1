// kalvora-svg: reads an SVG file, draws it with the library, writes a PNG.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "examples/common/Error.h"
#include "examples/common/files.h"
#include "examples/common/png.h"
#include "examples/svg/Canvas.h"
#include "examples/svg/Document.h"
#include "examples/svg/Notes.h"
#include "examples/svg/Options.h"
#include "examples/svg/Painter.h"

namespace {

// The part of the picture that the document fills, in pixels.
struct Extent {
  double width;
  double height;
};

unsigned WholePixels(double extent) {
  return static_cast<unsigned>(std::clamp(std::ceil(extent - 1e-6), 1.0, double{svg::kMaxSize}));
}

Extent NaturalExtent(const svg::Document& document, const std::string& input) {
  const svg::Rect natural = svg::NaturalSize(document);
  if (!(natural.width > 0 && natural.height > 0)) {
    throw examples::Error(examples::InputName(input) +
                          ": the picture has no size; give one with --size");
  }
  return {natural.width, natural.height};
}

// The size that was asked for; a side that was not keeps the proportions of the document.
Extent WantedExtent(const svg::Size& size, const svg::Document& document,
                    const std::string& input) {
  if (size.width != 0 && size.height != 0) return {double(size.width), double(size.height)};
  const Extent natural = NaturalExtent(document, input);
  if (size.height == 0) return {double(size.width), natural.height * size.width / natural.width};
  return {natural.width * size.height / natural.height, double(size.height)};
}

Extent PictureExtent(const svg::Options& options, const svg::Document& document,
                     const std::string& input, svg::Notes& notes) {
  Extent extent =
      options.size ? WantedExtent(*options.size, document, input) : NaturalExtent(document, input);
  extent = {extent.width * options.zoom, extent.height * options.zoom};
  const double largest = std::max(extent.width, extent.height);
  if (largest <= svg::kMaxSize) return extent;
  if (options.size || options.zoom != 1) {
    throw examples::Error("the picture would be larger than " + std::to_string(svg::kMaxSize) +
                          " pixels");
  }
  notes.Once("the picture is too large; drawing it smaller");
  const double scale = svg::kMaxSize / largest;
  return {extent.width * scale, extent.height * scale};
}

svg::Color Background(const svg::Options& options) {
  if (options.background) return *options.background;
  return options.format == KFormat0888PM ? svg::Color{255, 255, 255, 1} : svg::Color{0, 0, 0, 0};
}

void Draw(const svg::Options& options, const std::string& input, const std::string& output) {
  examples::ProtectInputs({input}, output);
  const svg::Document document(input);
  svg::Notes notes(input);
  const Extent extent = PictureExtent(options, document, input, notes);
  svg::Canvas canvas(WholePixels(extent.width), WholePixels(extent.height), options.format,
                     Background(options));
  svg::Painter(document, canvas, notes).Draw(extent.width, extent.height);
  examples::WritePng(canvas.Picture(), output);
}

}  // namespace

int main(int argc, char** argv) {
  svg::Options options;
  return examples::Run(
      svg::CommandLine(options), argc, argv,
      [&](const std::vector<std::string>& files) { Draw(options, files[0], files[1]); });
}
