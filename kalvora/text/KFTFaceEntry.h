// KFTFaceEntry and KFTCharPage: a font file that a thread knows, and the glyph indices found in it.
#ifndef KALVORA_TEXT_KFTFACEENTRY_H
#define KALVORA_TEXT_KFTFACEENTRY_H

#include <cstdint>

#include "kalvora/text/KFTFontFile.h"

/// Glyph indices of 128 character codes of one face.
struct KFTCharPage {
  static constexpr std::uint32_t kCodes = 128;
  static constexpr std::uint32_t kUnknown = 0xFFFFFFFF;  ///< not looked up yet

  std::uint32_t base;           ///< the first code, a multiple of 128
  std::uint32_t index[kCodes];  ///< 0 means that the face has no glyph
  KFTCharPage* next;
  KFTCharPage* prev;
  std::int32_t faceIndex;  ///< faces of one file have characters of their own

  KFTCharPage(std::uint32_t firstCode, std::int32_t face);
};

/// One file in a thread's face list, which is linked newest first. Holds one reference on it.
struct KFTFaceEntry {
  KFTSharedFile* file;
  KFTCharPage* pages = nullptr;  ///< newest first
  KFTFaceEntry* next = nullptr;
  KFTFaceEntry* prev = nullptr;

  /// Takes over the caller's reference.
  explicit KFTFaceEntry(KFTSharedFile* mapped) : file(mapped) {}
  /// Frees the pages; the reference is the caller's to drop.
  ~KFTFaceEntry();
  KFTFaceEntry(const KFTFaceEntry&) = delete;
  KFTFaceEntry& operator=(const KFTFaceEntry&) = delete;

  /// Where the glyph index of `code` in the face is kept, on a page made on demand; null when
  /// memory runs out.
  std::uint32_t* Slot(std::uint32_t code, std::int32_t faceIndex);
};

#endif
