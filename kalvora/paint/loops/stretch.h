// Loops of stretched patterns (StretchLoops in loops.h).
#ifndef KALVORA_PAINT_LOOPS_STRETCH_H
#define KALVORA_PAINT_LOOPS_STRETCH_H

#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/longs.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

/// A vector of pixels and those behind them in memory.
struct Pairs {
  Words left, right;

  Pairs(Words l, Words r) : left(l), right(r) {}
  Pairs(const std::uint8_t* row, const std::uint32_t* offset) {
#if KALVORA_LANES > 1
    const Longs first = LoadLongs(row, offset, kFirstPixels);
    const Longs second = LoadLongs(row, offset, kSecondPixels);
    left = LowWords(first, second);
    right = HighWords(first, second);
#else
    left = Load(row + offset[0]);
    right = Load(row + offset[0] + sizeof(std::uint32_t));
#endif
  }
};

void MixAcross(std::uint32_t* out, int n, const std::uint8_t* row, const std::uint32_t* offset,
               const std::uint32_t* weight) {
  int i = 0;
  const auto put = [&](const Pairs& pairs) {
    Store(out + i, Lerp(pairs.left, pairs.right, Both(Load(weight + i))));
  };
#if KALVORA_LANES == 8
  // Pairs that lie in nine pixels, of which none is behind the last pair, come by permutations.
  const std::uint32_t end = n > 0 ? offset[n - 1] : 0;
  for (; i + kLanes <= n; i += kLanes) {
    const std::uint32_t first = offset[i], span = offset[i + kLanes - 1] - first;
    const auto index = reinterpret_cast<__m256i>((Load(offset + i) - first) >> 2);
    const auto eight = [=](std::uint32_t bytes) {
      return _mm256_permutevar8x32_epi32(LoadAs<__m256i>(row + bytes), index);
    };
    if (span <= 28 && first + 28 <= end) {
      put(Pairs(reinterpret_cast<Words>(eight(first)), reinterpret_cast<Words>(eight(first + 4))));
    } else {
      put(Pairs(row, offset + i));
    }
  }
#endif
  for (; i < n; i += kLanes) put(Pairs(row, offset + i));
}

void MixDown(std::uint32_t* to, int n, const std::uint32_t* a, const std::uint32_t* b,
             std::uint32_t weight) {
  const Words both = Both(All(weight));
  Pixels(to, n, [=](Words, auto at) { return Lerp(at(a), at(b), both); });
}

// Bicubic: channels as words, four a pixel. -------------------------------------------------------

#if KALVORA_LANES == 8
/// Four words from both halves of a vector, added up.
inline __m128i AddHalves(Words v) {
  const auto both = reinterpret_cast<__m256i>(v);
  return _mm_add_epi32(_mm256_castsi256_si128(both), _mm256_extracti128_si256(both, 1));
}
#endif

void CubicAcross(std::int32_t* out, int n, const std::uint8_t* row, const std::uint32_t* offset,
                 const std::int32_t* weight) {
  for (int i = 0; i < n; ++i, out += 4, weight += 4) {
    const std::uint8_t* p = row + offset[i];
#if KALVORA_LANES == 8
    const Words w = reinterpret_cast<Words>(_mm256_zextsi128_si256(LoadAs<__m128i>(weight)));
    const Words sum = Whole{}.Bytes(p) * __builtin_shufflevector(w, w, 0, 0, 0, 0, 1, 1, 1, 1) +
                      Whole{}.Bytes(p + 8) * __builtin_shufflevector(w, w, 2, 2, 2, 2, 3, 3, 3, 3);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), AddHalves(sum));
#elif KALVORA_LANES == 4
    Words sum = {};
    for (int j = 0; j < 4; ++j) {
      sum += Whole{}.Bytes(p + 4 * j) * All(static_cast<std::uint32_t>(weight[j]));
    }
    Store(out, sum);
#else
    for (int c = 0; c < 4; ++c) {
      out[c] =
          p[c] * weight[0] + p[c + 4] * weight[1] + p[c + 8] * weight[2] + p[c + 12] * weight[3];
    }
#endif
  }
}

#if KALVORA_LANES > 1 && defined(__SSE2__)
/// Where the even ones are.
inline Words OddWords(Words w) { return reinterpret_cast<Words>(reinterpret_cast<Longs>(w) >> 32); }
#endif

/// (a b) >> 32 of signed words, the even ones into the even words' upper neighbours: of 64-bit
/// words the lower halves hold anything.
#if KALVORA_LANES == 8
inline Words HighProducts(Words a, Words b) {
  return reinterpret_cast<Words>(
      _mm256_mul_epi32(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
}
/// One vector of what belongs to the even words, and to the odd ones.
inline Words JoinProducts(Words even, Words odd) {
  return reinterpret_cast<Words>(_mm256_blend_epi32(reinterpret_cast<__m256i>(OddWords(even)),
                                                    reinterpret_cast<__m256i>(odd), 0xAA));
}
#endif

/// The sum of (rows[j][i] weight[j]) >> 18, j = 0..3, of a vector of signed words from `at` on.
inline Words WeighedSum(const std::int32_t* const* rows, int at, const std::int32_t* weight) {
#if KALVORA_LANES > 1 && defined(__SSE2__)
  // With 14 bits more a weight is below 2^31, and the product's upper word is what is wanted. The
  // odd words are the even ones a word further on.
  Words even = {}, odd = {};
#if KALVORA_LANES == 8
#pragma GCC unroll 4
  for (int j = 0; j < 4; ++j) {
    const Words w = All(static_cast<std::uint32_t>(weight[j]) << 14);
    const Words row = Load(rows[j] + at);
    even += HighProducts(row, w);
    odd += HighProducts(OddWords(row), w);
  }
  return JoinProducts(even, odd);
#else
  // Of unsigned words: negative factors are 2^32 too large.
  Words excess = {};
  const auto product = [](Words row, Words w) {
    return reinterpret_cast<Words>(
        _mm_mul_epu32(reinterpret_cast<__m128i>(row), reinterpret_cast<__m128i>(w)));
  };
  for (int j = 0; j < 4; ++j) {
    const Words w = All(static_cast<std::uint32_t>(weight[j]) << 14), row = Load(rows[j] + at);
    even += product(row, w);
    odd += product(OddWords(row), w);
    excess += (w & NegativeLanes(row)) + (row & NegativeLanes(w));
  }
  const Words low = reinterpret_cast<Words>(Longs{} + 0xFFFFFFFF);
  return Select(low, OddWords(even), odd) - excess;
#endif
#elif KALVORA_LANES == 4
  int32x4_t sum = vdupq_n_s32(0);
  for (int j = 0; j < 4; ++j) {
    const int32x4_t row = vld1q_s32(rows[j] + at);
    sum = vaddq_s32(sum, vcombine_s32(vshrn_n_s64(vmull_n_s32(vget_low_s32(row), weight[j]), 18),
                                      vshrn_n_s64(vmull_n_s32(vget_high_s32(row), weight[j]), 18)));
  }
  return vreinterpretq_u32_s32(sum);
#else
  std::uint32_t sum = 0;
  for (int j = 0; j < 4; ++j) {
    sum += static_cast<std::uint32_t>((std::int64_t{rows[j][at]} * weight[j]) >> 18);
  }
  return sum;
#endif
}

/// Pixels of four vectors of channels, signed and held to 0..255.
inline Words PackChannels(const Ints (&v)[4]) {
#if KALVORA_LANES == 8
  const auto part = [&v](int i) { return reinterpret_cast<__m256i>(v[i]); };
  const auto bytes = reinterpret_cast<Words>(_mm256_packus_epi16(
      _mm256_packs_epi32(part(0), part(1)), _mm256_packs_epi32(part(2), part(3))));
  return __builtin_shufflevector(bytes, bytes, 0, 4, 1, 5, 2, 6, 3, 7);
#elif KALVORA_LANES == 4 && defined(__SSE2__)
  const auto part = [&v](int i) { return reinterpret_cast<__m128i>(v[i]); };
  return reinterpret_cast<Words>(
      _mm_packus_epi16(_mm_packs_epi32(part(0), part(1)), _mm_packs_epi32(part(2), part(3))));
#elif KALVORA_LANES == 4
  const auto half = [&v](int i) {
    return vqmovun_s16(vcombine_s16(vqmovn_s32(v[i]), vqmovn_s32(v[i + 1])));
  };
  return vreinterpretq_u32_u8(vcombine_u8(half(0), half(2)));
#else
  std::uint32_t pixel = 0;
  for (int c = 0; c < 4; ++c) {
    const std::int32_t held = v[c] < 0 ? 0 : v[c] > 255 ? 255 : v[c];
    pixel |= static_cast<std::uint32_t>(held) << (8 * c);
  }
  return pixel;
#endif
}

/// No channel above the pixel's alpha.
inline Words BoundByAlpha(Words p) {
  Words alpha = p >> 24;
#if KALVORA_LANES > 1
  typedef std::uint8_t Bytes __attribute__((vector_size(4 * KALVORA_LANES)));
  alpha |= alpha << 8;
  alpha |= alpha << 16;
  const Bytes a = reinterpret_cast<Bytes>(alpha), c = reinterpret_cast<Bytes>(p);
  return reinterpret_cast<Words>(c < a ? c : a);
#else
  Words result = alpha << 24;
  for (int shift = 0; shift < 24; shift += 8) {
    const Words c = p >> shift & 0xFF;
    result |= (c < alpha ? c : alpha) << shift;
  }
  return result;
#endif
}

/// Pixels of sums, 16.16, four a pixel.
inline Words ToPixels(const Words (&sums)[4], SampleAlpha alpha) {
  Ints channels[4];
#pragma GCC unroll 4
  for (int k = 0; k < 4; ++k) channels[k] = AsInts(sums[k] + 0x7F00) >> 16;
  const Words p = PackChannels(channels);
  if (alpha == SampleAlpha::kNone) return p & 0xFFFFFF;
  return alpha == SampleAlpha::kBound ? BoundByAlpha(p) : p;
}

void CubicDown(std::uint32_t* to, int n, const std::int32_t* const* rows,
               const std::int32_t* weight, SampleAlpha alpha) {
  for (int i = 0; i < n; i += kLanes) {
    Words sums[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) sums[k] = WeighedSum(rows, 4 * i + k * kLanes, weight);
    StoreFirst(to + i, ToPixels(sums, alpha), n - i < kLanes ? n - i : kLanes);
  }
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
