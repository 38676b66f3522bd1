// Compositing of spans.
#include "kalvora/paint/composite.h"

#include "kalvora/core/KFixed.h"
#include "kalvora/paint/lanes.h"

namespace kalvora {
namespace {

/// The weights of one coverage or of four, never negative.
template <typename V>
V CoverageWeights(const std::int32_t* coverage) {
  return (Load<V>(coverage) + 128) >> 8;
}

/// The weights of pixel i, or of i to i + 3. Without need of coverage there is none.
template <Weight W, typename V>
V WeightsOf(const std::int32_t* coverage, int i, std::int32_t opacity) {
  if constexpr (W == Weight::kFull) return All<V>(256);
  if constexpr (W == Weight::kOpacity) return All<V>(static_cast<std::uint32_t>(opacity));
  if constexpr (W == Weight::kCoverageOpacity) {
    return Load<V>(coverage + i) * static_cast<std::uint32_t>(opacity) >> 16;
  }
  return CoverageWeights<V>(coverage + i);
}

/// to[i] = f(to[i], weight of mask[i]), where a weight of 0 changes nothing.
template <typename F>
void Masked(std::uint32_t* to, const std::uint8_t* mask, int n, F f) {
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    if (Load<std::uint32_t>(mask + i) == 0) continue;
#if KALVORA_LANES
    const Words4 m = {mask[i], mask[i + 1], mask[i + 2], mask[i + 3]};
    Store(to + i, f(Load<Words4>(to + i), MaskWeight(m)));
#else
    for (int k = i; k < i + 4; ++k) {
      if (mask[k]) to[k] = f(to[k], MaskWeight(mask[k]));
    }
#endif
  }
  for (; i < n; ++i) {
    if (mask[i]) to[i] = f(to[i], MaskWeight(mask[i]));
  }
}

}  // namespace

void FillSpan(std::uint32_t* to, int n, std::uint32_t c) {
  Pixels(to, n, [c](auto d, int) { return All<decltype(d)>(c); });
}

void OverSpan(std::uint32_t* to, int n, std::uint32_t c) {
  const std::uint32_t rest = 256 - AlphaWeight(c);
  Pixels(to, n, [=](auto d, int) { return Scale(d, All<decltype(d)>(rest)) + c; });
}

void CoverSpan(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c) {
  Pixels(to, n, [=](auto d, int i) {
    using V = decltype(d);
    return Over(d, Scale(All<V>(c), CoverageWeights<V>(coverage + i)));
  });
}

void LerpSpan(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c) {
  Pixels(to, n, [=](auto d, int i) {
    using V = decltype(d);
    return Lerp(d, All<V>(c), CoverageWeights<V>(coverage + i));
  });
}

void CoverMaskedSpan(std::uint32_t* to, const std::uint8_t* mask, int n, std::uint32_t c) {
  Masked(to, mask, n, [=](auto d, auto w) { return Over(d, Scale(All<decltype(d)>(c), w)); });
}

void LerpMaskedSpan(std::uint32_t* to, const std::uint8_t* mask, int n, std::uint32_t c) {
  Masked(to, mask, n, [=](auto d, auto w) { return Lerp(d, All<decltype(d)>(c), w); });
}

template <Weight W>
void OverPixels(std::uint32_t* to, const std::uint32_t* source, const std::int32_t* coverage, int n,
                std::int32_t opacity) {
  Pixels(to, n, [=](auto d, int i) {
    using V = decltype(d);
    V s = Load<V>(source + i);
    if constexpr (W == Weight::kOpacityThenCoverage)
      s = Scale(s, WeightsOf<Weight::kOpacity, V>(nullptr, i, opacity));
    if constexpr (W != Weight::kFull) s = Scale(s, WeightsOf<W, V>(coverage, i, opacity));
    return Over(d, s);
  });
}

template <Weight W>
void LerpPixels(std::uint32_t* to, const std::uint32_t* source, const std::int32_t* coverage, int n,
                std::int32_t opacity) {
  Pixels(to, n, [=](auto d, int i) {
    using V = decltype(d);
    return Lerp(d, Load<V>(source + i), WeightsOf<W, V>(coverage, i, opacity));
  });
}

#define KALVORA_INSTANTIATE(Function, W)                                                       \
  template void Function<Weight::W>(std::uint32_t*, const std::uint32_t*, const std::int32_t*, \
                                    int, std::int32_t);
KALVORA_INSTANTIATE(OverPixels, kFull)
KALVORA_INSTANTIATE(OverPixels, kOpacity)
KALVORA_INSTANTIATE(OverPixels, kCoverage)
KALVORA_INSTANTIATE(OverPixels, kCoverageOpacity)
KALVORA_INSTANTIATE(OverPixels, kOpacityThenCoverage)
KALVORA_INSTANTIATE(LerpPixels, kOpacity)
KALVORA_INSTANTIATE(LerpPixels, kCoverage)
KALVORA_INSTANTIATE(LerpPixels, kCoverageOpacity)
#undef KALVORA_INSTANTIATE

}  // namespace kalvora
