// KPixelLayout: where a device's pixels keep their colours.
#ifndef KALVORA_DISPLAY_PIXELS_KPIXELLAYOUT_H
#define KALVORA_DISPLAY_PIXELS_KPIXELLAYOUT_H

#include <cstdint>

/// The bits of a pixel of up to 32 bits, counted from the lowest. As it is made it is that of the
/// words that the library draws.
struct KPixelLayout {
  struct Channel {
    std::uint8_t shift;
    std::uint8_t bits;
    bool operator==(const Channel&) const = default;
  };
  Channel red{16, 8};
  Channel green{8, 8};
  Channel blue{0, 8};
  std::uint32_t ones = 0;  ///< bits that are always set: an opaque alpha

  bool operator==(const KPixelLayout&) const = default;
  static KPixelLayout Rgb565() { return {{11, 5}, {5, 6}, {0, 5}, 0}; }
  /// Whether the colours lie as in the words that the library draws.
  bool IsOurs() const {
    const KPixelLayout ours;
    return red == ours.red && green == ours.green && blue == ours.blue;
  }
};

#endif
