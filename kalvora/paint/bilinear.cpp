// Bilinear sampling.
#include <algorithm>

#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/lanes.h"
#include "kalvora/paint/samplers.h"

namespace kalvora {
namespace {

/// A pixel with its right neighbour, its lower one, and the right neighbour of that.
struct Corners {
  const std::uint8_t* topLeft;
  const std::uint8_t* topRight;
  const std::uint8_t* bottomLeft;
  const std::uint8_t* bottomRight;
};

/// The same where right neighbours are the next pixels in memory.
struct PairedCorners {
  const std::uint8_t* top;
  const std::uint8_t* bottom;

  operator Corners() const {
    return {top, top + sizeof(std::uint32_t), bottom, bottom + sizeof(std::uint32_t)};
  }
};

PairedCorners Inside(const PatternPixels& p, const PatternPosition& at) {
  const std::uint8_t* top = PatternPixels::Pixel(p.Row(at.Row()), at.Column());
  return {top, top + p.stride};
}

Corners InClamped(const PatternPixels& p, const PatternPosition& at) {
  const std::int32_t column = at.Column(), row = at.Row();
  // Left of the pixmap there is only column 0, above it only row 0.
  const std::size_t right = column >= 0 && column < p.width - 1 ? sizeof(std::uint32_t) : 0;
  const std::size_t down = row >= 0 && row < p.height - 1 ? p.stride : 0;
  const std::uint8_t* pixel =
      PatternPixels::Pixel(p.Row(Clamped(row, p.height)), Clamped(column, p.width));
  return {pixel, pixel + right, pixel + down, pixel + right + down};
}

Corners InTiled(const PatternPixels& p, const PatternPosition& at) {
  const std::int32_t left = at.Column(), row = at.Row();
  const std::int32_t right = left + 1 < p.width ? left + 1 : 0;
  const std::uint8_t* top = p.Row(row);
  const std::uint8_t* bottom = row + 1 < p.height ? top + p.stride : p.Row(0);
  return {PatternPixels::Pixel(top, left), PatternPixels::Pixel(top, right),
          PatternPixels::Pixel(bottom, left), PatternPixels::Pixel(bottom, right)};
}

/// lerp(lerp(topLeft, topRight, fx), lerp(bottomLeft, bottomRight, fx), fy)
std::uint32_t Mix(const Corners& c, const PatternPosition& at) {
  const std::uint32_t fx = FractionWeight(at.u), fy = FractionWeight(at.v);
  const auto load = PatternPixels::Load;
  return Lerp(Lerp(load(c.topLeft), load(c.topRight), fx),
              Lerp(load(c.bottomLeft), load(c.bottomRight), fx), fy);
}

#if KALVORA_LANES

typedef std::uint8_t Bytes8 __attribute__((vector_size(8)));
typedef std::uint32_t Words2 __attribute__((vector_size(8)));

/// Two pixels as eight fields.
Fields8 Widened(Bytes8 pixels) { return __builtin_convertvector(pixels, Fields8); }
Fields8 Widened(const std::uint8_t* left, const std::uint8_t* right) {
  const Words2 pixels = {PatternPixels::Load(left), PatternPixels::Load(right)};
  return Widened(reinterpret_cast<Bytes8>(pixels));
}

Fields8 Top(const Corners& c) { return Widened(c.topLeft, c.topRight); }
Fields8 Bottom(const Corners& c) { return Widened(c.bottomLeft, c.bottomRight); }
Fields8 Top(const PairedCorners& c) { return Widened(Load<Bytes8>(c.top)); }
Fields8 Bottom(const PairedCorners& c) { return Widened(Load<Bytes8>(c.bottom)); }

/// 256 - w four times, and w four times.
Fields8 Opposed(std::uint32_t w) {
  constexpr Fields8 flip = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0, 0, 0, 0};
  constexpr Fields8 one = {257, 257, 257, 257, 0, 0, 0, 0};
  return ((Fields8{} + static_cast<std::uint16_t>(w)) ^ flip) + one;
}

/// The first halves of two vectors plus their second halves.
Fields8 AddHalves(Fields8 a, Fields8 b) {
  return __builtin_shufflevector(a, b, 0, 1, 2, 3, 8, 9, 10, 11) +
         __builtin_shufflevector(a, b, 4, 5, 6, 7, 12, 13, 14, 15);
}

/// Top and bottom of a mix, times their weights: Mix without its last addition.
template <typename C>
Fields8 Weighed(const C& c, const PatternPosition& at) {
  const Fields8 fx = Opposed(FractionWeight(at.u)), fy = Opposed(FractionWeight(at.v));
  return (AddHalves(Top(c) * fx, Bottom(c) * fx) >> 8) * fy;
}

#endif

/// n mixes around the corners that `find` finds, moving on by `step`.
template <typename Find, typename Step>
void MixAll(std::uint32_t* to, int n, PatternPosition& at, Find find, Step step) {
  int i = 0;
#if KALVORA_LANES
  for (; i + 2 <= n; i += 2) {
    const Fields8 first = Weighed(find(at), at);
    step(at);
    const Fields8 second = Weighed(find(at), at);
    step(at);
    Store(to + i, __builtin_convertvector(AddHalves(first, second) >> 8, Bytes8));
  }
#endif
  for (; i < n; ++i, step(at)) to[i] = Mix(find(at), at);
}

/// n mixes along two rows, all of which have a right neighbour.
void MixRow(const std::uint8_t* top, const std::uint8_t* bottom, PatternPosition& at,
            std::uint32_t* to, int n) {
  const auto find = [=](const PatternPosition& a) {
    return PairedCorners{PatternPixels::Pixel(top, a.Column()),
                         PatternPixels::Pixel(bottom, a.Column())};
  };
  MixAll(to, n, at, find, [](PatternPosition& a) { a.u += a.du; });
}

/// n mixes along a row of a tile.
void MixTiledRow(const PatternPixels& p, PatternPosition& at, std::uint32_t* to, int n) {
  const std::uint32_t period = static_cast<std::uint32_t>(p.width) << 16;
  const std::uint32_t lastColumn = period - 0x10000;
  const std::uint8_t* top = p.Row(at.Row());
  const std::uint8_t* bottom = at.Row() + 1 < p.height ? top + p.stride : p.Row(0);
  while (n > 0) {
    int run = at.CountBelow(lastColumn, n);
    MixRow(top, bottom, at, to, run);
    for (; run < n && at.u < period; ++run, at.u += at.du) to[run] = Mix(InTiled(p, at), at);
    if (at.u >= period) at.u -= period;
    to += run;
    n -= run;
  }
}

}  // namespace

template <KRepeatRule R>
BilinearSampler<R>::BilinearSampler(const KStyleContext2D* style)
    : source_(*style->source), at_(style) {
  at_.ShiftHalf();
  if constexpr (R == KRepeatTile) {
    at_.WrapInto(source_);
  } else {
    inside_ = InsideRun(at_, style->x1 - style->x0, std::int64_t{source_.width - 1} << 16,
                        std::int64_t{source_.height - 1} << 16);
  }
}

template <KRepeatRule R>
void BilinearSampler<R>::Read(std::uint32_t* to, int n) {
  const PatternPixels p = source_;
  PatternPosition at = at_;
  if constexpr (R == KRepeatTile) {
    if (at.IsAlongRow(p)) {
      MixTiledRow(p, at, to, n);
    } else {
      MixAll(
          to, n, at, [&](const PatternPosition& a) { return InTiled(p, a); },
          [&](PatternPosition& a) { a.StepWrapped(p); });
    }
  } else {
    const auto step = [](PatternPosition& a) { a.Step(); };
    const auto edge = [&](std::uint32_t* out, int count) {
      MixAll(
          out, count, at, [&](const PatternPosition& a) { return InClamped(p, a); }, step);
    };
    const auto inside = [&](std::uint32_t* out, int count) {
      if (at.dv != 0) {
        MixAll(
            out, count, at, [&](const PatternPosition& a) { return Inside(p, a); }, step);
        return;
      }
      const std::uint8_t* row = p.Row(at.Row());
      MixRow(row, row + p.stride, at, out, count);
    };
    inside_.Split(to, n, edge, inside);
  }
  at_ = at;
}

template class BilinearSampler<KRepeatClamp>;
template class BilinearSampler<KRepeatTile>;

}  // namespace kalvora
