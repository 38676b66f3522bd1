// The span fillers of a radial gradient.
#include "kalvora/paint/KRadialStrip.h"

#include <algorithm>
#include <new>

#include "kalvora/paint/KPaint.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/composite.h"
#include "kalvora/paint/distances.h"
#include "kalvora/paint/rampcells.h"

namespace kalvora {
namespace {

/// Pixels that are coloured at a time.
constexpr int kChunk = 64;

/// A draw's words, kept behind its ramp.
struct Radial {
  RampCells cells;
  const Loops* loops;
  bool showsThrough;  ///< an end colour of 0 leaves pixels beyond that end as they are
};

const Radial& Of(const KStyleContext2D* style) {
  return *static_cast<const Radial*>(style->table0);
}

/// A walk along the row: runs beyond the ramp, and chunks that are coloured pixel by pixel.
class RadialWalk {
 public:
  RadialWalk(const KStyleContext2D* style)
      : radial_(Of(style)),
        row_(FirstOffset(style), {style->inverse.m0, style->inverse.m1}),
        isSeries_(row_.IsSeries(style->x1 - style->x0)) {}

  /// Of the next n pixels, how many from the first on are known to lie beyond a padded ramp.
  int CountBeyond(int n) const {
    if (!isSeries_ || radial_.cells.Period() != 0) return 0;
    const SquareSeries squares(row_);
    const std::uint64_t limit = radial_.cells.End() * radial_.cells.End();
    if (squares.StaysFrom(limit, n)) return n;
    n = std::min(n, kChunk);
    return squares.StaysFrom(limit, n) ? n : 0;
  }
  std::uint32_t EndColor() const { return radial_.cells.EndColor(); }
  void Skip(int n) { row_ = row_.From(n); }
  /// Writes the next n colours, at most kChunk. In the target itself pixels may show through.
  template <bool InTarget>
  void Write(std::uint32_t* to, int n);

 private:
  static KVertex2D FirstOffset(const KStyleContext2D* style) {
    const KSoftMatrix3D& m = style->inverse;
    // Without wrapping before the product, so that every pixel's is one step from the next.
    const std::int64_t dx = std::int64_t{style->x0} * 0x10000 - m.m6.raw;
    const std::int64_t dy = std::int64_t{style->y} * 0x10000 - m.m7.raw;
    const auto offset = [=](KFixed a, KFixed b) {
      return KFixed::FromRaw(static_cast<std::int32_t>((a.raw * dx >> 16) + (b.raw * dy >> 16)));
    };
    return {offset(m.m0, m.m3), offset(m.m1, m.m4)};
  }
  /// Of the next pixels, in a ramp that repeats within the period.
  std::uint32_t DistanceAt(int i) const {
    const std::uint32_t distance = row_.DistanceAt(i);
    return radial_.cells.Period() ? distance % radial_.cells.Period() : distance;
  }
  void FindCells(std::uint32_t* cells, int n) const;
  void ShowThrough(std::uint32_t* to, const std::uint32_t* colors, int n) const;

  const Radial& radial_;
  OffsetRow row_;
  bool isSeries_;
};

void RadialWalk::FindCells(std::uint32_t* cells, int n) const {
  const RampCells& table = radial_.cells;
  const GradientLoops& loops = radial_.loops->gradient;
  if (!isSeries_) {
    for (int i = 0; i < n; ++i) {
      cells[i] = std::min(DistanceAt(i) >> table.Shift(), table.Count());
    }
  } else if (table.Period()) {
    loops.cellsOfPeriod(cells, n, SquareSeries(row_), table.Shift(), table.Period());
  } else {
    loops.cells(cells, n, SquareSeries(row_), table.Shift(), table.Count());
  }
}

template <bool InTarget>
void RadialWalk::Write(std::uint32_t* to, int n) {
  const RampCells& table = radial_.cells;
  std::uint32_t cells[kChunk], colors[kChunk];
  std::uint32_t* const out = InTarget && radial_.showsThrough ? colors : to;
  FindCells(cells, n);
  radial_.loops->gradient.lookUp(out, n, cells, table.Colors());
  if (table.HasSteep()) {
    for (int i = 0; i < n; ++i) {
      if (table.IsSteep(cells[i])) out[i] = table.ColorAt(DistanceAt(i));
    }
  }
  if (out != to) ShowThrough(to, out, n);
  Skip(n);
}

/// All colours but those of 0 beyond the ends.
void RadialWalk::ShowThrough(std::uint32_t* to, const std::uint32_t* colors, int n) const {
  for (int i = 0; i < n; ++i) {
    if (colors[i] != 0 || !radial_.cells.IsBeyond(DistanceAt(i))) to[i] = colors[i];
  }
}

}  // namespace

bool PrepareRadial(KStyleContext2D* style) {
  constexpr std::uint32_t kHead = sizeof(Radial) / sizeof(std::uint32_t);
  const KSoftColorRamp* source = style->paint->radialRamp;
  if (!source) return false;
  const std::int32_t opacity = style->PaintOpacity();
  style->inverse = source->axis;
  // The paint's flag, where linear gradients ask the ramp: an old difference that pictures rely on.
  style->blend = opacity != 256 || style->paint->translucent;
  PreparedRamp* ramp = PrepareRamp(style, source, opacity, {1, 0}, 1, kHead + RampCells::kWords);
  if (!ramp) return false;
  auto* radial = new (style->table0) Radial;
  radial->cells.Prepare(ramp, static_cast<std::uint32_t*>(style->table0) + kHead);
  radial->loops = ramp->loops;
  radial->showsThrough = !radial->cells.Period() && (ramp->firstColor == 0 || ramp->lastColor == 0);
  return true;
}

template <bool AA, bool Blend>
void RadialSpan<AA, Blend>::Draw(const KStyleContext2D* style) {
  RadialWalk walk(style);
  for (std::int32_t x = style->x0; x < style->x1;) {
    std::uint32_t* const to = style->row + x;
    const std::int32_t* const coverage = AA ? style->lineBuffer + x : nullptr;
    int n = walk.CountBeyond(style->x1 - x);
    if (n > 0) {
      // A colour of 0 paints nothing there.
      if (walk.EndColor() != 0) PutColor<AA, Blend>(to, coverage, n, walk.EndColor());
      walk.Skip(n);
    } else {
      n = std::min(style->x1 - x, kChunk);
      if constexpr (!AA && !Blend) {
        walk.Write<true>(to, n);
      } else {
        std::uint32_t block[kChunk];
        walk.Write<false>(block, n);
        OverPixels<AA ? Weight::kCoverage : Weight::kFull>(to, block, coverage, n, 256);
      }
    }
    x += n;
  }
}

template struct RadialSpan<false, false>;
template struct RadialSpan<false, true>;
template struct RadialSpan<true, false>;
template struct RadialSpan<true, true>;

}  // namespace kalvora
