// The loop over one colour and rows of differences (Differences in loops.h): four pixels at a time,
// which is what an edge touches.
#ifndef KALVORA_PAINT_LOOPS_DIFFERENCES_H
#define KALVORA_PAINT_LOOPS_DIFFERENCES_H

#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

// Four sums or weights, or one where the lanes are single words.
#if KALVORA_LANES == 8
typedef std::uint32_t Sums __attribute__((vector_size(16)));
#else
using Sums = Words;
#endif

/// The weights of sums to which half a weight has been added: 0..256.
inline Sums WeightsOf(Sums sum) {
#if KALVORA_LANES == 1
  const Ints w = AsInts(sum) >> (Differences::kFullBits - 8);
  return static_cast<Words>(w < 0 ? 0 : w > 256 ? 256 : w);
#elif defined(__SSE2__)
  // The high fields, no bits or all of them, become 0.
  const __m128i w = _mm_srai_epi32(reinterpret_cast<__m128i>(sum), Differences::kFullBits - 8);
  const __m128i held = _mm_max_epi16(w, _mm_setzero_si128());
  return reinterpret_cast<Sums>(_mm_min_epi16(held, _mm_set1_epi32(256)));
#else
  const Ints w = AsInts(sum) >> (Differences::kFullBits - 8);
  return vreinterpretq_u32_s32(vminq_s32(vmaxq_s32(w, vdupq_n_s32(0)), vdupq_n_s32(256)));
#endif
}

#if KALVORA_LANES > 1
/// The sums of the first one, two, three, four.
inline Sums RunningSums(Sums v) {
#if defined(__SSE2__)
  v += reinterpret_cast<Sums>(_mm_slli_si128(reinterpret_cast<__m128i>(v), 4));
  return v + reinterpret_cast<Sums>(_mm_slli_si128(reinterpret_cast<__m128i>(v), 8));
#else
  v += vextq_u32(Sums{}, v, 3);
  return v + vextq_u32(Sums{}, v, 2);
#endif
}

/// The last one in all places.
inline Sums SpreadLast(Sums v) {
#if defined(__SSE2__)
  return reinterpret_cast<Sums>(_mm_shuffle_epi32(reinterpret_cast<__m128i>(v), 0xFF));
#else
  return vdupq_lane_u32(vget_high_u32(v), 1);
#endif
}
#endif

inline std::uint32_t FirstOf(Sums v) {
#if KALVORA_LANES == 1
  return v;
#else
  return v[0];
#endif
}

#if KALVORA_LANES == 8
using Pixels4 = __m128i;
#else
using Pixels4 = Words;
#endif

/// A colour that is blended, or not, into pixels by weights.
class ColorMixer {
 public:
#if KALVORA_LANES == 8
  ColorMixer(std::uint32_t color, bool blend)
      : blend_(blend), color_(_mm256_cvtepu8_epi16(_mm_set1_epi32(static_cast<int>(color)))) {}

  /// Four pixels, their channels in fields of 16 bits.
  Pixels4 operator()(Pixels4 pixels, Sums weights) const {
    // Of a vector of two pixels, the first field of each in all of its four.
    const __m256i kSpread =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 8, 9, 8, 9, 8, 9, 8, 9));
    return Mixed(pixels, _mm256_shuffle_epi8(
                             _mm256_cvtepu32_epi64(reinterpret_cast<__m128i>(weights)), kSpread));
  }
  /// The same by weights of 16 bits.
  Pixels4 operator()(Pixels4 pixels, std::uint64_t weights) const {
    const __m256i kSpread = _mm256_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3,  //
                                             4, 5, 4, 5, 4, 5, 4, 5, 6, 7, 6, 7, 6, 7, 6, 7);
    return Mixed(pixels,
                 _mm256_shuffle_epi8(_mm256_set1_epi64x(static_cast<long long>(weights)), kSpread));
  }

 private:
  // A weight in each field.
  Pixels4 Mixed(Pixels4 pixels, __m256i w) const {
    const __m256i d = _mm256_cvtepu8_epi16(pixels);
    if (__builtin_expect(blend_, false)) {
      const __m256i s = _mm256_srli_epi16(_mm256_mullo_epi16(color_, w), 8);
      const __m256i a = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(s, 0xFF), 0xFF);
      const __m256i rest =
          _mm256_sub_epi16(_mm256_set1_epi16(256), _mm256_add_epi16(a, _mm256_srli_epi16(a, 7)));
      const __m256i kept = _mm256_srli_epi16(_mm256_mullo_epi16(d, rest), 8);
      return _mm_add_epi32(Pack(kept), Pack(s));
    }
    const __m256i change = _mm256_mullo_epi16(_mm256_sub_epi16(color_, d), w);
    return Pack(_mm256_srli_epi16(_mm256_add_epi16(_mm256_slli_epi16(d, 8), change), 8));
  }
  static __m128i Pack(__m256i fields) {
    return _mm_packus_epi16(_mm256_castsi256_si128(fields), _mm256_extracti128_si256(fields, 1));
  }

  bool blend_;
  __m256i color_;
#else
  ColorMixer(std::uint32_t color, bool blend) : blend_(blend), color_(All(color)) {}

  /// Four pixels, or one.
  Pixels4 operator()(Pixels4 d, Words weights) const {
    const Words both = Both(weights);
    return __builtin_expect(blend_, false) ? Over(d, Scale(color_, both)) : Lerp(d, color_, both);
  }

 private:
  bool blend_;
  Words color_;
#endif
};

#if KALVORA_LANES == 8 || defined(__ARM_NEON)
#define KALVORA_MIX_FOUR inline
#else
#define KALVORA_MIX_FOUR [[gnu::noinline]]
#endif

/// Four pixels. Returns the sum behind them.
KALVORA_MIX_FOUR Sums MixFour(std::uint32_t* to, std::uint32_t* line, Sums sum,
                              const ColorMixer& mix) {
#if KALVORA_LANES == 1
#pragma GCC unroll 1
  for (int i = 0; i < 4; ++i) {
    sum += line[i];
    line[i] = 0;
    const Words weight = WeightsOf(sum);
    if (weight != 0) to[i] = mix(to[i], weight);
  }
  return sum;
#else
  sum += RunningSums(LoadAs<Sums>(line));
  const Sums none{};
  __builtin_memcpy(line, &none, sizeof none);
  const Pixels4 mixed = mix(LoadAs<Pixels4>(to), WeightsOf(sum));
  __builtin_memcpy(to, &mixed, sizeof mixed);
  return SpreadLast(sum);
#endif
}

#undef KALVORA_MIX_FOUR

/// The first n of four pixels, 0..3. `line` has words for all of them.
[[gnu::noinline]] void MixRest(std::uint32_t* to, std::uint32_t* line, int n, std::uint32_t sum,
                               const ColorMixer& mix) {
#if KALVORA_LANES == 8
  const Sums sums = RunningSums(LoadAs<Sums>(line)) + sum;
  const Sums none{};
  __builtin_memcpy(line, &none, sizeof none);
  const __m128i mask = _mm_cmpgt_epi32(_mm_set1_epi32(n), _mm_setr_epi32(0, 1, 2, 3));
  auto* const pixels = reinterpret_cast<int*>(to);
  _mm_maskstore_epi32(pixels, mask, mix(_mm_maskload_epi32(pixels, mask), WeightsOf(sums)));
#else
  std::uint32_t few[4] = {};
  for (int i = 0; i < n; ++i) few[i] = to[i];
  MixFour(few, line, Sums{} + sum, mix);
  for (int i = 0; i < n; ++i) to[i] = few[i];
#endif
}

// Up to how many solid pixels between two edges are stored here.
constexpr int kFewSolid = 8 * kLanes;

/// 1 to kFewSolid words. Stores overlap, rather than that a loop ends nobody knows when.
#if KALVORA_LANES == 1
inline void FillFew(std::uint32_t* to, int n, std::uint32_t color) {
#pragma GCC unroll 1
  for (int i = 0; i < n; ++i) to[i] = color;
}
#else
[[gnu::noinline]] void FillMore(std::uint32_t* to, std::uint32_t* last, int n, Words c) {
  Store(to + kLanes, c);
  Store(last - kLanes, c);
  if (n <= 4 * kLanes) return;
  Store(to + 2 * kLanes, c);
  Store(to + 3 * kLanes, c);
  Store(last - 2 * kLanes, c);
  Store(last - 3 * kLanes, c);
}

inline void FillFew(std::uint32_t* to, int n, std::uint32_t color) {
  const Words c = All(color);
  if (n < kLanes) {
#if KALVORA_LANES == 8
    return Part(n).Store(to, c);
#else
    if (n & 2) Part<2>{}.Store(to, c);
    if (n & 1) Part<1>{}.Store(to + n - 1, c);
    return;
#endif
  }
  std::uint32_t* const last = to + n - kLanes;
  Store(to, c);
  Store(last, c);
  if (n > 2 * kLanes) FillMore(to, last, n, c);
}
#endif

/// What is the same in every row.
class RowMixer {
 public:
  explicit RowMixer(const Differences& rows)
      : rows_(rows),
        mix_(rows.color, rows.blend != 0),
        color_(rows.color),
        start_(rows.start),
        stride_(rows.stride),
        n_(rows.n) {}

  /// By bits.
  void operator()(std::uint32_t* to, std::uint32_t* line, std::uint32_t* touched) const {
    // Of the last four columns the row may have less.
    const int whole = n_ & ~3;
    const std::uint32_t lastBit = std::uint32_t{1} << (whole >> 2 & 31);
    const bool hasLast = (touched[whole >> 7] & lastBit) != 0;
    if (hasLast) touched[whole >> 7] ^= lastBit;
    std::uint32_t sum = start_;
    int done = 0;
    for (int word = 0; word <= n_ >> 7; ++word) {
      std::uint32_t bits = touched[word];
      if (bits == 0) continue;
      touched[word] = 0;
      for (int at = 128 * word; bits != 0; done = at) {
        const int skipped = __builtin_ctz(bits);
        bits >>= skipped;
        at += 4 * skipped;
        if (done < at) Between(to + done, at - done, sum);
        Prefetch(to + at);
        Sums sums = Sums{} + sum;
        do {
          sums = MixFour(to + at, line + at, sums, mix_);
          at += 4;
          bits >>= 1;
#if KALVORA_LANES == 8
          // Whether an edge touches four pixels or eight nobody foresees: eight are mixed, within
          // those that share a word of marks.
          if (at < whole && (at & 127) != 0) {
            sums = MixFour(to + at, line + at, sums, mix_);
            at += 4;
            bits >>= 1;
          }
#endif
        } while (bits & 1);
        sum = FirstOf(sums);
      }
    }
    const int end = hasLast ? whole : n_;
    Alike(to + done, end - done, sum);
    if (hasLast) MixRest(to + whole, line + whole, n_ - whole, sum, mix_);
  }

  /// By ranges.
  void operator()(std::uint32_t* to, std::uint32_t* line, const std::int32_t* ranges,
                  const std::int32_t* end) const {
    std::uint32_t sum = start_;
    int done = 0;
    for (; ranges != end; ranges += 2) {
      int at = ranges[0] < done ? done : ranges[0];
      if (at >= ranges[1]) continue;
      if (done < at) Between(to + done, at - done, sum);
      Prefetch(to + at);
      Sums sums = Sums{} + sum;
      do {
        if (at + 4 > n_) return MixRest(to + at, line + at, n_ - at, FirstOf(sums), mix_);
        sums = MixFour(to + at, line + at, sums, mix_);
        at += 4;
      } while (at < ranges[1]);
      sum = FirstOf(sums);
      done = at;
    }
    Alike(to + done, n_ - done, sum);
    line[n_] = 0;
  }

 private:
  // An outline goes on nearby in the next row: far from here in memory.
  void Prefetch(const std::uint32_t* to) const { __builtin_prefetch(to + stride_, 1); }

  static std::int32_t WeightOf(std::uint32_t sum) {
    return static_cast<std::int32_t>(sum) >> (Differences::kFullBits - 8);
  }
  // Pixels that are all alike: behind the last edge, and between two.
  void Alike(std::uint32_t* to, int n, std::uint32_t sum) const {
    if (n > 0 && WeightOf(sum) > 0) rows_.alike(rows_, to, n, WeightOf(sum));
  }
  void Between(std::uint32_t* to, int n, std::uint32_t sum) const {
    if (WeightOf(sum) >= 256 && n <= kFewSolid && !rows_.blend) return FillFew(to, n, color_);
    Alike(to, n, sum);
  }

  const Differences& rows_;
  ColorMixer mix_;
  std::uint32_t color_, start_;
  std::ptrdiff_t stride_;
  int n_;
};

#if KALVORA_LANES > 1
constexpr int kNarrow = 12;

/// Rows of up to kNarrow pixels: which of them an edge touches nobody foresees, so all are mixed.
void MixNarrow(const Differences& rows) {
  const ColorMixer mix(rows.color, rows.blend != 0);
  const int n = rows.n, whole = n & ~3;
  std::uint32_t *line = rows.line, *touched = rows.touched;
  for (int i = 0; i < rows.rows; ++i) {
    std::uint32_t* const to = rows.to + rows.stride * rows.y[i];
    Sums sum = Sums{} + rows.start;
    for (int at = 0; at < whole; at += 4) sum = MixFour(to + at, line + at, sum, mix);
    if (whole < n) {
      MixRest(to + whole, line + whole, n - whole, FirstOf(sum), mix);
    } else {
      line[n] = 0;
    }
    *touched = 0;
    line += rows.lineStride;
    touched += rows.lineStride;
  }
}
#endif

void MixDifferences(const Differences& rows) {
#if KALVORA_LANES > 1
  if (rows.n <= kNarrow) return MixNarrow(rows);
#endif
  const RowMixer mixRow(rows);
  const std::ptrdiff_t stride = rows.stride, lineStride = rows.lineStride;
  std::uint32_t *line = rows.line, *touched = rows.touched;
  const std::int32_t* ranges = rows.ranges;
  for (int i = 0; i < rows.rows; ++i) {
    std::uint32_t* const to = rows.to + stride * rows.y[i];
    const std::int32_t edges = rows.edges[i];
    if (edges < 0) {
      mixRow(to, line, touched);
    } else {
      mixRow(to, line, ranges, ranges + 2 * edges);
      ranges += 2 * edges;
    }
    line += lineStride;
    touched += lineStride;
  }
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
