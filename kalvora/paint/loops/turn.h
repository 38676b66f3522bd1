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

/// Sums across of four rows, times the weights down: four words of channels.
inline void CubicAt(std::int32_t* channels, const std::uint8_t* p, std::size_t stride,
                    const std::int32_t* x, const std::int32_t* y) {
#if KALVORA_LANES == 8
  const auto four = [](const std::int32_t* weights) {
    return reinterpret_cast<Words>(_mm256_zextsi128_si256(LoadAs<__m128i>(weights)));
  };
  const Words w = four(x), h = four(y);
  const Words left = __builtin_shufflevector(w, w, 0, 0, 0, 0, 1, 1, 1, 1);
  const Words right = __builtin_shufflevector(w, w, 2, 2, 2, 2, 3, 3, 3, 3);
  const auto across = [=](int j) {
    const std::uint8_t* row = p + static_cast<std::size_t>(j) * stride;
    return Whole{}.Bytes(row) * left + Whole{}.Bytes(row + 8) * right;
  };
  // Two rows a vector: halves added up, the first row's into the low half.
  const auto twoRows = [=](int j) {
    const auto a = reinterpret_cast<__m256i>(across(j)),
               b = reinterpret_cast<__m256i>(across(j + 1));
    return _mm256_add_epi32(_mm256_permute2x128_si256(a, b, 0x20),
                            _mm256_permute2x128_si256(a, b, 0x31));
  };
  const auto product = [](__m256i rows, Words weights) {
    return reinterpret_cast<Longs>(_mm256_mul_epi32(rows, reinterpret_cast<__m256i>(weights))) >>
           16;
  };
  const __m256i first = twoRows(0), second = twoRows(2);
  const Words firstWeights = __builtin_shufflevector(h, h, 0, 0, 0, 0, 1, 1, 1, 1);
  const Words secondWeights = __builtin_shufflevector(h, h, 2, 2, 2, 2, 3, 3, 3, 3);
  const Longs even = product(first, firstWeights) + product(second, secondWeights);
  const Longs odd = product(_mm256_srli_epi64(first, 32), firstWeights) +
                    product(_mm256_srli_epi64(second, 32), secondWeights);
  const Longs low = Longs{} + 0xFFFFFFFF;
  _mm_storeu_si128(reinterpret_cast<__m128i*>(channels),
                   AddHalves(reinterpret_cast<Words>((even & low) | odd << 32)));
#else
  std::int32_t sums[4][8] = {};
  const std::int32_t* rows[4];
  const std::uint32_t none = 0;
  for (int j = 0; j < 4; ++j) {
    CubicAcross(sums[j], 1, p + static_cast<std::size_t>(j) * stride, &none, x);
    rows[j] = sums[j];
  }
  for (int c = 0; c < 4; c += kLanes) Store(channels + c, WeighedSum(rows, c, y));
#endif
}

void CubicTurned(std::uint32_t* out, int n, const std::uint8_t* source, std::size_t stride,
                 const std::uint32_t* offset, const std::int32_t* x, const std::int32_t* y,
                 SampleAlpha alpha) {
  for (int i = 0; i < n; i += kLanes) {
    std::int32_t channels[4 * kLanes] = {};
    const int count = n - i < kLanes ? n - i : kLanes;
    for (int k = 0; k < count; ++k) {
      const int at = 4 * (i + k);
      CubicAt(channels + 4 * k, source + offset[i + k], stride, x + at, y + at);
    }
    Words sums[4];
    for (int k = 0; k < 4; ++k) sums[k] = Load(channels + k * kLanes);
    StoreFirst(out + i, ToPixels(sums, alpha), count);
  }
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
