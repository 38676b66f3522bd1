// The digits' shapes, and drawing them.
#include "kalvora/display/flip/digits.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kalvora {
namespace {

constexpr unsigned kDigitWidth = 4;
constexpr unsigned kDigitHeight = 5;
constexpr unsigned kDigitCount = 3;

// Ten digits side by side, one row of all of them a line.
constexpr char Numbers[kDigitHeight][64] = {
    "@@@  @  @@  @@  @ @ @@@  @  @@@ @@@ @@@ ", "@ @ @@    @   @ @ @ @   @     @ @ @ @ @ ",
    "@ @  @  @@@ @@  @@@  @  @@   @@ @@@  @@ ", "@ @  @  @     @   @   @ @ @   @ @ @   @ ",
    "@@@ @@@ @@@ @@    @ @@  @@@   @ @@@ @@  ",
};

void DrawDigit(const DigitTarget& target, unsigned left, unsigned top, unsigned digit) {
  for (unsigned y = 0; y < kDigitHeight; ++y) {
    std::uint8_t* pixel = target.pixels + std::size_t{target.stride} * (top + y) +
                          std::size_t{target.bytesPerPixel} * left;
    for (unsigned x = 0; x < kDigitWidth; ++x, pixel += target.bytesPerPixel) {
      const bool ink = Numbers[y][digit * kDigitWidth + x] != ' ';
      std::memset(pixel, ink ? 0xFF : 0x00, target.bytesPerPixel);
    }
  }
}

}  // namespace

void DrawNumber(const DigitTarget& target, int value) {
  if (target.height < kDigitHeight) return;
  unsigned rest = static_cast<unsigned>(std::max(value, 0));
  for (unsigned position = kDigitCount; position-- > 0; rest /= 10) {
    const unsigned left = kDigitWidth * position;
    if (left + kDigitWidth <= target.width) {
      DrawDigit(target, left, target.height - kDigitHeight, rest % 10);
    }
  }
}

}  // namespace kalvora
