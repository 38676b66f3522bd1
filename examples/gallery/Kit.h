// Kit: what a picture is drawn with, kept from frame to frame.
#ifndef EXAMPLES_GALLERY_KIT_H
#define EXAMPLES_GALLERY_KIT_H

#include <deque>
#include <string>

#include "kalvora/kalvora.h"

namespace gallery {

/// Hands out paths, ramps, pixmaps and fonts. They are made in the first frame and come back, in
/// the same order, in the frames that follow: drawing a picture again allocates nothing.
class Kit {
 public:
  /// An empty path.
  KSoftPath& Path();
  KSoftColorRamp& Ramp();
  /// A pixmap that `make` has filled when it was first asked for.
  KSoftPixmap& Pixmap(void (*make)(KSoftPixmap&));
  /// The font in a file. Throws nothing: a font that cannot be loaded is empty.
  KFTFont& Font(const char* path);
  /// Keeps the table of fallback fonts: binding a target ends them, and looking up all characters
  /// anew takes time and memory.
  void Keep(const KArray<KFTFont*>& fallbacks) { keeper.SetFallbackFonts(&fallbacks, nullptr); }
  /// From here on everything may be handed out again.
  void NextFrame();

 private:
  std::deque<KSoftPath> paths;
  std::deque<KSoftColorRamp> ramps;
  std::deque<KSoftPixmap> pixmaps;
  std::deque<KFTFont> fonts;
  KFTFontContext keeper;
  std::size_t nextPath = 0, nextRamp = 0, nextPixmap = 0, nextFont = 0;
};

}  // namespace gallery

#endif
