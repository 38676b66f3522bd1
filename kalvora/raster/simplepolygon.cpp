// Scan conversion of one ring with a single top vertex: two chains from the top to the bottom.
//
// Each row is cut into steps at the vertices; a row without any is one step. Where the paint has a
// filler of steps they are collected for it. Otherwise a step's coverage goes into the coverage
// line, and the row is painted when its last step has ended.
#include <algorithm>
#include <utility>

#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/StepPainter.h"
#include "kalvora/raster/crossing.h"
#include "kalvora/raster/edge.h"
#include "kalvora/raster/polygon.h"

namespace kalvora {
namespace {

constexpr std::int32_t kRow = 0x10000;
constexpr std::int32_t kLowestStep = 16;  // what ComputeAA still draws
// From here on a coverage weighs 256, as much as full coverage.
constexpr std::int32_t kAsGoodAsFull = kRow - 128;
// A run of so many solid pixels is painted on its own.
constexpr std::int32_t kLongRun = 24;

KFixed Fixed(std::int32_t raw) { return KFixed::FromRaw(raw); }

struct Chain {
  ChainEdge edge;
  std::int32_t direction;
  std::int32_t top, bottom;  // x at the step's top and bottom

  bool Start(const KVertex2D* v, std::int32_t y) {
    if (!edge.Start(v, direction, y)) return false;
    top = edge.XAt(y);
    return true;
  }
  // Takes the next edge when y has reached the end of this one.
  bool Follow(std::int32_t y) {
    if (edge.Bottom() > y) return true;
    if (!edge.Continue(direction, y)) return false;
    top = edge.XAt(y);
    return true;
  }
  StepEdge Edge() const { return {top, bottom, edge.Slope()}; }
  // Of the pixel that a vertical edge goes through, what lies to its right.
  std::int32_t RightOf() const { return kRow - (top & 0xFFFF); }
};

// The edge of a part that may be as high as a row: its slope counts as in other parts.
StepEdge HighPart(const StepEdge& e) {
  if ((e.slope < 0) == (e.top > e.bottom)) return e;
  const auto middle = static_cast<std::int32_t>((std::int64_t{e.top} + e.bottom) >> 1);
  return {middle, middle, 0};
}

// Ends the step where the chains cross: both x become the mean of the two there.
std::int32_t CutAtCrossing(Chain& left, Chain& right, std::int32_t y, std::int32_t stop) {
  stop = y + CrossingHeight(left.top, left.bottom, right.top, right.bottom, stop - y);
  left.bottom = left.edge.XBelow(stop);
  right.bottom = right.edge.XBelow(stop);
  if (left.bottom > right.bottom) {
    const auto mean = static_cast<std::int32_t>((std::int64_t{left.bottom} + right.bottom) >> 1);
    left.bottom = right.bottom = mean;
  }
  return stop;
}

// A jump that is foreseen wrongly costs wide processors tens of instructions.
constexpr bool kJumpsAreCheap = sizeof(void*) == 4;

/// The rows of the draw, top to bottom: collects the coverage of each and paints it.
class Rows {
 public:
  Rows(const RasterJob& job, std::int32_t y)
      : job_(job),
        style_(*job.style),
        painter_(job),
        ready_(painter_.Bind()),
        steps_(painter_, style_.clip),
        hasSteps_(style_.steps && !job.mask) {
    if (ready_) GoTo(y >> 16);
  }

  bool Ready() const { return ready_; }

  /// Covers what lies between two edges over a step of that height, and paints the row when it was
  /// the last.
  void Step(const StepEdge& left, const StepEdge& right, std::int32_t y, std::int32_t stop) {
    if (stop - y == kRow && !inSteps_) return WholeLine(left, right);
    Part(left, right, stop - y);
    const std::int32_t ends = ((stop & (kRow - 1)) - 1) >> 31;  // all bits, or none
    if (kJumpsAreCheap && !ends) return;
    if (inSteps_) {
      steps_.EndRow(row_, ends);
      row_ = stop >> 16;
      carried_ &= ~ends;
    } else if (ends) {
      FinishLine();
      GoTo(stop >> 16);
    }
  }

  /// Whole rows from y on, while the chains keep their order and go on below them. Returns where
  /// the next step begins.
  std::int32_t Whole(Chain& left, Chain& right, std::int32_t y, std::int32_t end) {
    std::uint64_t l = left.edge.TravelTo(y), r = right.edge.TravelTo(y);
    const std::uint64_t leftStep = left.edge.TravelPerRow(), rightStep = right.edge.TravelPerRow();
    StepEdge a = left.Edge(), b = right.Edge();
    for (; end - y > kRow; y += kRow) {
      a.bottom = left.edge.AfterTravel(l += leftStep);
      b.bottom = right.edge.AfterTravel(r += rightStep);
      if (a.top > b.top || a.bottom > b.bottom) break;
      WholeRow(a, b);
      a.top = a.bottom;
      b.top = b.bottom;
    }
    left.top = a.top;
    right.top = b.top;
    return y;
  }

  /// The whole rows [row, end), between two vertical edges. False when the paint has no fillers of
  /// such blocks.
  bool Block(const Chain& left, const Chain& right, std::int32_t row, std::int32_t end) {
    if (!style_.edged || job_.mask) return false;
    const std::int32_t first = left.top >> 16, last = right.top >> 16;
    const std::int32_t less = kRow - right.RightOf();  // of the last column
    const std::int32_t in = first == last ? left.RightOf() - right.RightOf() : left.RightOf();
    const PixelBox box(style_.clip, first, row, less == 0 ? last : last + 1, end);
    painter_.Box(box, box.x0 == first ? in : KRowBlock::kNoEdge,
                 less != 0 && box.x1 == last + 1 ? less : KRowBlock::kNoEdge);
    GoTo(end);
    return true;
  }

  /// Paints what is pending.
  void Finish() {
    if (inSteps_) return steps_.EndRow(row_);
    FinishLine();
  }

 private:
  [[gnu::noinline]] void FinishLine() {
    if (style_.x0 >= style_.x1) return;
    // A run that not every step of the row shares has only part of its height.
    if (style_.solidHeight < kAsGoodAsFull) style_.SettleSolidRun();
    const bool solid = style_.solidHeight != 0 && style_.solidX0 < style_.solidX1;
    Paint(style_.x0, solid ? style_.solidX0 : style_.x1, solid ? style_.solidX1 : style_.x1,
          style_.x1);
    style_.StartRow();
  }

  void GoTo(std::int32_t row) {
    row_ = row;
    carried_ = 0;
    added_ = false;
    inSteps_ = hasSteps_;
    if (!inSteps_) StartLine();
  }

  void StartLine() {
    painter_.GoTo(row_);
    style_.StartRow();
  }

  void WholeRow(const StepEdge& l, const StepEdge& r) {
    if (inSteps_) {
      steps_.Add(l, r, kRow);
      return steps_.EndRow(row_++);
    }
    WholeLine(l, r);
  }

  [[gnu::noinline]] void WholeLine(const StepEdge& l, const StepEdge& r) {
    style_.ComputeAA(Fixed(l.top), Fixed(l.bottom), Fixed(l.slope), Fixed(r.top), Fixed(r.bottom),
                     Fixed(r.slope));
    if (style_.x0 < style_.x1) {
      const bool solid = style_.solidX0 < style_.solidX1;
      Paint(style_.x0, solid ? style_.solidX0 : style_.x1, solid ? style_.solidX1 : style_.x1,
            style_.x1);
    }
    GoTo(row_ + 1);
  }

  // A step too low to be drawn adds its height to the next of the row.
  void Part(const StepEdge& l, const StepEdge& r, std::int32_t height) {
    const bool carries = carried_ != 0;
    height += carried_;
    carried_ = height < kLowestStep ? height : 0;
    if (carried_) return;
    if (inSteps_) {
      if (steps_.Add(carries ? HighPart(l) : l, carries ? HighPart(r) : r, height)) return;
      // So many steps are added up in the coverage line.
      inSteps_ = false;
      StartLine();
      steps_.TakeRow(
          [this](const StepEdge& a, const StepEdge& b, std::int32_t h) { Add(a, b, h); });
    }
    added_ = true;
    Add(l, r, height);
  }

  void Add(const StepEdge& l, const StepEdge& r, std::int32_t height) {
    style_.ComputeAA(Fixed(l.top), Fixed(l.bottom), Fixed(l.slope), Fixed(r.top), Fixed(r.bottom),
                     Fixed(r.slope), Fixed(height));
  }

  void Paint(std::int32_t x0, std::int32_t solid0, std::int32_t solid1, std::int32_t x1) {
    if (added_) {
      Settle(x0, solid0);
      Settle(solid1, x1);
    }
    if (solid1 - solid0 < kLongRun) {
      std::fill(style_.lineBuffer + solid0, style_.lineBuffer + solid1, kRow);
      return painter_.Covered(x0, x1);
    }
    painter_.Covered(x0, solid0);
    painter_.Solid(solid0, solid1);
    painter_.Covered(solid1, x1);
  }

  // Rounding may leave a sum a few units outside, or short of full: then it must count as full also
  // where an opacity multiplies it, as in a solid run, whose extent depends on the clip.
  void Settle(std::int32_t from, std::int32_t to) {
    std::int32_t* line = style_.lineBuffer;
    for (std::int32_t x = from; x < to; ++x) {
      line[x] = line[x] >= kAsGoodAsFull ? kRow : std::max(line[x], 0);
    }
  }

  const RasterJob& job_;
  KRowStyle& style_;
  KRowPainter painter_;
  bool ready_;
  StepPainter steps_;
  const bool hasSteps_;
  bool inSteps_ = false;  // the present row is made of steps, not in the coverage line
  std::int32_t row_ = 0;
  bool added_ = false;        // the row was built by adding: sums may be off by a few units
  std::int32_t carried_ = 0;  // height of the steps of this row that were too low to draw
};

}  // namespace

void DrawSimplePolygon(const RasterJob& job, const KVertex2D* top) {
  const KClip& clip = job.style->clip;
  const std::int32_t end = clip.y1 * kRow;
  std::int32_t y = std::max(clip.y0 * kRow, top->y.raw);
  Chain backward{{}, -1, 0, 0};
  Chain forward{{}, 1, 0, 0};
  if (!backward.Start(top, y) || !forward.Start(top, y)) return;
  Rows rows(job, y);
  if (!rows.Ready()) return;
  while (y < end) {
    const std::int32_t both = std::min({backward.edge.Bottom(), forward.edge.Bottom(), end});
    std::int32_t stop = std::min((y & -kRow) + kRow, both);
    if ((y & (kRow - 1)) == 0 && both - y >= 2 * kRow) {
      const bool crossed = backward.top > forward.top;
      Chain& left = crossed ? forward : backward;
      Chain& right = crossed ? backward : forward;
      const bool upright = left.edge.IsVertical() && right.edge.IsVertical();
      if (upright && rows.Block(left, right, y >> 16, both >> 16)) {
        y = both & -kRow;
        if (!backward.Follow(y) || !forward.Follow(y)) break;
        continue;
      }
      y = rows.Whole(left, right, y, both);
      stop = std::min(y + kRow, both);
    }
    backward.bottom = backward.edge.XBelow(stop);
    forward.bottom = forward.edge.XBelow(stop);
    const bool crossed =
        std::pair(backward.top, backward.bottom) > std::pair(forward.top, forward.bottom);
    Chain& left = crossed ? forward : backward;
    Chain& right = crossed ? backward : forward;
    if (left.bottom > right.bottom) stop = CutAtCrossing(left, right, y, stop);
    StepEdge l = backward.Edge(), r = forward.Edge();
    if (crossed) std::swap(l, r);
    rows.Step(l, r, y, stop);
    y = stop;
    backward.top = backward.bottom;
    forward.top = forward.bottom;
    if (!backward.Follow(y) || !forward.Follow(y)) break;
  }
  rows.Finish();
}

}  // namespace kalvora
