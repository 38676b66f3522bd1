// DifferenceRows: differences to calls of fillers, and to coverage where there is none for them.
#include "kalvora/raster/sweep/DifferenceRows.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "kalvora/raster/KStack.h"

namespace kalvora {
namespace {

constexpr std::int32_t kWhole = 0x10000;
// From here on a coverage weighs 256, as much as full coverage. Then it must count as full also
// where an opacity multiplies it.
constexpr std::int32_t kAsGoodAsFull = kWhole - 128;
// Lines that have so many pixels in all stay in the nearest cache; more at once are worth it where
// pieces wait.
constexpr std::int32_t kPixels = kPiecesWait ? 6144 : 4096;
// Where edges of rows that were begun together are not apart, others of these rows may be.
constexpr std::int32_t kFewRows = 8;

// 16.16 coverage of a running sum. Roundings may take it a few units outside.
std::int32_t Settled(std::uint32_t sum) {
  const std::int32_t coverage = static_cast<std::int32_t>(sum) >> (kHeightBits + 1);
  return coverage >= kAsGoodAsFull ? kWhole : std::max(coverage, 0);
}

}  // namespace

DifferenceRows::DifferenceRows(KStack* stack, KRowPainter& painter, std::int32_t* coverage,
                               const DrawnBox& box)
    : stack_(stack),
      painter_(painter),
      takesStraight_(painter.TakesStraight()),
      coverage_(coverage + box.x0),
      line_(box.x0, box.x1),
      first_(box.x0),
      width_(box.x1 - box.x0),
      room_(width_ > kPixels / kMostRows ? std::max(kPixels / width_, 1) : kMostRows),
      blocks_((width_ + 6) >> 2),
      lineStride_(4 * blocks_ + ((blocks_ + 31) >> 5)) {
  room_ = std::min(room_, box.y1 - box.y0);
  const auto words = static_cast<std::uint32_t>(room_ * lineStride_);
  const auto ranges = static_cast<std::uint32_t>(room_ * kMostEdges * 2);
  lines_ = static_cast<std::uint32_t*>(stack->Alloc((words + ranges) * sizeof(std::uint32_t)));
  if (!lines_) return;
  std::fill_n(lines_, words, 0u);
  ranges_ = freeRange_ = reinterpret_cast<std::int32_t*>(lines_ + words);
}

DifferenceRows::~DifferenceRows() { stack_->DeAlloc(lines_); }

void DifferenceRows::BeginEdges(std::int32_t y, bool inside, std::int32_t rows) {
  edgesTop_ = y;
  edgesRows_ = rows;
  straight_.inside = inside;
  straight_.count = 0;
}

void DifferenceRows::AddEdge(SlopedEdge& edge, std::uint64_t place) {
  const std::uint64_t step = static_cast<std::uint64_t>(edge.ratio) << 16;
  if (step != 0) edge.NeedGain();
  edge_[straight_.count] = &edge;
  straight_.edge[straight_.count++] = {place - Before(), step, edge.gain, edge.shift};
}

// Whether in so many rows their columns lie within those drawn, and do not touch: at all heights,
// when at both ends. How far a row goes to the side is added where that is more than a column.
bool DifferenceRows::AreApart(std::int32_t rows) const {
  constexpr std::int64_t kColumns = 2;
  std::int64_t nextTop = 0, nextBottom = 0;
  if (!takesStraight_) return false;
  for (int i = 0; i < straight_.count; ++i) {
    const auto [place, step, gain, shift] = straight_.edge[i];
    const std::int64_t top = SlopedEdge::XOf(place);
    const std::int64_t bottom = SlopedEdge::XOf(place + step * static_cast<std::uint32_t>(rows));
    const std::int64_t across = std::abs(edge_[i]->ratio >> 16);
    const std::int64_t beside = across > kWhole ? across : 0;
    if (top - beside < nextTop || bottom - beside < nextBottom) return false;
    nextTop = top + kColumns * kWhole + 1;
    nextBottom = bottom + kColumns * kWhole + 1;
    if (std::max(nextTop, nextBottom) > std::int64_t{width_ + 1} * kWhole) return false;
  }
  return true;
}

void DifferenceRows::EndEdges() {
  if (straight_.count == 0 && !straight_.inside) return;
  const std::int32_t few = std::min(room_, takesStraight_ ? kFewRows : kMostRows);
  while (edgesRows_ > 0) {
    straight_.rows = edgesRows_;
    bool areApart = AreApart(straight_.rows);
    if (!areApart && straight_.rows > few) areApart = AreApart(straight_.rows = few);
    areApart ? PaintStraight() : AddToLines(straight_.rows);
    edgesTop_ += straight_.rows;
    edgesRows_ -= straight_.rows;
    for (int i = 0; i < straight_.count; ++i) {
      KStraightEdges::Edge& edge = straight_.edge[i];
      edge.place += edge.step * static_cast<std::uint32_t>(straight_.rows);
    }
  }
}

void DifferenceRows::PaintStraight() {
  painter_.GoTo(edgesTop_);
  painter_.Straight(first_, first_ + width_, straight_);
}

void DifferenceRows::AddToLines(std::int32_t rows) {
  const std::int32_t edges = straight_.count;
  GoOn(straight_.inside, rows);
  DifferenceLine::RowRanges ranges{freeRange_, 2 * edges, lineStride_, rows};
  freeRange_ += 2 * edges * rows;
  for (std::int32_t i = 0; i < rows; ++i) {
    y_[waiting_] = edgesTop_ + i;
    edges_[waiting_++] = edges;
  }
  std::int32_t weight = straight_.inside ? -1 : 1;
  for (std::int32_t i = 0; i < edges; ++i, weight = -weight, ranges.first += 2) {
    line_.AddRows(*edge_[i], straight_.edge[i].place + Before(), weight, ranges);
  }
}

void DifferenceRows::Paint() {
  if (waiting_ == 0) return;
  line_.Finish();
  painter_.GoTo(0);
  KRowDifferences rows{.line = lines_,
                       .touched = lines_ + 4 * blocks_,
                       .lineStride = lineStride_,
                       .y = y_,
                       .edges = edges_,
                       .ranges = ranges_,
                       .rows = waiting_,
                       .start = inside_ ? std::uint32_t{DifferenceLine::kFull} : 0,
                       .stride = 0};
  if (!painter_.Differences(first_, first_ + width_, rows)) SumUp();
  waiting_ = 0;
  freeRange_ = ranges_;
}

void DifferenceRows::SumUp() {
  const std::int32_t* range = ranges_;
  for (std::int32_t row = 0; row < waiting_; ++row) {
    std::uint32_t* const line = LineOf(row);
    std::uint32_t* const touched = line + 4 * blocks_;
    line_.GoTo(line, touched);
    for (std::int32_t i = 0; i < edges_[row]; ++i, range += 2) {
      if (range[0] < range[1]) line_.MarkRange(range[0], range[1] - 1);
    }
    painter_.GoTo(y_[row]);
    SumUpRow(line, touched);
  }
}

void DifferenceRows::SumUpRow(std::uint32_t* line, std::uint32_t* touched) {
  std::uint32_t sum = inside_ ? DifferenceLine::kFull : 0;
  std::int32_t done = 0;
  // Pixels that no piece touches are all alike.
  const auto paintLevel = [&](std::int32_t to) {
    const std::int32_t level = Settled(sum);
    if (level == 0 || done >= to) return;
    if (level == kWhole) return painter_.Solid(first_ + done, first_ + to);
    std::fill(coverage_ + done, coverage_ + to, level);
    painter_.Covered(first_ + done, first_ + to);
  };
  for (std::int32_t word = 0; word < (blocks_ + 31) >> 5; ++word) {
    std::uint32_t bits = touched[word];
    touched[word] = 0;
    while (bits != 0) {
      const int first = std::countr_zero(bits);
      const int count = std::countr_one(bits >> first);
      bits &= count == 32 ? 0 : ~(((std::uint32_t{1} << count) - 1) << first);
      const std::int32_t from = std::min(128 * word + 4 * first, width_);
      const std::int32_t to = std::min(from + 4 * count, width_);
      paintLevel(from);
      sum = SumUp(line, from, to, sum);
      painter_.Covered(first_ + from, first_ + to);
      done = to;
    }
  }
  line[width_] = 0;
  paintLevel(width_);
}

// Writes the coverage of columns, and empties their differences.
std::uint32_t DifferenceRows::SumUp(std::uint32_t* line, std::int32_t from, std::int32_t to,
                                    std::uint32_t sum) {
  for (std::int32_t column = from; column < to; ++column) {
    sum += line[column];
    line[column] = 0;
    coverage_[column] = Settled(sum);
  }
  return sum;
}

}  // namespace kalvora
