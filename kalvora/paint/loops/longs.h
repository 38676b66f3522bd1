// Longs: vectors of 64-bit words beside those of lanes.h.
#ifndef KALVORA_PAINT_LOOPS_LONGS_H
#define KALVORA_PAINT_LOOPS_LONGS_H

#include "kalvora/paint/loops/lanes.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

#if KALVORA_LANES > 1

// As many words of 64 bits as a vector of pixels has lanes: two vectors hold them, in an order in
// which joining their halves costs least.

typedef std::uint64_t Longs __attribute__((vector_size(4 * KALVORA_LANES)));

/// The low or the high words of all, in the order of the pixels. kFirstPixels and kSecondPixels
/// tell whose the lanes are.
#if KALVORA_LANES == 8
template <int kWhich>
Words JoinWords(Longs a, Longs b) {
  return reinterpret_cast<Words>(
      _mm256_shuffle_ps(reinterpret_cast<__m256>(a), reinterpret_cast<__m256>(b), kWhich));
}
constexpr int kFirstPixels[] = {0, 1, 4, 5}, kSecondPixels[] = {2, 3, 6, 7};
#elif defined(__SSE2__)
template <int kWhich>
Words JoinWords(Longs a, Longs b) {
  return reinterpret_cast<Words>(
      _mm_shuffle_ps(reinterpret_cast<__m128>(a), reinterpret_cast<__m128>(b), kWhich));
}
#endif
#if KALVORA_LANES == 4
constexpr int kFirstPixels[] = {0, 1}, kSecondPixels[] = {2, 3};
#endif
#if defined(__SSE2__)
inline Words LowWords(Longs a, Longs b) { return JoinWords<0x88>(a, b); }
inline Words HighWords(Longs a, Longs b) { return JoinWords<0xDD>(a, b); }
#else
inline Words LowWords(Longs a, Longs b) {
  return vuzpq_u32(reinterpret_cast<Words>(a), reinterpret_cast<Words>(b)).val[0];
}
inline Words HighWords(Longs a, Longs b) {
  return vuzpq_u32(reinterpret_cast<Words>(a), reinterpret_cast<Words>(b)).val[1];
}
#endif

/// Longs from as many addresses.
#if KALVORA_LANES == 8
inline __m128i LoadTwo(const void* a, const void* b) {
  const __m128 first = _mm_castsi128_ps(_mm_loadl_epi64(static_cast<const __m128i*>(a)));
  return _mm_castps_si128(_mm_loadh_pi(first, static_cast<const __m64*>(b)));
}
inline Longs LoadLongs(const std::uint8_t* base, const std::uint32_t* offset, const int* pixels) {
  const auto at = [=](int lane) { return base + offset[pixels[lane]]; };
  const __m256i low = _mm256_castsi128_si256(LoadTwo(at(0), at(1)));
  return reinterpret_cast<Longs>(_mm256_inserti128_si256(low, LoadTwo(at(2), at(3)), 1));
}
#elif defined(__SSE2__)
inline Longs LoadLongs(const std::uint8_t* base, const std::uint32_t* offset, const int* pixels) {
  const auto at = [=](int lane) { return base + offset[pixels[lane]]; };
  const __m128i* low = reinterpret_cast<const __m128i*>(at(0));
  return reinterpret_cast<Longs>(
      _mm_loadh_pi(_mm_castsi128_ps(_mm_loadl_epi64(low)), reinterpret_cast<const __m64*>(at(1))));
}
#else
inline Longs LoadLongs(const std::uint8_t* base, const std::uint32_t* offset, const int* pixels) {
  const auto part = [=](int lane) {
    return vcreate_u64(LoadAs<std::uint64_t>(base + offset[pixels[lane]]));
  };
  return vcombine_u64(part(0), part(1));
}
#endif

#endif

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
