// The span fillers of a radial gradient.
#include "kalvora/paint/gradients/KRadialStrip.h"

#include <algorithm>
#include <new>

#include "kalvora/paint/KPaint.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/composite.h"
#include "kalvora/paint/gradients/distances.h"
#include "kalvora/paint/gradients/rampcells.h"

namespace kalvora {
namespace {

/// Pixels that are coloured at a time, outside the target.
constexpr int kChunk = 64;

const RampCells& CellsOf(const KStyleContext2D* style) {
  return *static_cast<const RampCells*>(style->table0);
}

/// The row of a draw that y names, from x on.
OffsetRow OffsetsOf(const KStyleContext2D* style, std::int32_t x, std::int32_t y) {
  const KSoftMatrix3D& m = style->inverse;
  // Without wrapping before the product, so that every pixel's is one step from the next.
  const std::int64_t dx = std::int64_t{x} * 0x10000 - m.m6.raw;
  const std::int64_t dy = std::int64_t{y} * 0x10000 - m.m7.raw;
  const auto offset = [=](KFixed a, KFixed b) {
    return KFixed::FromRaw(static_cast<std::int32_t>((a.raw * dx >> 16) + (b.raw * dy >> 16)));
  };
  return {{offset(m.m0, m.m3), offset(m.m1, m.m4)}, {m.m0, m.m1}};
}

/// The distance of a pixel, within the period of a ramp that repeats.
std::uint32_t DistanceAt(const RampCells& cells, const OffsetRow& row, int i) {
  const std::uint32_t distance = row.DistanceAt(i), period = cells.Table().period;
  return period ? distance % period : distance;
}

/// The colours of a row's first n pixels. n <= kChunk where cells are steep.
void Color(const KStyleContext2D* style, const OffsetRow& row, bool isSeries, std::uint32_t* to,
           int n) {
  const RampCells& cells = CellsOf(style);
  if (!isSeries) {
    for (int i = 0; i < n; ++i) to[i] = cells.ColorAt(DistanceAt(cells, row, i));
    return;
  }
  const auto loop = style->loops->gradient.radial;
  if (!cells.HasSteep()) return loop(to, n, SquareSeries(row), cells.Table(), nullptr);
  std::uint32_t found[kChunk];
  loop(to, n, SquareSeries(row), cells.Table(), found);
  for (int i = 0; i < n; ++i) {
    if (cells.IsSteep(found[i])) to[i] = cells.ColorAt(DistanceAt(cells, row, i));
  }
}

/// n pixels of a row, coloured one by one.
template <bool AA, bool Blend>
void PaintColors(const KStyleContext2D* style, OffsetRow row, bool isSeries, std::uint32_t* to,
                 const std::int32_t* coverage, int n) {
  const RampCells& cells = CellsOf(style);
  if constexpr (!AA && !Blend) {
    if (isSeries && !cells.HasSteep() && !cells.ShowsThrough()) {
      return Color(style, row, isSeries, to, n);
    }
  }
  std::uint32_t colors[kChunk];
  for (int count; n > 0; n -= count, to += count, row = row.From(count)) {
    count = std::min(n, kChunk);
    Color(style, row, isSeries, colors, count);
    if constexpr (AA || Blend) {
      PutPixels<AA>(*style->loops, to, colors, coverage, count);
      if (AA) coverage += count;
    } else {
      for (int i = 0; i < count; ++i) {
        // A colour of 0 paints nothing beyond the ends.
        const bool through =
            colors[i] == 0 && cells.ShowsThrough() && cells.IsBeyond(DistanceAt(cells, row, i));
        if (!through) to[i] = colors[i];
      }
    }
  }
}

/// A row: what lies beyond a padded ramp in one colour, the rest pixel by pixel.
template <bool AA, bool Blend>
void PaintRow(const KStyleContext2D* style, std::int32_t y, std::uint32_t* to,
              const std::int32_t* coverage) {
  const int n = style->x1 - style->x0;
  const RampCells& cells = CellsOf(style);
  const OffsetRow row = OffsetsOf(style, style->x0, y);
  const bool isSeries = row.IsSeries(n);
  IndexRange inside{0, n};
  if (isSeries && cells.Table().period == 0) {
    inside = SquareSeries(row).Below(cells.End() * cells.End(), n);
  }
  const auto beyond = [&](int from, int end) {
    if (from < end && cells.EndColor() != 0) {
      PutColor<AA, Blend>(*style->loops, to + from, AA ? coverage + from : nullptr, end - from,
                          cells.EndColor());
    }
  };
  beyond(0, inside.begin);
  if (inside.begin < inside.end) {
    PaintColors<AA, Blend>(style, row.From(inside.begin), isSeries, to + inside.begin,
                           AA ? coverage + inside.begin : nullptr, inside.end - inside.begin);
  }
  beyond(std::max(inside.begin, inside.end), n);
}

template <bool Blend>
void PaintBlock(const KStyleContext2D* style, const KRowBlock& block) {
  std::uint32_t* to = style->row + style->x0;
  for (std::int32_t y = 0; y < block.rows; ++y, to += block.stride) {
    PaintRow<false, Blend>(style, style->y + y, to, nullptr);
  }
}

}  // namespace

bool PrepareRadial(KStyleContext2D* style) {
  constexpr std::uint32_t kHead = sizeof(RampCells) / sizeof(std::uint32_t);
  const KSoftColorRamp* source = style->paint->radialRamp;
  if (!source) return false;
  const std::int32_t opacity = style->PaintOpacity();
  style->inverse = source->axis;
  // The paint's flag, where linear gradients ask the ramp: an old difference that pictures rely on.
  style->blend = opacity != 256 || style->paint->translucent;
  PreparedRamp* ramp = PrepareRamp(style, source, opacity, {1, 0}, 1, kHead + RampCells::kWords);
  if (!ramp) return false;
  auto* cells = new (style->table0) RampCells;
  cells->Prepare(ramp, static_cast<std::uint32_t*>(style->table0) + kHead);
  style->block = style->blend ? PaintBlock<true> : PaintBlock<false>;
  return true;
}

template <bool AA, bool Blend>
void RadialSpan<AA, Blend>::Draw(const KStyleContext2D* style) {
  if (style->x0 >= style->x1) return;
  PaintRow<AA, Blend>(style, style->y, style->row + style->x0,
                      AA ? style->lineBuffer + style->x0 : nullptr);
}

template struct RadialSpan<false, false>;
template struct RadialSpan<false, true>;
template struct RadialSpan<true, false>;
template struct RadialSpan<true, true>;

}  // namespace kalvora
