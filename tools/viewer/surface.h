// The shared-memory surface, as somebody who only looks at it sees it.
#ifndef KALVORA_TOOLS_VIEWER_SURFACE_H
#define KALVORA_TOOLS_VIEWER_SURFACE_H

#include <cstdint>
#include <string>

#include "kalvora/display/KShmem.h"

/// Attaches the segment that a display of kind 5 made, to read. Never makes one.
class Surface {
 public:
  static constexpr unsigned kWidth = KShmem::kWidth;
  static constexpr unsigned kHeight = KShmem::kHeight;
  static constexpr unsigned kStride = KShmem::kStride;

  Surface();
  ~Surface();
  Surface(const Surface&) = delete;
  Surface& operator=(const Surface&) = delete;

  /// First pixel, or null: then Problem() says why.
  const std::uint8_t* Pixels() const { return pixels; }
  const std::string& Problem() const { return problem; }
  /// Differs, but for rare accidents, when the picture does.
  std::uint64_t Hash() const;

 private:
  const std::uint8_t* pixels = nullptr;
  std::string problem;
};

#endif
