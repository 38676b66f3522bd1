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

std::uint32_t MixDifferences(const Differences& row) { return sse2::kLoops.color.differences(row); }

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

#if KALVORA_LANES == 4
/// The sums of the first one, two, three, four lanes.
inline Words RunningSums(Words v) {
#if defined(__SSE2__)
  v += reinterpret_cast<Words>(_mm_slli_si128(reinterpret_cast<__m128i>(v), 4));
  return v + reinterpret_cast<Words>(_mm_slli_si128(reinterpret_cast<__m128i>(v), 8));
#else
  v += vextq_u32(Words{}, v, 3);
  return v + vextq_u32(Words{}, v, 2);
#endif
}

/// The last lane in all of them.
inline Words SpreadLast(Words v) {
#if defined(__SSE2__)
  return reinterpret_cast<Words>(_mm_shuffle_epi32(reinterpret_cast<__m128i>(v), 0xFF));
#else
  return vdupq_lane_u32(vget_high_u32(v), 1);
#endif
}
#endif

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
  sum += RunningSums(Load(line));
  Store(line, Words{});
  Store(to, MixColor(Load(to), c, BothSums(sum), blend));
  return SpreadLast(sum);
#endif
}

inline std::uint32_t FirstLane(Words v) {
#if KALVORA_LANES == 1
  return v;
#else
  return v[0];
#endif
}

// Up to how many solid pixels between blocks are stored here.
constexpr int kFewSolid = 48;

/// Whole fours.
inline void FillFours(std::uint32_t* to, const std::uint32_t* end, Words c) {
  do {
    for (int i = 0; i < 4; i += kLanes) Store(to + i, c);
    to += 4;
  } while (to != end);
}

std::uint32_t MixDifferences(const Differences& row) {
  const int n = row.n;
  const bool blend = row.blend != 0;
  std::uint32_t *const to = row.to, *const line = row.line;
  const std::ptrdiff_t stride = row.stride;
  const Words color = All(row.color);
  Words sum = All(row.start);
  int done = 0;
  const auto weightNow = [&] {
    return static_cast<std::int32_t>(FirstLane(sum)) >> (Differences::kFullBits - 8);
  };
  for (int word = 0; word <= n >> 7; ++word) {
    std::uint32_t bits = row.touched[word];
    if (bits == 0) continue;
    row.touched[word] = 0;
    for (int at = 128 * word; bits != 0; done = at) {
      const int skipped = __builtin_ctz(bits);
      bits >>= skipped;
      at += 4 * skipped;
      const std::int32_t weight = weightNow();
      if (weight > 0 && done < at) {
        if (weight >= 256 && at - done <= kFewSolid && !blend) {
          FillFours(to + done, to + at, color);
        } else {
          row.alike(row, done, at, weight);
        }
      }
      // An outline goes on nearby in the next row: far from here in memory.
      __builtin_prefetch(to + at + stride, 1);
      do {
        sum = MixFour(to + at, line + at, sum, color, blend);
        at += 4;
        bits >>= 1;
      } while (bits & 1);
    }
  }
  if (done < n && weightNow() > 0) row.alike(row, done, n, weightNow());
  return FirstLane(sum);
}

#endif

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
