// The span fillers of a linear gradient.
#include "kalvora/paint/gradients/KLinearStrip.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "kalvora/core/division.h"
#include "kalvora/core/roots.h"
#include "kalvora/paint/KPaint.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/composite.h"
#include "kalvora/paint/gradients/ramp.h"

namespace kalvora {
namespace {

/// Fraction bits of distances along the axis, in pixels: enough for the widest target.
constexpr int kBits = 30;
/// Repeated more often than this, a ramp shows nothing but its last colour.
constexpr std::int64_t kLeastPeriod = std::int64_t{1} << (kBits - 4);

/// Where position 1.0 of the ramp lies, seen from where it starts.
KVertex2D AxisVector(const KSoftMatrix3D& axis) {
  if (axis.identity || axis.linearIdentity) return {kOne, kZero};
  return {axis.m0, axis.m1};
}

/// The line and the scale of an axis, t being the distance along it.
struct Axis {
  RampLine line;
  RampScale scale;

  Axis(KVertex2D start, KVertex2D d) {
    // The larger component is scaled to 30 bits, so that every axis is measured equally well.
    const std::uint32_t extent = std::max(Magnitude(d.x.raw), Magnitude(d.y.raw));
    const int shift = std::countl_zero(extent) - 2;
    const auto scaled = [shift](KFixed v) {
      return shift < 0 ? std::int64_t{v.raw} >> -shift : std::int64_t{v.raw} << shift;
    };
    const std::int64_t x = scaled(d.x), y = scaled(d.y);
    const std::int64_t length = Length(x, y);
    scale = {length, 32 + shift - kBits};
    line.stepX = Part(x, length);
    line.stepY = Part(y, length);
    line.origin =
        -((std::int64_t{start.x.raw} * line.stepX + std::int64_t{start.y.raw} * line.stepY) >> 16);
  }

 private:
  static std::int64_t Length(std::int64_t x, std::int64_t y) {
    if (x == 0 || y == 0) return std::abs(x + y);  // as below, but at once
    return Root(static_cast<std::uint64_t>(x * x + y * y));
  }
  static std::int32_t Part(std::int64_t v, std::int64_t length) {
    if (v == 0 || length == 0) return 0;
    if (v == length || v == -length) return v < 0 ? -(1 << kBits) : 1 << kBits;
    return static_cast<std::int32_t>(v * (std::int64_t{1} << kBits) / length);
  }
};

const PreparedRamp& RampOf(const KStyleContext2D* style) {
  return *static_cast<const PreparedRamp*>(style->table1);
}

/// The next n pixels of a row.
template <bool AA, bool Blend>
void PaintRow(const Loops& loops, RampWalk& walk, std::uint32_t* to, const std::int32_t* coverage,
              int n) {
  while (n > 0) {
    const int run = walk.Next(n);
    if (walk.IsFlat()) {
      if (!walk.IsEnd() || walk.Color() != 0) {
        PutColor<AA, Blend>(loops, to, coverage, run, walk.Color());
      }
    } else if constexpr (!AA && !Blend) {
      walk.Write(to, run);
    } else {
      std::uint32_t colors[kBlock];
      for (int done = 0; done < run; done += kBlock) {
        const int count = std::min(run - done, kBlock);
        walk.Write(colors, count);
        PutPixels<AA>(loops, to + done, colors, AA ? coverage + done : nullptr, count);
      }
    }
    to += run;
    if (AA) coverage += run;
    n -= run;
  }
}

/// Rows that are all alike: colours once, then copies.
template <bool Blend>
void PaintAcross(const Loops& loops, RampWalk walk, const Block& block) {
  if constexpr (!Blend) {
    walk.WriteAll(block.to, block.n);
    loops.pixels.copyBlock({block.to + block.stride, block.stride, block.n, block.rows - 1},
                           block.to, 0);
    return;
  }
  constexpr int kMost = 256;
  std::uint32_t colors[kMost];
  for (int x = 0; x < block.n; x += kMost) {
    const int n = std::min(block.n - x, kMost);
    walk.WriteAll(colors, n);
    loops.pixels.overBlock({block.to + x, block.stride, n, block.rows}, colors, 0);
  }
}

/// Rows of one colour each, as many at a time as are alike.
template <bool Blend>
void PaintDown(const Loops& loops, RampWalk walk, Block block) {
  std::uint32_t colors[kBlock];
  for (int left = block.rows; left > 0; left -= kBlock) {
    const int n = std::min(left, kBlock);
    walk.WriteAll(colors, n);
    for (int y = 0; y < n; y += block.rows, block.to += block.stride * block.rows) {
      const std::uint32_t color = colors[y];
      block.rows = 1;
      while (y + block.rows < n && colors[y + block.rows] == color) ++block.rows;
      (Blend ? loops.color.over : loops.color.fill)(block, color);
    }
  }
}

template <bool Blend>
void PaintBlock(const KStyleContext2D* style, const KRowBlock& rows) {
  const PreparedRamp& ramp = RampOf(style);
  const Loops& loops = *style->loops;
  Block block = {style->row + style->x0, rows.stride, style->x1 - style->x0, rows.rows};
  if (Blend || !ramp.ShowsThrough()) {
    using enum RampWalk::Direction;
    if (ramp.line.stepY == 0) {
      return PaintAcross<Blend>(loops, {ramp, style->x0, style->y, kAlongRow}, block);
    }
    if (ramp.line.stepX == 0) {
      return PaintDown<Blend>(loops, {ramp, style->x0, style->y, kDownColumn}, block);
    }
  }
  for (int y = 0; y < block.rows; ++y, block.to += block.stride) {
    RampWalk walk(ramp, style->x0, style->y + y);
    PaintRow<false, Blend>(loops, walk, block.to, nullptr, block.n);
  }
}

}  // namespace

bool PrepareLinear(KStyleContext2D* style) {
  const KSoftColorRamp* source = style->paint->linearRamp;
  if (!source) return false;
  const Axis axis({source->axis.m6, source->axis.m7}, AxisVector(source->axis));
  const std::int32_t opacity = style->PaintOpacity();
  style->blend = opacity != 256 ? 1 : source->rampAlpha;
  PreparedRamp* ramp = PrepareRamp(style, source, opacity, axis.scale, kLeastPeriod);
  if (!ramp) return false;
  ramp->SetLine(axis.line);
  style->block = style->blend ? PaintBlock<true> : PaintBlock<false>;
  return true;
}

template <bool AA, bool Blend>
void LinearSpan<AA, Blend>::Draw(const KStyleContext2D* style) {
  if (style->x0 >= style->x1) return;
  RampWalk walk(RampOf(style), style->x0, style->y);
  PaintRow<AA, Blend>(*style->loops, walk, style->row + style->x0,
                      AA ? style->lineBuffer + style->x0 : nullptr, style->x1 - style->x0);
}

template struct LinearSpan<false, false>;
template struct LinearSpan<false, true>;
template struct LinearSpan<true, false>;
template struct LinearSpan<true, true>;

}  // namespace kalvora
