// The frame-rate digits that a display draws into its frames.
#ifndef KALVORA_DISPLAY_FLIP_DIGITS_H
#define KALVORA_DISPLAY_FLIP_DIGITS_H

#include <cstdint>

namespace kalvora {

/// A picture of pixels of whole bytes.
struct DigitTarget {
  std::uint8_t* pixels;
  std::uint32_t width, height, stride, bytesPerPixel;
};

/// Draws the last three decimal digits of `value` (below 0 counts as 0) side by side into the lower
/// left corner, 4 x 5 pixels each. Digits that do not fit on the picture are left out.
void DrawNumber(const DigitTarget& target, int value);

}  // namespace kalvora

#endif
