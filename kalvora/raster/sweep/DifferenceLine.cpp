// DifferenceLine: pieces of edges to differences, and differences to runs of pixels.
#include "kalvora/raster/sweep/DifferenceLine.h"

#include <algorithm>
#include <bit>

#include "kalvora/raster/KRowPainter.h"
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
  line_ = static_cast<std::uint32_t*>(stack->Alloc(entries * sizeof(std::uint32_t)));
  if (!line_) return;
  touched_ = line_ + 4 * blocks_;
  std::fill_n(line_, entries, 0u);
}

DifferenceLine::~DifferenceLine() { stack_->DeAlloc(line_); }

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
  const int shift = edge.shift;
  const std::uint64_t gain = edge.gain;
  // (distance from xTop to the border left of `column`) x gain
  const auto product = [&](std::int32_t column) {
    const std::int32_t border = (column + first_) * kWhole;
    return gain * static_cast<std::uint32_t>(goesLeft ? xTop - border : border - xTop);
  };
  const auto reach = [&](std::uint64_t p) {
    const auto h = static_cast<std::int32_t>(
        std::min<std::uint64_t>(p >> shift, static_cast<std::uint32_t>(height)));
    return goesLeft ? height - h : h;
  };

  std::int32_t column = std::max(left, 0);
  std::int32_t last = 0;     // area of the column before, twice
  std::int32_t entered = 0;  // R at the left border of the column
  if (column == left) {
    const std::int32_t r = reach(product(left + 1));
    last = static_cast<std::int32_t>((std::int64_t{r} * (kWhole - (low & 0xFFFF))) >> 16);
    line_[column] += static_cast<std::uint32_t>(weight * last);
    entered = r;
    ++column;
  } else {
    entered = reach(product(0));
  }
  const std::int32_t stop = std::min(right, width_);
  if (column < stop) {
    std::uint64_t p = product(column + 1);
    const std::uint64_t step = goesLeft ? 0 - (gain << 16) : gain << 16;
    for (; column < stop; ++column, p += step) {
      const std::int32_t r = reach(p);
      const std::int32_t area = entered + r;
      line_[column] += static_cast<std::uint32_t>(weight * (area - last));
      last = area;
      entered = r;
    }
  }
  if (right < width_) {
    const auto beyond =
        static_cast<std::int32_t>((std::int64_t{height - entered} * (high & 0xFFFF)) >> 16);
    line_[column] += static_cast<std::uint32_t>(weight * (2 * height - beyond - last));
    line_[++column] += static_cast<std::uint32_t>(weight * beyond);
  }
  MarkRange(std::max(left, 0), std::min(column, width_));
}

void DifferenceLine::MarkRange(std::int32_t from, std::int32_t last) {
  for (std::int32_t block = from >> 2; block <= last >> 2; ++block) {
    touched_[block >> 5] |= std::uint32_t{1} << (block & 31);
  }
}

// The first block from `block` on that is touched, or with all bits flipped that is not.
std::int32_t DifferenceLine::NextBlock(std::int32_t block, std::uint32_t flip) const {
  std::int32_t word = block >> 5;
  const std::int32_t words = (blocks_ + 31) >> 5;
  if (word >= words) return blocks_;
  std::uint32_t bits = (touched_[word] ^ flip) & (UINT32_MAX << (block & 31));
  while (bits == 0) {
    if (++word == words) return blocks_;
    bits = touched_[word] ^ flip;
  }
  return std::min(32 * word + std::countr_zero(bits), blocks_);
}

// Pixels that no piece touches are all alike.
void DifferenceLine::PaintLevel(KRowPainter& painter, std::int32_t* coverage, std::int32_t from,
                                std::int32_t to, std::uint32_t sum) {
  const std::int32_t level = Settled(sum);
  if (level == 0 || from >= to) return;
  if (level == kWhole) return painter.Solid(from, to);
  std::fill(coverage + from, coverage + to, level);
  painter.Covered(from, to);
}

void DifferenceLine::Paint(KRowPainter& painter, std::int32_t* coverage, bool inside) {
  std::uint32_t sum = inside ? kFull : 0;
  std::int32_t done = 0;
  for (std::int32_t block = NextBlock(0, 0); block < blocks_;) {
    const std::int32_t after = NextBlock(block, UINT32_MAX);
    std::int32_t from = 4 * block;
    const std::int32_t to = std::min(4 * after, width_);
    PaintLevel(painter, coverage, first_ + done, first_ + std::min(from, width_), sum);
    for (std::int32_t column = from; column < to; ++column) {
      sum += line_[column];
      coverage[first_ + column] = Settled(sum);
    }
    std::fill(line_ + from, line_ + 4 * after, 0u);
    painter.Covered(first_ + from, first_ + to);
    done = to;
    block = NextBlock(after, 0);
  }
  PaintLevel(painter, coverage, first_ + done, first_ + width_, sum);
  std::fill_n(touched_, (blocks_ + 31) >> 5, 0u);
}

}  // namespace kalvora
