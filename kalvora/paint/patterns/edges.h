// Edge columns of blocks with a pattern: pixels of one coverage.
#ifndef KALVORA_PAINT_PATTERNS_EDGES_H
#define KALVORA_PAINT_PATTERNS_EDGES_H

#include <cstdint>

#include "kalvora/core/channels.h"

namespace kalvora {

/// How a sample gets into the target at a coverage, in the words of loops.h. In plain words: a
/// vector of one pixel waits until the pixel that was just stored has left for memory.
struct EdgePut {
  bool blend;
  std::uint32_t opacity;  ///< by which the sample is scaled at first, or 256
  std::uint32_t weight;

  std::uint32_t operator()(std::uint32_t d, std::uint32_t sample) const {
    const std::uint32_t s = Scale(sample, opacity);
    return blend ? Over(d, Scale(s, weight)) : Lerp(d, s, weight);
  }
  static std::uint32_t Weight(std::int32_t coverage) {
    return (static_cast<std::uint32_t>(coverage) + 128) >> 8;
  }
  static std::uint32_t Weight(std::int32_t coverage, std::int32_t opacity) {
    return static_cast<std::uint32_t>(coverage) * static_cast<std::uint32_t>(opacity) >> 16;
  }
};

}  // namespace kalvora

#endif
