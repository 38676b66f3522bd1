// KFTFontFile and KFTSharedFile: font files in memory, mapped once and counted.
#ifndef KALVORA_TEXT_KFTFONTFILE_H
#define KALVORA_TEXT_KFTFONTFILE_H

#include <cstddef>
#include <cstdint>

#include "kalvora/export.h"

/// A font file mapped into memory, read-only. The descriptor stays open as long as the mapping.
class KALVORA_API KFTFontFile {
 public:
  char* path = nullptr;  ///< a copy of its own
  int fd = -1;
  void* data = nullptr;
  std::size_t size = 0;

  KFTFontFile() = default;
  ~KFTFontFile() { Unmap(); }
  KFTFontFile(const KFTFontFile&) = delete;
  KFTFontFile& operator=(const KFTFontFile&) = delete;

  /// Maps the regular file at `path`; on false call Unmap. Nothing but a regular file is mapped,
  /// and opening never waits.
  bool Map(const char* path);
  void Unmap();
};

/// A mapped file and how many hold it: fonts, face entries and cached glyphs, all of one thread.
/// Counted by hand, without locks.
struct KALVORA_API KFTSharedFile {
  std::int32_t refCount = 1;
  KFTFontFile file;
  const std::uint64_t serial = NextSerial();  ///< never 0, never used twice in the process

  void Hold() { ++refCount; }
  /// Gives one reference back; the last one destroys the file.
  void Drop() {
    if (--refCount == 0) delete this;
  }

 private:
  static std::uint64_t NextSerial();
};

#endif
