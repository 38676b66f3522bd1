// kalvora-viewer: shows the frames that a program draws on the shared-memory display.
#include <cstring>
#include <string>
#include <vector>

#include "kalvora/core/KSoftPixmap.h"

#include "examples/common/Command.h"
#include "examples/common/Error.h"
#include "examples/common/png.h"
#include "tools/viewer/surface.h"
#include "tools/viewer/window.h"

namespace {

void Snapshot(Surface& surface, const std::string& path) {
  if (!surface.Find()) {
    throw examples::Error("there is no surface: no program has opened the shared-memory display");
  }
  KSoftPixmap picture;
  picture.Create(Surface::kWidth, Surface::kHeight, KFormat0888PM);
  if (!picture.pixels) throw examples::Error("not enough memory");
  for (unsigned y = 0; y < Surface::kHeight; ++y) {
    std::memcpy(picture.Row32(y), surface.Pixels() + y * Surface::kStride, Surface::kStride);
  }
  examples::WritePng(picture, path);
}

}  // namespace

int main(int argc, char** argv) {
  int zoom = 1;
  std::string png;
  const examples::Command command{
      "kalvora-viewer",
      "",
      "Shows the shared-memory display in a window, and waits for a program that draws on it. In\n"
      "the window: + and - zoom, Escape or q ends. The title says how often a second the picture\n"
      "changes.",
      {{"--zoom", "N", "window pixels for each pixel, 1 to 8 (1)",
        [&](const std::string& value) { zoom = examples::ToNumber(value, 1, 8); }},
       {"--png", "FILE",
        "writes what the display shows now as a PNG file, and ends; - is standard\n"
        "output",
        [&](const std::string& value) { png = value; }}}};
  return examples::Run(command, argc, argv, [&](const std::vector<std::string>&) {
    Surface surface;
    if (png.empty()) {
      ShowWindow(surface, zoom);
    } else {
      Snapshot(surface, png);
    }
  });
}
