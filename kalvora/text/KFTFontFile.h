// KFTFontFile and KFTSharedFile: font files in memory, counted.
#ifndef KALVORA_TEXT_KFTFONTFILE_H
#define KALVORA_TEXT_KFTFONTFILE_H

#include <cstddef>
#include <cstdint>

#include "kalvora/export.h"
#include "kalvora/support/KError.h"

/// A font file mapped into memory, read-only, or memory of the caller's that holds one. The
/// descriptor stays open as long as the mapping.
class KALVORA_API KFTFontFile {
 public:
  char* path = nullptr;  ///< a copy of its own; null for memory of the caller's
  int fd = -1;
  const void* data = nullptr;
  std::size_t size = 0;

  KFTFontFile() = default;
  ~KFTFontFile() { Unmap(); }
  KFTFontFile(const KFTFontFile&) = delete;
  KFTFontFile& operator=(const KFTFontFile&) = delete;

  /// Maps the regular file at `path`; on false call Unmap, and `why`, if not null, has the reason.
  /// Nothing but a regular file is mapped, and opening never waits.
  bool Map(const char* path, KError* why = nullptr);
  /// Takes memory that the caller keeps as it is until Unmap.
  void Borrow(const void* memory, std::size_t bytes);
  /// Whether this is what Borrow took.
  bool Borrows(const void* memory, std::size_t bytes) const {
    return !path && data == memory && size == bytes;
  }
  void Unmap();

  bool IsAt(const char* otherPath) const;
  /// For messages.
  const char* Name() const { return path ? path : "(memory)"; }
};

/// A file in memory and how many hold it: fonts, face entries and cached glyphs, all of one thread.
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
