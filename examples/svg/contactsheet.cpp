// kalvora-contact-sheet: draws many SVG files, small, into one picture.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "examples/common/Command.h"
#include "examples/common/Error.h"
#include "examples/common/Progress.h"
#include "examples/common/files.h"
#include "examples/common/png.h"
#include "examples/svg/Canvas.h"
#include "examples/svg/Document.h"
#include "examples/svg/Notes.h"
#include "examples/svg/Options.h"
#include "examples/svg/Painter.h"

namespace {

constexpr unsigned kMargin = 4;
constexpr svg::Color kPaper{255, 255, 255, 1};

struct Options {
  unsigned cell = 96;
  unsigned columns = 12;
};

// Draws one file into its cell; a file that cannot be drawn leaves the cell as it is.
bool DrawCell(KSoftPixmap& sheet, unsigned x, unsigned y, unsigned cell, const std::string& path,
              const examples::Progress& progress) {
  try {
    const svg::Document document(path);
    svg::Notes notes(path, true);
    svg::Canvas canvas(cell, cell, KFormat0888PM, kPaper);
    svg::Painter(document, canvas, notes).Draw(cell, cell);
    for (unsigned row = 0; row < cell; ++row) {
      std::memcpy(sheet.Row32(y + row) + x, canvas.Picture().Row32(row), std::size_t{4} * cell);
    }
    return true;
  } catch (const std::exception& error) {
    progress.Clear();
    std::fprintf(stderr, "kalvora-contact-sheet: %s\n", error.what());
    return false;
  }
}

void Draw(const Options& options, const std::vector<std::string>& files,
          const std::string& output) {
  examples::ProtectInputs(files, output);
  if (output.ends_with(".svg")) throw examples::UsageError("the picture comes last: " + output);
  const unsigned step = options.cell + kMargin, count = static_cast<unsigned>(files.size());
  const unsigned columns = std::min(options.columns, count);
  const unsigned rows = (count + columns - 1) / columns;
  const unsigned width = columns * step + kMargin, height = rows * step + kMargin;
  if (std::max(width, height) > svg::kMaxSize) {
    throw examples::Error("the sheet would be larger than " + std::to_string(svg::kMaxSize) +
                          " pixels");
  }
  svg::Canvas sheet(width, height, KFormat0888PM, {230, 230, 230, 1});
  unsigned failed = 0;
  {
    const examples::Progress progress(count);
    for (unsigned i = 0; i < count; ++i) {
      progress.Show(i);
      failed += !DrawCell(sheet.Picture(), kMargin + i % columns * step,
                          kMargin + i / columns * step, options.cell, files[i], progress);
    }
  }
  if (failed == count)
    throw examples::Error("no file could be drawn: " + output + " stays as it is");
  examples::WritePng(sheet.Picture(), output);
  if (failed != 0) throw examples::Error(std::to_string(failed) + " files could not be drawn");
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const examples::Command command{
      "kalvora-contact-sheet",
      "INPUT.svg... OUTPUT.png",
      "Draws SVG files, small, into one PNG file. Cells of files that cannot be drawn stay empty.",
      {{"--cell", "PIXELS", "size of each drawing, 1 to 1024 (96)",
        [&](const std::string& value) {
          options.cell = static_cast<unsigned>(examples::ToNumber(value, 1, 1024));
        }},
       {"--columns", "COUNT", "drawings side by side, 1 to 1024 (12)",
        [&](const std::string& value) {
          options.columns = static_cast<unsigned>(examples::ToNumber(value, 1, 1024));
        }}},
      2,
      static_cast<std::size_t>(-1)};
  return examples::Run(command, argc, argv, [&](std::vector<std::string> files) {
    const std::string output = files.back();
    files.pop_back();
    Draw(options, files, output);
  });
}
