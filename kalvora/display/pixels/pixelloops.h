// The loops that turn words into a device's pixels, compiled once for each instruction set.
#ifndef KALVORA_DISPLAY_PIXELS_PIXELLOOPS_H
#define KALVORA_DISPLAY_PIXELS_PIXELLOOPS_H

#include <cstddef>
#include <cstdint>

#include "kalvora/display/pixels/KPixelLayout.h"

namespace kalvora {

/// What a loop needs to know of a device.
struct PixelStyle {
  static constexpr unsigned kStep = 16;  ///< pixels that are made in one go

  KPixelLayout layout;
  /// What is added to the channels before they are cut off, 0x00RRGGBB, for each row of the
  /// pattern; as long as a step that begins anywhere in the pattern.
  std::uint32_t noise[4][kStep + 3];
};

/// Writes `count` pixels from the device's column x of row y on.
using PixelLoop = void(const PixelStyle& style, void* to, const std::uint32_t* from, unsigned count,
                       unsigned x, unsigned y);

/// Gathers a tile of `columns` x `rows` words, whose rows are `pitch` apart: a step to the right
/// goes `right` words on in `from`, a step down `down` words. One of them is 1 or -1.
using TurnLoop = void(std::uint32_t* tile, std::size_t pitch, int columns, int rows,
                      const std::uint32_t* from, std::ptrdiff_t right, std::ptrdiff_t down);

/// The loops of one instruction set. All sets write the same.
struct PixelLoops {
  const char* name;
  PixelLoop* to565;  ///< 16 bits, red highest, without alpha
  PixelLoop* to16;   ///< any other 16 bits
  PixelLoop* to32;
  PixelLoop* pack;  ///< three bytes: words without their highest, whatever the style is
  TurnLoop* turn;
};

/// Those that any processor of the build's kind runs, and those for wide vectors (null where there
/// are none, or where this processor does not have them).
const PixelLoops& PlainPixelLoops();
const PixelLoops* WidePixelLoops();

}  // namespace kalvora

#endif
