// The lane interface: vectors of KALVORA_LANES pixels, or one word where that is 1, and the pixel
// arithmetic of core/channels.h on them, with the same results in every lane.
//
// Operators +, -, *, &, |, ^ and shifts work lane by lane on Words and wrap. Weights multiply both
// 16-bit fields of a word, so they are carried in both: Both(w). Everything here has internal
// linkage, in the namespace of the width.
#ifndef KALVORA_PAINT_LOOPS_LANES_H
#define KALVORA_PAINT_LOOPS_LANES_H

#include <cstddef>
#include <cstdint>

#include "kalvora/paint/loops/loops.h"

#if KALVORA_LANES > 1 && defined(__SSE2__)
#include <immintrin.h>
#elif KALVORA_LANES > 1
#include <arm_neon.h>
#endif

namespace kalvora::KALVORA_WIDTH {
namespace {

constexpr int kLanes = KALVORA_LANES;
constexpr std::uint32_t kFieldMask = 0x00FF00FF;

#if KALVORA_LANES > 1
typedef std::uint32_t Words __attribute__((vector_size(4 * KALVORA_LANES)));
typedef std::int32_t Ints __attribute__((vector_size(4 * KALVORA_LANES)));
typedef float Floats __attribute__((vector_size(4 * KALVORA_LANES)));
typedef std::uint16_t Fields __attribute__((vector_size(4 * KALVORA_LANES)));  // two a word

inline Ints AsInts(Words w) { return reinterpret_cast<Ints>(w); }
inline Fields AsFields(Words w) { return reinterpret_cast<Fields>(w); }
inline Words AsWords(Fields f) { return reinterpret_cast<Words>(f); }
#else
using Words = std::uint32_t;
using Ints = std::int32_t;
using Floats = float;

inline Ints AsInts(Words w) { return static_cast<Ints>(w); }
#endif

// Vectors may lie at any address.

template <typename V>
V LoadAs(const void* p) {
  V v;
  __builtin_memcpy(&v, p, sizeof v);
  return v;
}
inline Words Load(const void* p) { return LoadAs<Words>(p); }
inline void Store(void* p, Words v) { __builtin_memcpy(p, &v, sizeof v); }

/// The same word in every lane.
inline Words All(std::uint32_t word) { return Words{} + word; }

/// start, start + step, start + 2 step, ...
inline Words Series(std::uint32_t start, std::uint32_t step) {
#if KALVORA_LANES == 8
  return Words{0, 1, 2, 3, 4, 5, 6, 7} * step + start;
#elif KALVORA_LANES == 4
  return Words{0, 1, 2, 3} * step + start;
#else
  return start + 0 * step;
#endif
}

/// All bits of the lanes where a == b, none elsewhere.
inline Words Equal(Words a, Words b) {
#if KALVORA_LANES > 1
  return reinterpret_cast<Words>(a == b);
#else
  return a == b ? ~0u : 0u;
#endif
}
/// All bits of the lanes whose signed word is negative.
inline Words NegativeLanes(Words w) {
#if KALVORA_LANES > 1
  return reinterpret_cast<Words>(AsInts(w) >> 31);
#else
  return static_cast<Words>(AsInts(w) >> 31);
#endif
}
/// All bits of the lanes where a > b, as signed words.
inline Words Above(Words a, Words b) {
#if KALVORA_LANES > 1
  return reinterpret_cast<Words>(AsInts(a) > AsInts(b));
#else
  return AsInts(a) > AsInts(b) ? ~0u : 0u;
#endif
}
/// The bits of `a` where `mask` has ones, of `b` elsewhere.
inline Words Select(Words mask, Words a, Words b) {
#if KALVORA_LANES > 1 && !defined(__SSE2__)
  return vbslq_u32(mask, a, b);
#elif KALVORA_LANES == 8
  return reinterpret_cast<Words>(_mm256_blendv_epi8(
      reinterpret_cast<__m256i>(b), reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(mask)));
#else
  return (a & mask) | (b & ~mask);
#endif
}
/// The lesser signed word, and the greater.
inline Words Least(Words a, Words b) {
#if KALVORA_LANES == 8
  return reinterpret_cast<Words>(
      _mm256_min_epi32(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
#elif KALVORA_LANES == 4 && !defined(__SSE2__)
  return vreinterpretq_u32_s32(vminq_s32(vreinterpretq_s32_u32(a), vreinterpretq_s32_u32(b)));
#else
  return Select(Above(a, b), b, a);
#endif
}

// The first lanes of a vector: as many as a Part says, 1..kLanes. The others hold anything.

#if KALVORA_LANES == 8
/// Any number of lanes.
class Part {
 public:
  explicit Part(int count)
      : count_(count),
        mask_(_mm256_cmpgt_epi32(_mm256_set1_epi32(count),
                                 _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7))) {}
  Words Load(const void* p) const {
    return reinterpret_cast<Words>(_mm256_maskload_epi32(static_cast<const int*>(p), mask_));
  }
  void Store(void* p, Words v) const {
    _mm256_maskstore_epi32(static_cast<int*>(p), mask_, reinterpret_cast<__m256i>(v));
  }
  Words Bytes(const std::uint8_t* p) const {
    std::uint64_t bytes = 0;
    const int two = count_ & 4, one = two + (count_ & 2);
    if (count_ & 1) bytes = p[one];
    if (count_ & 2) bytes = bytes << 16 | LoadAs<std::uint16_t>(p + two);
    if (count_ & 4) bytes = bytes << 32 | LoadAs<std::uint32_t>(p);
    return reinterpret_cast<Words>(
        _mm256_cvtepu8_epi32(_mm_set_epi64x(0, static_cast<long long>(bytes))));
  }

 private:
  int count_;
  __m256i mask_;
};
#elif KALVORA_LANES == 4
/// One or two lanes.
template <int K>
class Part {
 public:
#if defined(__SSE2__)
  Words Load(const void* p) const {
    const auto* low = static_cast<const __m128i*>(p);
    return reinterpret_cast<Words>(K == 2 ? _mm_loadl_epi64(low)
                                          : _mm_cvtsi32_si128(LoadAs<std::int32_t>(p)));
  }
  void Store(void* p, Words v) const {
    const __m128i low = reinterpret_cast<__m128i>(v);
    if constexpr (K == 2) return _mm_storel_epi64(static_cast<__m128i*>(p), low);
    const std::int32_t word = _mm_cvtsi128_si32(low);
    __builtin_memcpy(p, &word, sizeof word);
  }
#else
  Words Load(const void* p) const {
    const auto* words = static_cast<const std::uint32_t*>(p);
    if constexpr (K == 2) return vcombine_u32(vld1_u32(words), vdup_n_u32(0));
    return vld1q_dup_u32(words);
  }
  void Store(void* p, Words v) const {
    auto* words = static_cast<std::uint32_t*>(p);
    if constexpr (K == 2) return vst1_u32(words, vget_low_u32(v));
    vst1q_lane_u32(words, v, 0);
  }
#endif
  Words Bytes(const std::uint8_t* p) const { return Words{p[0], p[K - 1], 0, 0}; }
};
#endif

/// All lanes.
struct Whole {
  Words Load(const void* p) const { return KALVORA_WIDTH::Load(p); }
  void Store(void* p, Words v) const { KALVORA_WIDTH::Store(p, v); }
  /// A byte for each lane.
  Words Bytes(const std::uint8_t* p) const {
#if KALVORA_LANES == 8
    const __m128i v = _mm_loadl_epi64(static_cast<const __m128i*>(static_cast<const void*>(p)));
    return reinterpret_cast<Words>(_mm256_cvtepu8_epi32(v));
#elif KALVORA_LANES == 1
    return *p;
#elif defined(__SSE2__)
    const __m128i v = _mm_cvtsi32_si128(LoadAs<std::int32_t>(p)), zero = _mm_setzero_si128();
    return reinterpret_cast<Words>(_mm_unpacklo_epi16(_mm_unpacklo_epi8(v, zero), zero));
#else
    return vmovl_u16(vget_low_u16(vmovl_u8(vcreate_u8(LoadAs<std::uint32_t>(p)))));
#endif
  }
};

/// The first n lanes, 0..kLanes.
inline void StoreFirst(std::uint32_t* p, Words v, int n) {
  if (n == kLanes) return Store(p, v);
  std::uint32_t words[kLanes];
  Store(words, v);
  for (int i = 0; i < n; ++i) p[i] = words[i];
}

// Two channels of a pixel in the fields of a word.

/// A weight of 0..256 for both fields of a word.
inline Words Both(Words w) {
#if KALVORA_LANES > 1 && !defined(__SSE2__)
  return vsliq_n_u32(w, w, 16);
#elif KALVORA_LANES > 1
  return w | w << 16;
#else
  return w;
#endif
}

/// Blue and red.
inline Words Lo(Words p) { return p & kFieldMask; }
/// Green and alpha.
inline Words Hi(Words p) {
#if KALVORA_LANES > 1
  return AsWords(AsFields(p) >> 8);
#else
  return p >> 8 & kFieldMask;
#endif
}
/// Blue and red times 256.
inline Words LoHigh(Words p) {
#if KALVORA_LANES > 1
  return AsWords(AsFields(p) << 8);
#else
  return Lo(p) << 8;
#endif
}
/// Green and alpha times 256.
inline Words HiHigh(Words p) { return p & ~kFieldMask; }

// Words that are one field borrow from each other and give it back with the sum.

inline Words Sum(Words a, Words b) {
#if KALVORA_LANES > 1
  return AsWords(AsFields(a) + AsFields(b));
#else
  return a + b;
#endif
}
inline Words Difference(Words a, Words b) {
#if KALVORA_LANES > 1
  return AsWords(AsFields(a) - AsFields(b));
#else
  return a - b;
#endif
}
/// Both fields times the weight of Both().
inline Words Times(Words fields, Words both) {
#if KALVORA_LANES > 1
  return AsWords(AsFields(fields) * AsFields(both));
#else
  return fields * both;
#endif
}
/// The pixel whose channels are the high bytes of the fields.
inline Words JoinHigh(Words lo, Words hi) {
#if KALVORA_LANES > 1 && defined(__SSE2__)
  return AsWords(AsFields(lo) >> 8) | (hi & ~kFieldMask);
#elif KALVORA_LANES > 1
  return vreinterpretq_u32_u16(
      vsriq_n_u16(vreinterpretq_u16_u32(hi), vreinterpretq_u16_u32(lo), 8));
#else
  return (lo >> 8 & kFieldMask) | (hi & ~kFieldMask);
#endif
}

/// c' = floor(c w / 256), w of Both().
inline Words Scale(Words p, Words both) { return JoinHigh(Times(Lo(p), both), Times(Hi(p), both)); }

/// Both(256 - the weight of the pixel's alpha): a + 1 from 128 up, else a.
inline Words BothRest(Words p) {
#if KALVORA_LANES > 1 && !defined(__SSE2__)
  return Both(256 - vsraq_n_u32(p >> 24, p, 31));
#else
  return Both(256 - ((p >> 24) + (p >> 31)));
#endif
}

/// Dca' = Sca + Dca (1 - Sa), one 32-bit addition for all channels.
inline Words Over(Words d, Words s) { return Scale(d, BothRest(s)) + s; }

/// d' = floor((256 d + (c - d) w) / 256), w of Both().
inline Words Lerp(Words d, Words c, Words both) {
  return JoinHigh(Sum(LoHigh(d), Times(Difference(Lo(c), Lo(d)), both)),
                  Sum(HiHigh(d), Times(Difference(Hi(c), Hi(d)), both)));
}

/// c, blended or not, by weights.
inline Words MixColor(Words d, Words c, Words both, bool blend) {
  return blend ? Over(d, Scale(c, both)) : Lerp(d, c, both);
}

/// The weights of 16.16 coverage, for both fields.
inline Words BothCoverage(Words coverage) { return Both((coverage + 128) >> 8); }

/// The weights of mask bytes, m + 1 above 128, else m, for both fields.
inline Words BothMask(Words m) {
#if KALVORA_LANES > 1
  return Both(m - reinterpret_cast<Words>(m > 128));
#else
  return m + (m > 128);
#endif
}

/// Which of the pixels a loop is at: reads the same ones of another array.
template <typename P>
struct At {
  int i;
  P part;

  Words operator()(const std::uint32_t* p) const { return part.Load(p + i); }
  Words operator()(const std::int32_t* p) const { return part.Load(p + i); }
  Words Bytes(const std::uint8_t* p) const { return part.Bytes(p + i); }
};

template <typename P, typename F>
void PixelsAt(std::uint32_t* to, int i, P part, F f) {
  part.Store(to + i, f(part.Load(to + i), At<P>{i, part}));
}

/// to[i] = f(to[i], at), i = 0..n - 1, where at(array) reads array[i], in no order: f must not
/// remember anything. The last vector may overlap the one before, and so is made at first.
template <typename F>
void Pixels(std::uint32_t* to, int n, F f) {
#if KALVORA_LANES == 1
  for (int i = 0; i < n; ++i) PixelsAt(to, i, Whole{}, f);
#else
  if (n >= kLanes) {
    const int end = n - kLanes;
    const Words last = f(Load(to + end), At<Whole>{end, {}});
#if defined(__ARM_NEON)
#pragma GCC unroll 2
#endif
    for (int i = 0; i < end; i += kLanes) PixelsAt(to, i, Whole{}, f);
    return Store(to + end, last);
  }
  if (n <= 0) return;
#if KALVORA_LANES == 8
  PixelsAt(to, 0, Part(n), f);
#else
  if (n & 2) PixelsAt(to, 0, Part<2>{}, f);
  if (n & 1) PixelsAt(to, n - 1, Part<1>{}, f);
#endif
#endif
}

/// Calls row(first pixel, index) for each row of the block.
template <typename F>
void EachRow(const Block& block, F row) {
  // Copies: for all that compilers know, pixels could lie in the block.
  const std::ptrdiff_t stride = block.stride;
  const int rows = block.rows;
  std::uint32_t* to = block.to;
  for (int y = 0; y < rows; ++y, to += stride) row(to, y);
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
