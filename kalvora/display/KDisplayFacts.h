// KDisplayFacts: what can be told about a display without showing anything on it.
#ifndef KALVORA_DISPLAY_KDISPLAYFACTS_H
#define KALVORA_DISPLAY_KDISPLAYFACTS_H

#include <cstdint>

/// A display as its driver describes it. What is not known is 0.
struct KDisplayFacts {
  char driver[32] = "";       ///< the driver's name
  std::uint32_t width = 0;    ///< pixels
  std::uint32_t height = 0;   ///< pixels
  std::uint32_t bpp = 0;      ///< bits of a pixel
  std::uint32_t buffers = 0;  ///< whole frames that fit into its memory, 3 at most
  bool flips = false;         ///< buffers are shown without copying: by panning or by page flips
  bool hasShadow = false;     ///< drawing goes through a shadow, unless the driver takes 32 bits
};

#endif
