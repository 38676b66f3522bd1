// The shared-memory surface, as somebody who only looks at it sees it.
#ifndef KALVORA_TOOLS_VIEWER_SURFACE_H
#define KALVORA_TOOLS_VIEWER_SURFACE_H

#include <cstdint>

#include "kalvora/display/screens/KShmem.h"

/// Attaches the segment that a display of kind 5 made, to read. Never makes one.
class Surface {
 public:
  static constexpr unsigned kWidth = KShmem::kWidth;
  static constexpr unsigned kHeight = KShmem::kHeight;
  static constexpr unsigned kStride = KShmem::kStride;

  Surface() = default;
  ~Surface();
  Surface(const Surface&) = delete;
  Surface& operator=(const Surface&) = delete;

  /// Looks for the surface, and for one that was made anew: true when Pixels() has changed. Throws
  /// examples::Error when there is one that cannot be read.
  bool Find();
  /// First pixel, or null while there is no surface.
  const std::uint8_t* Pixels() const { return pixels; }
  /// Whether some program has the surface open, too.
  bool IsDrawnOn() const;
  /// Differs, but for rare accidents, when the picture does; 0 while there is none.
  std::uint64_t Hash() const;

 private:
  int id = -1;
  const std::uint8_t* pixels = nullptr;
};

#endif
