// KColor32: one 8-bit-a-channel colour, and its word 0xAARRGGBB.
#ifndef KALVORA_CORE_KCOLOR32_H
#define KALVORA_CORE_KCOLOR32_H

#include <cstdint>

#include "kalvora/core/KFixed.h"
#include "kalvora/export.h"

/// A colour of four 8-bit channels. In memory the order is blue, green, red, alpha; as a word it is
/// 0xAARRGGBB. Whether it is straight or premultiplied is the user's affair: the setters of the
/// drawing context take straight colours, pixels and gradient stops are premultiplied.
struct KALVORA_API KColor32 {
  std::uint8_t blue;   ///< 0 to 255
  std::uint8_t green;  ///< 0 to 255
  std::uint8_t red;    ///< 0 to 255
  std::uint8_t alpha;  ///< 0 transparent, 255 opaque

  KColor32() = default;
  /// Keeps the low byte of each argument.
  constexpr KColor32(unsigned r, unsigned g, unsigned b, unsigned a)
      : blue(static_cast<std::uint8_t>(b)),
        green(static_cast<std::uint8_t>(g)),
        red(static_cast<std::uint8_t>(r)),
        alpha(static_cast<std::uint8_t>(a)) {}

  static constexpr KColor32 FromWord(std::uint32_t word) {  ///< 0xAARRGGBB
    return {word >> 16, word >> 8, word, word >> 24};
  }
  constexpr std::uint32_t Word() const {  ///< 0xAARRGGBB
    return std::uint32_t{alpha} << 24 | std::uint32_t{red} << 16 | std::uint32_t{green} << 8 | blue;
  }
  constexpr bool operator==(const KColor32&) const = default;

  /// Colour channels times alpha: c a' >> 8 with a' = alpha + 1 above 128, else alpha. Alpha 255
  /// changes nothing.
  KColor32 PreMultiply() const;
  /// All four channels times w / 256, truncated; w is 0..256.
  KColor32 Weight(unsigned w) const;
  /// Each channel as a whole KFixed, 0..255.
  void GetColor(KFixed& r, KFixed& g, KFixed& b, KFixed& a) const;
  void GetColor(KFixed& r, KFixed& g, KFixed& b) const;
  /// Each channel scaled to 0..1: channel x 257, so that 255 is raw 65535.
  void GetNormalizedColor(KFixed& r, KFixed& g, KFixed& b, KFixed& a) const;
};

#endif
