// Two-channel pixel arithmetic: the formulas that every filler is made of.
//
// A pixel is one word 0xAARRGGBB of premultiplied channels. Two channels at a time lie in the
// 16-bit halves of a word, masked by 0x00FF00FF, so that one multiplication by a weight of 0..256
// scales both: 255 x 256 still fits 16 bits. Results are truncated. For weights and premultiplied
// colours in their range no channel touches its neighbour; other input only gives odd colours,
// since everything is computed modulo 2^32.
#ifndef KALVORA_CORE_CHANNELS_H
#define KALVORA_CORE_CHANNELS_H

#include <cstdint>

/// Selects two 8-bit channels in 16-bit fields.
inline constexpr std::uint32_t KStripsMask_00FF00FF = 0x00FF00FF;

namespace kalvora {

/// Blue and red.
constexpr std::uint32_t Lo(std::uint32_t p) { return p & KStripsMask_00FF00FF; }
/// Green and alpha.
constexpr std::uint32_t Hi(std::uint32_t p) { return p >> 8 & KStripsMask_00FF00FF; }
/// p = l | h << 8, each field cut to 8 bits.
constexpr std::uint32_t Pack(std::uint32_t l, std::uint32_t h) { return Lo(l) | Lo(h) << 8; }

/// c' = floor(c w / 256) in each channel; w = 0..256.
constexpr std::uint32_t Scale(std::uint32_t p, std::uint32_t w) {
  return ((Lo(p) * w) >> 8 & KStripsMask_00FF00FF) | ((Hi(p) * w) & ~KStripsMask_00FF00FF);
}

/// The weight of a colour's alpha a: a + 1 from 128 up, else a; so 0..256.
constexpr std::uint32_t AlphaWeight(std::uint32_t p) { return (p >> 24) + (p >> 31); }

/// The weight of a mask byte m: m + 1 above 128, else m. The threshold is one higher than that of
/// AlphaWeight.
constexpr std::uint32_t MaskWeight(std::uint32_t m) { return m + (m > 128); }

/// Dca' = Sca + Dca (1 - Sa), one 32-bit addition for all channels.
constexpr std::uint32_t Over(std::uint32_t d, std::uint32_t s) {
  return Scale(d, 256 - AlphaWeight(s)) + s;
}

/// d' = d + floor((c - d) w / 256) in each channel; w = 0..256.
///
/// Formed as floor((256 d + (c - d) w) / 256): two fields in one difference borrow from each other,
/// and give it back with the sum, each of whose fields lies in 0..0xFF00.
constexpr std::uint32_t Lerp(std::uint32_t d, std::uint32_t c, std::uint32_t w) {
  constexpr std::uint32_t m = KStripsMask_00FF00FF;
  const std::uint32_t lo = (Lo(d) << 8) + (Lo(c) - Lo(d)) * w;
  const std::uint32_t hi = (d & ~m) + (Hi(c) - Hi(d)) * w;
  return (lo >> 8 & m) | (hi & ~m);
}

}  // namespace kalvora

#endif
