// kalvora-contact-sheet: draws many SVG files, small, into one picture.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "examples/common/Error.h"
#include "examples/common/png.h"
#include "examples/svg/Canvas.h"
#include "examples/svg/Document.h"
#include "examples/svg/Notes.h"
#include "examples/svg/Options.h"
#include "examples/svg/Painter.h"

namespace {

constexpr unsigned kMargin = 4;
constexpr svg::Color kPaper{255, 255, 255, 1};

// Draws one file into its cell; a file that cannot be drawn leaves the cell as it is.
void DrawCell(KSoftPixmap& sheet, unsigned x, unsigned y, unsigned cell, const std::string& path) {
  try {
    const svg::Document document(path);
    svg::Notes notes(path, true);
    svg::Canvas canvas(cell, cell, KFormat0888PM, kPaper);
    svg::Painter(document, canvas, notes).Draw(cell, cell);
    for (unsigned row = 0; row < cell; ++row) {
      std::memcpy(sheet.Row32(y + row) + x, canvas.Picture().Row32(row), std::size_t{4} * cell);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kalvora-contact-sheet: %s\n", error.what());
  }
}

void Run(const std::string& output, unsigned cell, unsigned columns, char** files, unsigned count) {
  const unsigned step = cell + kMargin, rows = (count + columns - 1) / columns;
  const unsigned width = columns * step + kMargin, height = rows * step + kMargin;
  if (std::max(width, height) > svg::kMaxSize) throw examples::Error("too large a sheet");
  svg::Canvas sheet(width, height, KFormat0888PM, {230, 230, 230, 1});
  for (unsigned i = 0; i < count; ++i) {
    DrawCell(sheet.Picture(), kMargin + i % columns * step, kMargin + i / columns * step, cell,
             files[i]);
  }
  examples::WritePng(sheet.Picture(), output);
}

}  // namespace

int main(int argc, char** argv) {
  unsigned cell = 0, columns = 0;
  if (argc < 4 || std::sscanf(argv[2], "%ux%u", &cell, &columns) != 2 || cell == 0 || cell > 1024 ||
      columns == 0 || columns > 1024) {
    std::fputs("usage: kalvora-contact-sheet OUT.png PIXELSxCOLUMNS IN.svg...\n", stderr);
    return 1;
  }
  try {
    Run(argv[1], cell, columns, argv + 3, static_cast<unsigned>(argc - 3));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kalvora-contact-sheet: %s\n", error.what());
    return 1;
  }
  return 0;
}
