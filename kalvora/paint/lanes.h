// Four pixels at a time, on processors that have registers for it.
//
// The functions carry the names of channels.h and give the same results, lane by lane, so that a
// loop is written once: Pixels(to, n, f) calls f for four pixels or for one, whichever fits.
// Compilers know these vectors on every processor, but take them apart where there are no such
// registers, and then one pixel at a time is faster.
#ifndef KALVORA_PAINT_LANES_H
#define KALVORA_PAINT_LANES_H

#include <cstdint>
#include <cstring>

#include "kalvora/core/channels.h"

#if defined(__SSE2__) || defined(__ARM_NEON)
#define KALVORA_LANES 1
#else
#define KALVORA_LANES 0
#endif

namespace kalvora {

typedef std::uint32_t Words4 __attribute__((vector_size(16)));
typedef std::int32_t Ints4 __attribute__((vector_size(16)));
typedef std::uint16_t Fields8 __attribute__((vector_size(16)));  ///< two 16-bit fields a word

/// The word, or four of them, at p.
template <typename V>
V Load(const void* p) {
  V v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

/// The same word in every lane.
template <typename V>
V All(std::uint32_t word) {
  return V{} + word;
}

template <typename V>
void Store(std::uint32_t* p, V v) {
  std::memcpy(p, &v, sizeof v);
}

/// start, start + step, start + 2 step, start + 3 step. Wraps.
inline Words4 Series(std::uint32_t start, std::uint32_t step) {
  return Words4{0, 1, 2, 3} * step + start;
}

/// Both fields of each word times the weight w, 0..256.
inline Words4 Times(Words4 fields, Words4 w) {
  return reinterpret_cast<Words4>(reinterpret_cast<Fields8>(fields) *
                                  reinterpret_cast<Fields8>(w | w << 16));
}

/// c' = floor(c w / 256)
inline Words4 Scale(Words4 p, Words4 w) {
  constexpr std::uint32_t m = KStripsMask_00FF00FF;
  return (Times(p & m, w) >> 8 & m) | (Times(p >> 8 & m, w) & ~m);
}

inline Words4 AlphaWeight(Words4 p) { return (p >> 24) + (p >> 31); }

inline Words4 MaskWeight(Words4 m) { return m - reinterpret_cast<Words4>(m > 128); }

/// Dca' = Sca + Dca (1 - Sa)
inline Words4 Over(Words4 d, Words4 s) { return Scale(d, 256 - AlphaWeight(s)) + s; }

/// d' = floor((256 d + (c - d) w) / 256). Each field is formed modulo 2^16, which holds the result.
inline Words4 Lerp(Words4 d, Words4 c, Words4 w) {
  constexpr std::uint32_t m = KStripsMask_00FF00FF;
  const auto fields = [](Words4 v) { return reinterpret_cast<Fields8>(v); };
  const Words4 lo = reinterpret_cast<Words4>(
      fields((d & m) << 8) +
      fields(Times(reinterpret_cast<Words4>(fields(c & m) - fields(d & m)), w)));
  const Words4 hi = reinterpret_cast<Words4>(
      fields(d & ~m) +
      fields(Times(reinterpret_cast<Words4>(fields(c >> 8 & m) - fields(d >> 8 & m)), w)));
  return (lo >> 8 & m) | (hi & ~m);
}

/// to[i] = f(to[i], i) for i = 0..n - 1. f is called with a Words4 for pixels i to i + 3, or with
/// one word.
template <typename F>
void Pixels(std::uint32_t* to, int n, F f) {
  int i = 0;
#if KALVORA_LANES
  for (; i + 4 <= n; i += 4) Store(to + i, f(Load<Words4>(to + i), i));
#endif
  for (; i < n; ++i) to[i] = f(to[i], i);
}

}  // namespace kalvora

#endif
