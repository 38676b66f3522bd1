// A loop over one colour and a row of differences (Differences in loops.h): four pixels at a time,
// which is what an edge touches. Widths of more take that of four.
#ifndef KALVORA_PAINT_LOOPS_DIFFERENCES_H
#define KALVORA_PAINT_LOOPS_DIFFERENCES_H

#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/loops.h"

#if KALVORA_LANES > 4
namespace kalvora::sse2 {
extern const Loops kLoops;
}
#endif

namespace kalvora::KALVORA_WIDTH {
namespace {

#if KALVORA_LANES > 4

std::uint32_t MixDifferences(const Differences& row, std::uint32_t c, bool blend) {
  return sse2::kLoops.color.differences(row, c, blend);
}

#else

/// The weights of sums to which half a weight has been added, for both fields.
inline Words BothSums(Words sum) {
  const Ints w = AsInts(sum) >> (Differences::kFullBits - 8);
#if KALVORA_LANES == 1
  return static_cast<Words>(w < 0 ? 0 : w > 256 ? 256 : w);
#elif defined(__SSE2__)
  // The high fields, no bits or all of them, become 0.
  const __m128i held = _mm_max_epi16(reinterpret_cast<__m128i>(w), _mm_setzero_si128());
  return Both(reinterpret_cast<Words>(_mm_min_epi16(held, _mm_set1_epi32(256))));
#else
  return Both(vreinterpretq_u32_s32(vminq_s32(vmaxq_s32(w, vdupq_n_s32(0)), vdupq_n_s32(256))));
#endif
}

/// c, blended or not, by weights.
inline Words MixColor(Words d, Words c, Words both, bool blend) {
  return blend ? Over(d, Scale(c, both)) : Lerp(d, c, both);
}

/// Four pixels. Returns the sum behind them.
inline Words MixFour(std::uint32_t* to, std::uint32_t* line, Words sum, Words c, bool blend) {
#if KALVORA_LANES == 1
#pragma GCC unroll 1
  for (int i = 0; i < 4; ++i) {
    sum += line[i];
    line[i] = 0;
    const Words both = BothSums(sum);
    if (both != 0) to[i] = MixColor(to[i], c, both, blend);
  }
  return sum;
#else
  Words v = Load(line);
  Store(line, Words{});
  v += __builtin_shufflevector(v, Words{}, 4, 0, 1, 2);
  sum += v + __builtin_shufflevector(v, Words{}, 4, 4, 0, 1);
  Store(to, MixColor(Load(to), c, BothSums(sum), blend));
  return __builtin_shufflevector(sum, sum, 3, 3, 3, 3);
#endif
}

inline std::uint32_t FirstLane(Words v) {
#if KALVORA_LANES == 1
  return v;
#else
  return v[0];
#endif
}

std::uint32_t MixDifferences(const Differences& row, std::uint32_t c, bool blend) {
  const int n = row.n;
  std::uint32_t *const to = row.to, *const line = row.line;
  const std::ptrdiff_t stride = row.stride;
  const Words color = All(c);
  Words sum = All(row.start);
  int done = 0;
  for (int word = 0; word <= n >> 7; ++word) {
    std::uint32_t bits = row.touched[word];
    if (bits == 0) continue;
    row.touched[word] = 0;
    for (int at = 128 * word; bits != 0; done = at) {
      const int skipped = __builtin_ctz(bits);
      bits >>= skipped;
      at += 4 * skipped;
      if (done < at) row.alike(row, done, at, FirstLane(sum));
      // An outline goes on nearby in the next row: far from here in memory.
      __builtin_prefetch(to + at + stride, 1);
      do {
        sum = MixFour(to + at, line + at, sum, color, blend);
        at += 4;
        bits >>= 1;
      } while (bits & 1);
    }
  }
  if (done < n) row.alike(row, done, n, FirstLane(sum));
  return FirstLane(sum);
}

#endif

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
