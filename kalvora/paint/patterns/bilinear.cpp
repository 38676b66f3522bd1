// Bilinear sampling of rows, one after the other.
#include <algorithm>

#include "kalvora/core/channels.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/patterns/samplers.h"

namespace kalvora {
namespace {

constexpr int kMost = 256;  // pixels that are placed at a time
constexpr std::uint32_t kPixel = 4;

/// Pixels with the ones behind them, in two rows, and how they are weighed (TurnLoops).
struct Placed {
  static constexpr int kRoom = kMost + 8;

  std::uint32_t top[kRoom], bottom[kRoom], weightX[kRoom], weightY[kRoom];

  Placed() { Set(0, 0, 0, 0, 0); }
  void Set(int i, std::size_t first, std::size_t second, std::uint32_t x, std::uint32_t y) {
    top[i] = static_cast<std::uint32_t>(first);
    bottom[i] = static_cast<std::uint32_t>(second);
    weightX[i] = x;
    weightY[i] = y;
  }
};

/// A position anywhere around a pixmap of two columns and more. Beyond a side the outermost pair
/// has all its weight there.
void PlaceClamped(Placed& placed, int i, const PatternPixels& p, const PatternPosition& at) {
  const std::int32_t column = at.Column(), row = at.Row(), last = p.width - 2;
  const std::size_t down = row >= 0 && row < p.height - 1 ? p.stride : 0;
  const std::size_t top = static_cast<std::size_t>(Clamped(row, p.height)) * p.stride +
                          static_cast<std::size_t>(std::clamp(column, 0, last)) * kPixel;
  const std::uint32_t x = column < 0 ? 0 : column > last ? 256 : FractionWeight(at.u);
  placed.Set(i, top, top + down, x, FractionWeight(at.v));
}

/// A position in a tile; its pair must not lie on both sides of it.
void PlaceTiled(Placed& placed, int i, const PatternPixels& p, const PatternPosition& at) {
  const std::int32_t row = at.Row(), below = row + 1 < p.height ? row + 1 : 0;
  const std::size_t across = static_cast<std::size_t>(std::min(at.Column(), p.width - 2)) * kPixel;
  placed.Set(i, static_cast<std::size_t>(row) * p.stride + across,
             static_cast<std::size_t>(below) * p.stride + across, FractionWeight(at.u),
             FractionWeight(at.v));
}

/// One sample of any pixmap.
template <KRepeatRule R>
std::uint32_t SampleBilinear(const PatternPixels& p, const PatternPosition& at) {
  const auto next = [](std::int32_t i, std::int32_t count) {
    if (R == KRepeatTile) return i + 1 < count ? i + 1 : 0;
    return i >= 0 && i + 1 < count ? i + 1 : Clamped(i, count);
  };
  const std::int32_t left = Clamped(at.Column(), p.width), right = next(at.Column(), p.width);
  const auto mixed = [&](std::int32_t row) {
    const auto pixel = [&](std::int32_t column) {
      return PatternPixels::Load(PatternPixels::Pixel(p.Row(row), column));
    };
    return Lerp(pixel(left), pixel(right), FractionWeight(at.u));
  };
  return Lerp(mixed(Clamped(at.Row(), p.height)), mixed(next(at.Row(), p.height)),
              FractionWeight(at.v));
}

}  // namespace

template <KRepeatRule R>
BilinearSampler<R>::BilinearSampler(const KStyleContext2D* style)
    : loops_(style->loops->turn), source_(*style->source), at_(style) {
  at_.ShiftHalf();
  if constexpr (R == KRepeatTile) {
    at_.WrapInto(source_);
  } else {
    inside_ = InsideRun(at_, style->x1 - style->x0, std::int64_t{source_.width - 1} << 16,
                        std::int64_t{source_.height - 1} << 16);
  }
}

template <KRepeatRule R>
void BilinearSampler<R>::Step() {
  if constexpr (R == KRepeatTile) {
    at_.StepWrapped(source_);
  } else {
    at_.Step();
  }
}

template <KRepeatRule R>
void BilinearSampler<R>::Read(std::uint32_t* to, int n) {
  const bool single = source_.width < 2 || !source_.HasShortOffsets();
  for (; n > 0; n -= kMost, to += kMost) {
    const int count = std::min(n, kMost);
    if (!single) {
      ReadPlaced(to, count);
    } else {
      for (int i = 0; i < count; ++i, Step()) to[i] = SampleBilinear<R>(source_, at_);
    }
  }
}

template <KRepeatRule R>
void BilinearSampler<R>::ReadPlaced(std::uint32_t* to, int n) {
  Placed placed;
  const auto mix = [&] {
    for (int i = n; i % 8 != 0; ++i) placed.Set(i, 0, 0, 0, 0);
    loops_.mix(to, n, source_.pixels, placed.top, placed.bottom, placed.weightX, placed.weightY);
  };
  if constexpr (R == KRepeatTile) {
    PatternPosition at = at_;
    for (int i = 0; i < n; ++i, Step()) PlaceTiled(placed, i, source_, at_);
    mix();
    for (int i = 0; i < n; ++i, at.StepWrapped(source_)) {
      if (at.Column() == source_.width - 1) to[i] = SampleBilinear<R>(source_, at);
    }
  } else {
    const auto edge = [&](std::uint32_t* top, int count) {
      const auto begin = static_cast<int>(top - placed.top);
      for (int i = begin; i < begin + count; ++i, Step()) PlaceClamped(placed, i, source_, at_);
    };
    const auto inside = [&](std::uint32_t* top, int count) {
      const auto i = top - placed.top;
      loops_.place(top, placed.bottom + i, placed.weightX + i, placed.weightY + i, count,
                   {at_.u, at_.v, at_.du, at_.dv}, static_cast<std::uint32_t>(source_.stride));
      at_.u += static_cast<std::uint32_t>(count) * at_.du;
      at_.v += static_cast<std::uint32_t>(count) * at_.dv;
    };
    inside_.Split(placed.top, n, edge, inside);
    mix();
  }
}

template class BilinearSampler<KRepeatClamp>;
template class BilinearSampler<KRepeatTile>;

}  // namespace kalvora
