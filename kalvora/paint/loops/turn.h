// Loops of turned patterns (TurnLoops in loops.h).
#ifndef KALVORA_PAINT_LOOPS_TURN_H
#define KALVORA_PAINT_LOOPS_TURN_H

#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/loops.h"
#include "kalvora/paint/loops/stretch.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

void Place(std::uint32_t* top, std::uint32_t* bottom, std::uint32_t* weightX,
           std::uint32_t* weightY, int n, const Places& places, std::uint32_t stride) {
  Words u = Series(places.u, places.du), v = Series(places.v, places.dv);
  const Words du = All(kLanes * places.du), dv = All(kLanes * places.dv), down = All(stride);
  const auto weight = [](Words w) { return ((w & 0xFFFF) + 0x7F) >> 8; };
  for (int i = 0; i < n; i += kLanes, u += du, v += dv) {
    const Words offset = (v >> 16) * down + (u >> 16) * 4;
    Store(top + i, offset);
    Store(bottom + i, offset + down);
    Store(weightX + i, weight(u));
    Store(weightY + i, weight(v));
  }
  // Behind the last pixel coordinates may lie anywhere.
  for (int i = n; i & (kLanes - 1); ++i) top[i] = bottom[i] = top[0];
}

void MixTurned(std::uint32_t* out, int n, const std::uint8_t* source, const std::uint32_t* top,
               const std::uint32_t* bottom, const std::uint32_t* weightX,
               const std::uint32_t* weightY) {
  for (int i = 0; i < n; i += kLanes) {
    const Pairs p(source, top + i), q(source, bottom + i);
    const Words x = Both(Load(weightX + i)), y = Both(Load(weightY + i));
    const Words mixed = Lerp(Lerp(p.left, p.right, x), Lerp(q.left, q.right, x), y);
    if (i + kLanes <= n) {
      Store(out + i, mixed);
    } else {
      StoreFirst(out + i, mixed, n - i);
    }
  }
}

// CubicWeights: the weights of a coordinate. CubicAt: sums across of four rows, times the weights
// down: four words of channels.

#if KALVORA_LANES == 8

/// In every other word.
inline Words CubicWeights(const std::int32_t* lines, std::uint32_t v) {
  const std::uint32_t f = v & 0xFFFF;
  const auto line = LoadAs<__m256i>(lines + (f >> 11) * 8);
  const __m256i product = _mm256_mul_epi32(line, _mm256_set1_epi32(static_cast<int>(f)));
  return reinterpret_cast<Words>(
      _mm256_add_epi32(_mm256_srli_epi64(product, 16), _mm256_srli_epi64(line, 32)));
}

inline void CubicAt(std::int32_t* channels, const std::uint8_t* p, std::size_t stride,
                    const std::int32_t* lines, std::uint32_t u, std::uint32_t v) {
  const auto row = [=](int j) { return p + static_cast<std::size_t>(j) * stride; };
  // As WeighedSum does it.
  const Words x = CubicWeights(lines, u) << 2, y = CubicWeights(lines, v) << 14;
  const Words left = __builtin_shufflevector(x, x, 0, 0, 0, 0, 2, 2, 2, 2);
  const Words right = __builtin_shufflevector(x, x, 4, 4, 4, 4, 6, 6, 6, 6);
  const auto across = [=](int j) {
    return Whole{}.Bytes(row(j)) * left + Whole{}.Bytes(row(j) + 8) * right;
  };
  // Two rows a vector: halves added up, the first row's into the low half.
  const auto twoRows = [=](int j) {
    const auto a = reinterpret_cast<__m256i>(across(j)),
               b = reinterpret_cast<__m256i>(across(j + 1));
    return reinterpret_cast<Words>(_mm256_add_epi32(_mm256_permute2x128_si256(a, b, 0x20),
                                                    _mm256_permute2x128_si256(a, b, 0x31)));
  };
  const Words first = twoRows(0), second = twoRows(2);
  const Words firstWeights = __builtin_shufflevector(y, y, 0, 0, 0, 0, 2, 2, 2, 2);
  const Words secondWeights = __builtin_shufflevector(y, y, 4, 4, 4, 4, 6, 6, 6, 6);
  const Words even = HighProducts(first, firstWeights) + HighProducts(second, secondWeights);
  const Words odd =
      HighProducts(OddWords(first), firstWeights) + HighProducts(OddWords(second), secondWeights);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(channels), AddHalves(JoinProducts(even, odd)));
}

#elif KALVORA_LANES == 4 && !defined(__SSE2__)

inline int32x4_t CubicWeights(const std::int32_t* lines, std::uint32_t v) {
  const std::uint32_t f = v & 0xFFFF;
  const auto factor = static_cast<std::int32_t>(f);
  const int32x4x2_t line = vld2q_s32(lines + (f >> 11) * 8);
  return vaddq_s32(vcombine_s32(vshrn_n_s64(vmull_n_s32(vget_low_s32(line.val[0]), factor), 16),
                                vshrn_n_s64(vmull_n_s32(vget_high_s32(line.val[0]), factor), 16)),
                   line.val[1]);
}
/// (sum weights[lane]) >> 16
template <int lane>
int32x4_t Weighed(int32x4_t sum, int32x2_t weights) {
  return vcombine_s32(vshrn_n_s64(vmull_lane_s32(vget_low_s32(sum), weights, lane), 16),
                      vshrn_n_s64(vmull_lane_s32(vget_high_s32(sum), weights, lane), 16));
}

inline void CubicAt(std::int32_t* channels, const std::uint8_t* p, std::size_t stride,
                    const std::int32_t* lines, std::uint32_t u, std::uint32_t v) {
  const auto row = [=](int j) { return p + static_cast<std::size_t>(j) * stride; };
  const int32x4_t x = CubicWeights(lines, u), y = CubicWeights(lines, v);
  const auto across = [=](int j) {
    const uint8x16_t bytes = vld1q_u8(row(j));
    const uint16x8_t left = vmovl_u8(vget_low_u8(bytes)), right = vmovl_u8(vget_high_u8(bytes));
    const auto wide = [](uint16x4_t c) { return vreinterpretq_s32_u32(vmovl_u16(c)); };
    int32x4_t sum = vmulq_lane_s32(wide(vget_low_u16(left)), vget_low_s32(x), 0);
    sum = vmlaq_lane_s32(sum, wide(vget_high_u16(left)), vget_low_s32(x), 1);
    sum = vmlaq_lane_s32(sum, wide(vget_low_u16(right)), vget_high_s32(x), 0);
    return vmlaq_lane_s32(sum, wide(vget_high_u16(right)), vget_high_s32(x), 1);
  };
  const int32x2_t first = vget_low_s32(y), second = vget_high_s32(y);
  vst1q_s32(channels,
            vaddq_s32(vaddq_s32(Weighed<0>(across(0), first), Weighed<1>(across(1), first)),
                      vaddq_s32(Weighed<0>(across(2), second), Weighed<1>(across(3), second))));
}

#else

inline void CubicWeights(std::int32_t* weights, const std::int32_t* lines, std::uint32_t v) {
  const std::uint32_t f = v & 0xFFFF;
  const std::int32_t* line = lines + (f >> 11) * 8;
  for (int j = 0; j < 4; ++j) {
    weights[j] = static_cast<std::int32_t>((std::int64_t{line[2 * j]} * f >> 16) + line[2 * j + 1]);
  }
}

inline void CubicAt(std::int32_t* channels, const std::uint8_t* p, std::size_t stride,
                    const std::int32_t* lines, std::uint32_t u, std::uint32_t v) {
  const auto row = [=](int j) { return p + static_cast<std::size_t>(j) * stride; };
  std::int32_t x[4], y[4], sums[4][8] = {};
  CubicWeights(x, lines, u);
  CubicWeights(y, lines, v);
  for (std::int32_t& w : x) w *= 4;
  const std::int32_t* rows[4];
  const std::uint32_t none = 0;
  for (int j = 0; j < 4; ++j) {
    CubicAcross(sums[j], 1, row(j), &none, x);
    rows[j] = sums[j];
  }
  for (int c = 0; c < 4; c += kLanes) Store(channels + c, WeighedSum(rows, c, y));
}

#endif

void CubicTurned(std::uint32_t* out, int n, const std::uint8_t* source, std::size_t stride,
                 const std::uint32_t* offset, const std::uint32_t* u, const std::uint32_t* v,
                 const std::int32_t* lines, SampleAlpha alpha) {
  for (int i = 0; i < n; i += kLanes) {
    std::int32_t channels[4 * kLanes] = {};
    const int count = n - i < kLanes ? n - i : kLanes;
    for (int k = 0; k < count; ++k) {
      const std::uint8_t* p = source + offset[i + k];
      CubicAt(channels + 4 * k, p, stride, lines, u[i + k], v[i + k]);
    }
    Words sums[4];
    for (int k = 0; k < 4; ++k) sums[k] = Load(channels + k * kLanes);
    StoreFirst(out + i, ToPixels(sums, alpha), count);
  }
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
