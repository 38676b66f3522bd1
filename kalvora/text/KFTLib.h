// KFTLib: a thread's FreeType library and the fonts that are open on it.
#ifndef KALVORA_TEXT_KFTLIB_H
#define KALVORA_TEXT_KFTLIB_H

#include <cstdint>

#include <ft2build.h>
#include FT_SYSTEM_H

#include "kalvora/text/KTlsItem.h"

class KFTFont;
struct FT_LibraryRec_;

/// Made by the first text operation of a thread, destroyed when the thread ends.
struct KFTLib {
  FT_LibraryRec_* library = nullptr;
  KFTFont* fonts = nullptr;  ///< every font that holds a file of this thread
  FT_MemoryRec_ memory;      ///< the C heap, as FreeType wants it
  bool ranOut = false;       ///< whether it failed to give memory since somebody looked last

  /// FreeType takes a list node for every composite glyph that it loads, and gives it back at once.
  /// Those come from here, so that loading glyphs again takes nothing from the heap.
  struct Node {
    void* words[4];
  };
  static constexpr unsigned kNodes = 8;
  Node nodes[kNodes];
  std::uint32_t taken = 0;  ///< a bit for each node in use
  bool lends = false;       ///< not while a face is opened: what that takes, it keeps

  KFTLib();

  /// The calling thread's library, made on demand; null when that fails.
  static KFTLib* Thread();
  /// Empties the fonts that are still open, then ends FreeType. Null is ignored.
  static void TlsLibDestructor(KFTLib* lib);

  static KTlsItem<KFTLib> TlsLib;

 private:
  bool Start();
};

#endif
