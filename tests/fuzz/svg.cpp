// Any bytes as an SVG file, drawn by the SVG example into a small picture. The last byte chooses
// its size.
#include <cstdio>
#include <exception>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "examples/svg/Canvas.h"
#include "examples/svg/Document.h"
#include "examples/svg/Notes.h"
#include "examples/svg/Painter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const int fd = memfd_create("svg", MFD_CLOEXEC);
  const std::string path = "/proc/self/fd/" + std::to_string(fd);
  if (write(fd, data, size) == static_cast<ssize_t>(size)) {
    try {
      const svg::Document document(path);
      svg::Notes notes(path, true);
      const unsigned last = size > 0 ? data[size - 1] : 0;
      const unsigned width = 1 + last % 16 * 4, height = 1 + last / 16 * 4;
      svg::Canvas canvas(width, height, last & 1 ? KFormat0888PM : KFormat8888PM, {0, 0, 0, 0});
      svg::NaturalSize(document);
      svg::Painter(document, canvas, notes).Draw(width, height);
    } catch (const std::exception&) {  // refused, with a message
    }
  }
  close(fd);
  return 0;
}
