// Bicubic sampling.
#include "kalvora/paint/patterns/bicubic.h"

#include <algorithm>

#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/patterns/samplers.h"

namespace kalvora {
namespace {

constexpr int kMost = 256;  // pixels that are placed at a time

/// A sum of weighed channels, 16.16, as a channel.
std::uint32_t ToChannel(std::int64_t sum) {
  return static_cast<std::uint32_t>((std::clamp<std::int64_t>(sum, 0, 0xFF0000) + 0x7F00) >> 16);
}

}  // namespace

template <KRepeatRule R>
std::uint32_t SampleBicubic(const PatternPixels& source, std::int32_t u, std::int32_t v,
                            SampleAlpha alpha) {
  const Taps x = TapsAt<R>(u, source.width);
  const Taps y = TapsAt<R>(v, source.height);
  std::uint32_t channel[4];
  for (int c = 0; c < 4; ++c) {
    std::int64_t sum = 0;
    for (int j = 0; j < kTaps; ++j) {
      const std::uint8_t* row = source.Row(y.index[j]);
      std::int32_t line = 0;
      for (int i = 0; i < kTaps; ++i) {
        line += PatternPixels::Pixel(row, x.index[i])[c] * x.weight[i];
      }
      sum += std::int64_t{line} * y.weight[j] >> 16;
    }
    channel[c] = ToChannel(sum);
  }
  std::uint32_t result = alpha == SampleAlpha::kNone ? 0 : channel[3] << 24;
  for (int c = 0; c < 3; ++c) {
    if (alpha == SampleAlpha::kBound) channel[c] = std::min(channel[c], channel[3]);
    result |= channel[c] << (8 * c);
  }
  return result;
}

template <KRepeatRule R>
BicubicRows<R>::BicubicRows(const KStyleContext2D* style, SampleAlpha alpha)
    : loops_(style->loops->turn), alpha_(alpha), source_(*style->source), at_(style) {
  at_.ShiftHalf();
  if constexpr (R == KRepeatTile) at_.WrapInto(source_);
}

template <KRepeatRule R>
void BicubicRows<R>::Read(std::uint32_t* to, int n) {
  for (; n > 0; n -= kMost, to += kMost) ReadSome(to, std::min(n, kMost));
}

template <KRepeatRule R>
void BicubicRows<R>::ReadSome(std::uint32_t* to, int n) {
  std::uint32_t offset[kMost];
  std::uint32_t u[kMost], v[kMost];
  // Sixteen pixels that lie together go through the loop; others are sampled one by one.
  const bool large = source_.width >= kTaps && source_.height >= kTaps && source_.HasShortOffsets();
  const auto together = [](std::int32_t i, std::int32_t count) { return i > 0 && i + 2 < count; };
  int begin = 0;  // of those that wait for the loop
  const auto flush = [&](int end) {
    loops_.cubic(to + begin, end - begin, source_.pixels, source_.stride, offset + begin, u + begin,
                 v + begin, KTables::KBicubic.data(), alpha_);
    begin = end + 1;
  };
  for (int i = 0; i < n; ++i) {
    const std::int32_t column = at_.Column(), row = at_.Row();
    if (large && together(column, source_.width) && together(row, source_.height)) {
      const std::uint8_t* first = PatternPixels::Pixel(source_.Row(row - 1), column - 1);
      offset[i] = static_cast<std::uint32_t>(first - source_.pixels);
      u[i] = at_.u;
      v[i] = at_.v;
    } else {
      flush(i);
      to[i] = SampleBicubic<R>(source_, at_.U(), at_.V(), alpha_);
    }
    if constexpr (R == KRepeatTile) {
      at_.StepWrapped(source_);
    } else {
      at_.Step();
    }
  }
  flush(n);
}

#define KALVORA_INSTANTIATE(R)                                                              \
  template std::uint32_t SampleBicubic<R>(const PatternPixels&, std::int32_t, std::int32_t, \
                                          SampleAlpha);                                     \
  template class BicubicRows<R>;
KALVORA_INSTANTIATE(KRepeatClamp)
KALVORA_INSTANTIATE(KRepeatTile)
#undef KALVORA_INSTANTIATE

}  // namespace kalvora
