// Compositing of spans.
#include "kalvora/paint/composite.h"

#include "kalvora/core/KFixed.h"
#include "kalvora/paint/channels.h"

namespace kalvora {
namespace {

std::uint32_t ToWeight(std::int32_t coverage) {
  return static_cast<std::uint32_t>(CoverageWeight(coverage));
}

template <Weight W>
std::uint32_t WeightOf(const std::int32_t* coverage, int i, std::int32_t opacity) {
  if constexpr (W == Weight::kFull) return 256;
  if constexpr (W == Weight::kOpacity) return static_cast<std::uint32_t>(opacity);
  if constexpr (W == Weight::kCoverageOpacity) {
    return static_cast<std::uint32_t>(coverage[i]) * static_cast<std::uint32_t>(opacity) >> 16;
  }
  return ToWeight(coverage[i]);
}

}  // namespace

void FillSpan(std::uint32_t* to, int n, std::uint32_t c) {
  for (int i = 0; i < n; ++i) to[i] = c;
}

void OverSpan(std::uint32_t* to, int n, std::uint32_t c) {
  const std::uint32_t rest = 256 - AlphaWeight(c);
  for (int i = 0; i < n; ++i) to[i] = Scale(to[i], rest) + c;
}

void CoverSpan(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c) {
  for (int i = 0; i < n; ++i) to[i] = Over(to[i], Scale(c, ToWeight(coverage[i])));
}

void LerpSpan(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c) {
  for (int i = 0; i < n; ++i) to[i] = Lerp(to[i], c, ToWeight(coverage[i]));
}

template <Weight W>
void OverPixels(std::uint32_t* to, const std::uint32_t* source, const std::int32_t* coverage, int n,
                std::int32_t opacity) {
  for (int i = 0; i < n; ++i) {
    std::uint32_t s = source[i];
    if constexpr (W == Weight::kOpacityThenCoverage)
      s = Scale(s, static_cast<std::uint32_t>(opacity));
    if constexpr (W != Weight::kFull) s = Scale(s, WeightOf<W>(coverage, i, opacity));
    to[i] = Over(to[i], s);
  }
}

template <Weight W>
void LerpPixels(std::uint32_t* to, const std::uint32_t* source, const std::int32_t* coverage, int n,
                std::int32_t opacity) {
  for (int i = 0; i < n; ++i) to[i] = Lerp(to[i], source[i], WeightOf<W>(coverage, i, opacity));
}

template void OverPixels<Weight::kFull>(std::uint32_t*, const std::uint32_t*, const std::int32_t*,
                                        int, std::int32_t);
template void OverPixels<Weight::kOpacity>(std::uint32_t*, const std::uint32_t*,
                                           const std::int32_t*, int, std::int32_t);
template void OverPixels<Weight::kCoverage>(std::uint32_t*, const std::uint32_t*,
                                            const std::int32_t*, int, std::int32_t);
template void OverPixels<Weight::kCoverageOpacity>(std::uint32_t*, const std::uint32_t*,
                                                   const std::int32_t*, int, std::int32_t);
template void OverPixels<Weight::kOpacityThenCoverage>(std::uint32_t*, const std::uint32_t*,
                                                       const std::int32_t*, int, std::int32_t);
template void LerpPixels<Weight::kOpacity>(std::uint32_t*, const std::uint32_t*,
                                           const std::int32_t*, int, std::int32_t);
template void LerpPixels<Weight::kCoverage>(std::uint32_t*, const std::uint32_t*,
                                            const std::int32_t*, int, std::int32_t);
template void LerpPixels<Weight::kCoverageOpacity>(std::uint32_t*, const std::uint32_t*,
                                                   const std::int32_t*, int, std::int32_t);

}  // namespace kalvora
