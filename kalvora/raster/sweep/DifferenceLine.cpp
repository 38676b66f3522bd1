// DifferenceLine: pieces of edges to differences, and differences to runs of pixels.
#include "kalvora/raster/sweep/DifferenceLine.h"

#include <algorithm>
#include <bit>

#include "kalvora/raster/KStack.h"

namespace kalvora {
namespace {

constexpr std::int32_t kWhole = 0x10000;
// From here on a coverage weighs 256, as much as full coverage. Then it must count as full also
// where an opacity multiplies it.
constexpr std::int32_t kAsGoodAsFull = kWhole - 128;

// 16.16 coverage of a running sum. Roundings may take it a few units outside.
std::int32_t Settled(std::uint32_t sum) {
  const std::int32_t coverage = static_cast<std::int32_t>(sum) >> (kHeightBits + 1);
  return coverage >= kAsGoodAsFull ? kWhole : std::max(coverage, 0);
}

}  // namespace

DifferenceLine::DifferenceLine(KStack* stack, std::int32_t first, std::int32_t end)
    : stack_(stack), first_(first), width_(end - first), blocks_((width_ + 4) >> 2) {
  const std::int32_t words = (blocks_ + 31) >> 5;
  const auto entries = static_cast<std::uint32_t>(4 * blocks_ + words);
  row_.line = static_cast<std::uint32_t*>(stack->Alloc(entries * sizeof(std::uint32_t)));
  if (!row_.line) return;
  row_.touched = row_.line + 4 * blocks_;
  std::fill_n(row_.line, entries, 0u);
}

DifferenceLine::~DifferenceLine() { stack_->DeAlloc(row_.line); }

void DifferenceLine::AddRow(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom,
                            std::int32_t weight) {
  AddPiece(edge, xTop, xBottom, kWholeHeight, weight);
}

namespace {

/// R(b) of a piece; see AddSlanted.
struct Reach {
  std::uint64_t gain;
  int shift;
  std::uint32_t height;
  bool goesLeft;
  std::int32_t xTop;
  std::int32_t first;

  /// (distance from xTop to the border left of `column`) x gain
  std::uint64_t Product(std::int32_t column) const {
    const std::int32_t border = (column + first) * kWhole;
    return gain * static_cast<std::uint32_t>(goesLeft ? xTop - border : border - xTop);
  }
  std::uint32_t Height(std::uint64_t product) const {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(product >> shift, height));
  }
  std::int32_t operator()(std::uint64_t product) const {
    return static_cast<std::int32_t>(goesLeft ? height - Height(product) : Height(product));
  }
};

/// How far a slanted piece has come.
struct Progress {
  std::int32_t column;
  std::int32_t last;     // area of the column before, twice
  std::int32_t entered;  // R at the left border of the column
};

// The columns up to `stop`, one at least, which the piece passes from border to border.
void Pass(std::uint32_t* line, const Reach& reach, std::int32_t weight, std::int32_t stop,
          Progress& at) {
  std::int32_t column = at.column;
  std::uint64_t p = reach.Product(column + 1);
  const std::uint64_t step = reach.goesLeft ? 0 - (reach.gain << 16) : reach.gain << 16;
  const std::int32_t second = reach(p);
  line[column] += static_cast<std::uint32_t>(weight * (at.entered + second - at.last));
  // Further differences of areas are those of R from the border before the column to that behind,
  // where one sign and one constant go for all.
  const std::int32_t turned = reach.goesLeft ? -1 : 0;
  const std::int32_t offset = reach.goesLeft ? static_cast<std::int32_t>(reach.height) + 1 : 0;
  std::int32_t before = at.entered - offset, now = second - offset;
  while (++column < stop) {
    p += step;
    const std::int32_t behind = static_cast<std::int32_t>(reach.Height(p)) ^ turned;
    line[column] += static_cast<std::uint32_t>(weight * (behind - before));
    before = now;
    now = behind;
  }
  at = {column, before + now + 2 * offset, now + offset};
}

}  // namespace

/// The piece from left to right, whichever way it goes down: R(b) is the height on whose far side
/// it lies left of the border b, counted from the end where it is left of all borders:
///   one column l, entering      R(l + 1) (1 - frac) / 2
///   between                     (R(c) + R(c + 1)) / 2
///   the last, leaving           h - (h - R(r)) frac / 2
/// With H(b) the height from the piece's top to where it crosses b, R is H for a piece that goes
/// right, and h - H for one that goes left. H is held to h, which rounding may pass.
void DifferenceLine::AddSlanted(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom,
                                std::int32_t height, std::int32_t weight) {
  const bool goesLeft = xBottom < xTop;
  const std::int32_t low = goesLeft ? xBottom : xTop;
  const std::int32_t high = goesLeft ? xTop : xBottom;
  const std::int32_t left = (low >> 16) - first_;
  const std::int32_t right = (high >> 16) - first_;
  if (left >= width_) return;
  if (right < 0) return Put(0, 2 * height * weight);

  edge.NeedGain();
  const Reach reach{edge.gain, edge.shift, static_cast<std::uint32_t>(height),
                    goesLeft,  xTop,       first_};
  Progress at{std::max(left, 0), 0, 0};
  if (at.column == left) {
    at.entered = reach(reach.Product(left + 1));
    at.last =
        static_cast<std::int32_t>((std::int64_t{at.entered} * (kWhole - (low & 0xFFFF))) >> 16);
    row_.line[at.column++] += static_cast<std::uint32_t>(weight * at.last);
  } else {
    at.entered = reach(reach.Product(0));
  }
  const std::int32_t stop = std::min(right, width_);
  if (at.column < stop) Pass(row_.line, reach, weight, stop, at);
  if (right < width_) {
    const auto beyond =
        static_cast<std::int32_t>((std::int64_t{height - at.entered} * (high & 0xFFFF)) >> 16);
    row_.line[at.column] += static_cast<std::uint32_t>(weight * (2 * height - beyond - at.last));
    row_.line[++at.column] += static_cast<std::uint32_t>(weight * beyond);
  }
  MarkRange(std::max(left, 0), std::min(at.column, width_));
}

void DifferenceLine::MarkRange(std::int32_t from, std::int32_t last) {
  std::int32_t block = from >> 2;
  for (; block >> 5 < last >> 7; block = (block | 31) + 1) {
    row_.touched[block >> 5] |= ~std::uint32_t{0} << (block & 31);
  }
  row_.touched[last >> 7] |=
      (std::uint32_t{2} << (last >> 2 & 31)) - (std::uint32_t{1} << (block & 31));
}

// Writes the coverage of columns up to `to`, and empties their differences up to the end of a
// block.
std::uint32_t DifferenceLine::SumUp(std::int32_t* coverage, std::int32_t from, std::int32_t to,
                                    std::uint32_t sum) {
  std::uint32_t* line = row_.line;
  for (std::int32_t column = from; column < to; ++column) {
    sum += line[column];
    line[column] = 0;
    coverage[column] = Settled(sum);
  }
  return sum;
}

void DifferenceLine::SumUp(KRowPainter& painter, std::int32_t* coverage) {
  std::uint32_t sum = row_.start;
  std::int32_t done = 0;
  coverage += first_;
  // Pixels that no piece touches are all alike.
  const auto paintLevel = [&](std::int32_t to) {
    const std::int32_t level = Settled(sum);
    if (level == 0 || done >= to) return;
    if (level == kWhole) return painter.Solid(first_ + done, first_ + to);
    std::fill(coverage + done, coverage + to, level);
    painter.Covered(first_ + done, first_ + to);
  };
  const std::int32_t words = (blocks_ + 31) >> 5;
  for (std::int32_t word = 0; word < words; ++word) {
    std::uint32_t bits = row_.touched[word];
    row_.touched[word] = 0;
    while (bits != 0) {
      const int first = std::countr_zero(bits);
      const int count = std::countr_one(bits >> first);
      bits &= count == 32 ? 0 : ~(((std::uint32_t{1} << count) - 1) << first);
      const std::int32_t from = std::min(128 * word + 4 * first, width_);
      const std::int32_t to = std::min(from + 4 * count, width_);
      paintLevel(from);
      sum = SumUp(coverage, from, to, sum);
      painter.Covered(first_ + from, first_ + to);
      done = to;
    }
  }
  row_.line[width_] = 0;
  paintLevel(width_);
}

}  // namespace kalvora
