// Kit: see the header.
#include "examples/gallery/Kit.h"

#include <cstdio>

namespace gallery {

namespace {

template <typename T>
T& Next(std::deque<T>& things, std::size_t& next) {
  if (next == things.size()) things.emplace_back();
  return things[next++];
}

}  // namespace

KSoftPath& Kit::Path() {
  KSoftPath& path = Next(paths, nextPath);
  path.Rewind();
  return path;
}

KSoftColorRamp& Kit::Ramp() { return Next(ramps, nextRamp); }

KSoftPixmap& Kit::Pixmap(void (*make)(KSoftPixmap&)) {
  const bool known = nextPixmap < pixmaps.size();
  KSoftPixmap& pixmap = Next(pixmaps, nextPixmap);
  if (!known) make(pixmap);
  return pixmap;
}

KFTFont& Kit::Font(const char* path) {
  const bool isKnown = nextFont < fonts.size();
  KFTFont& font = Next(fonts, nextFont);
  if (!font.LoadFont(path, 0) && !isKnown) {
    std::fprintf(stderr, "kalvora-gallery: %s\n", font.LastError().text);
  }
  return font;
}

void Kit::NextFrame() { nextPath = nextRamp = nextPixmap = nextFont = 0; }

}  // namespace gallery
