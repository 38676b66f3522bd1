// kalvora-viewer: shows the frames that a program draws on the shared-memory display.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <getopt.h>

#include "tools/sim/png.h"
#include "tools/viewer/surface.h"
#include "tools/viewer/window.h"

namespace {

const char kUsage[] =
    "kalvora-viewer [--zoom N]    shows the shared-memory display in a window, N = 1 to 8\n"
    "kalvora-viewer --png FILE    writes what it shows now as a PNG file\n"
    "\n"
    "In the window: + and - zoom, Escape or q ends. The title says how often a second the picture\n"
    "changes.\n";

int Snapshot(const Surface& surface, const char* path) {
  const sim::Frame frame{surface.Pixels(), Surface::kWidth, Surface::kHeight, Surface::kStride, 32};
  if (sim::WritePng(frame, path)) return 0;
  std::fprintf(stderr, "kalvora-viewer: cannot write %s\n", path);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  const option options[] = {{"zoom", required_argument, nullptr, 'z'},
                            {"png", required_argument, nullptr, 'p'},
                            {"help", no_argument, nullptr, 'h'},
                            {nullptr, 0, nullptr, 0}};
  int zoom = 1;
  const char* png = nullptr;
  for (int choice; (choice = getopt_long(argc, argv, "h", options, nullptr)) != -1;) {
    if (choice == 'z') zoom = std::atoi(optarg);
    if (choice == 'p') png = optarg;
    if (choice == 'h') {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (choice == '?') zoom = 0;
  }
  if (zoom < 1 || zoom > 8 || optind != argc) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const Surface surface;
  if (surface.Pixels() == nullptr) {
    std::fprintf(stderr, "kalvora-viewer: %s\n", surface.Problem().c_str());
    return 1;
  }
  return png != nullptr ? Snapshot(surface, png) : ShowWindow(surface, zoom);
}
