// DifferenceLine: pieces of edges to differences.
#include "kalvora/raster/sweep/DifferenceLine.h"

#include <algorithm>

#include "kalvora/support/processor.h"

namespace kalvora {
namespace {

constexpr std::int32_t kWhole = 0x10000;
// An edge of more rows keeps the gain that the first of them finds.
constexpr std::uint32_t kManyRows = 32;

#if defined(__x86_64__)
const bool kHasWideVectors = WidestVectors() == Vectors::k32Bytes;
#endif

}  // namespace

bool DifferenceLine::PrefersToWait() {
#if defined(__x86_64__)
  return kHasWideVectors;
#else
  return false;
#endif
}

[[gnu::noinline]] void DifferenceLine::AddWaiting() {
#if defined(__x86_64__)
  std::uint8_t rest[Pieces::kMost];
  std::uint32_t *const line = line_, *const touched = touched_;
  const std::ptrdiff_t marks = touched - line;
  const int others = avx2::AddPieces(pieces_, {first_, width_, marks}, rest);
  for (int k = 0; k < others; ++k) {
    const int i = rest[k];
    SlopedEdge edge{};
    edge.gain = static_cast<std::uint32_t>(pieces_.dx[i]);
    edge.shift = static_cast<std::uint8_t>(pieces_.dy[i]);
    GoTo(pieces_.line[i], pieces_.line[i] + marks);
    AddSlanted(edge, pieces_.xTop[i], pieces_.xBottom[i], pieces_.height[i], pieces_.weight[i],
               true);
  }
  GoTo(line, touched);
#endif
  pieces_.count = 0;
}

// Corrections: seldom enough to stay apart.
[[gnu::noinline]] void DifferenceLine::Add(SlopedEdge& edge, std::int32_t xTop,
                                           std::int32_t xBottom, std::int32_t height,
                                           std::int32_t weight) {
  if (edge.gain == 0 && weight * weight == 1 && Waits(edge, xTop, xBottom, height, weight)) return;
  // Most of what lies between two vertices of a row: that is foreseen, unlike which way it leans.
  const std::int32_t column = (xTop >> 16) - first_;
  if (xTop >> 16 != xBottom >> 16 || !IsDrawn(column)) {
    return AddFurther(edge, xTop, xBottom, height, weight);
  }
  AddUpright(line_ + column, (xTop & 0xFFFF) + (xBottom & 0xFFFF), height, weight);
  Mark(column);
  Mark(column + 1);
}

// Apart, because it needs the registers that Add then need not save.
[[gnu::noinline]] void DifferenceLine::AddFurther(SlopedEdge& edge, std::int32_t xTop,
                                                  std::int32_t xBottom, std::int32_t height,
                                                  std::int32_t weight) {
  AddPiece<false>(edge, xTop, xBottom, height, weight);
}

void DifferenceLine::AddRow(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom,
                            std::int32_t weight) {
  const bool isShort = edge.Height() < kManyRows * kWhole;
  if (isShort && Waits(edge, xTop, xBottom, kWholeHeight, weight)) return;
  AddPiece<true>(edge, xTop, xBottom, kWholeHeight, weight);
}

void DifferenceLine::AddVertical(std::int32_t x, std::int32_t height, std::int32_t weight) {
  const std::int32_t column = (x >> 16) - first_;
  if (column >= width_) return;
  if (column < 0) return AddToFirst(2 * height * weight, true);
  AddUpright(line_ + column, 2 * (x & 0xFFFF), height, weight);
  Mark(column);
  Mark(column + 1);
}

// As AddPiece does it, but what is the same in all rows is said once.
template <bool kGoesLeft>
void DifferenceLine::AddAlong(SlopedEdge& edge, std::uint64_t place, std::int32_t weight,
                              RowRanges rows) {
  const std::uint64_t step = static_cast<std::uint64_t>(edge.ratio) << 16;
  const std::int32_t first = first_, width = width_;
  if (step != 0) edge.NeedGain();
  const Slope slope{edge.gain, edge.shift, kGoesLeft};
  std::uint32_t* line = line_;
  std::int32_t* range = rows.first;
  std::int32_t x = SlopedEdge::XOf(place);
  for (std::int32_t row = 0; row < rows.rows; ++row) {
    const std::int32_t xTop = x;
    x = SlopedEdge::XOf(place += step);
    const std::int32_t low = kGoesLeft ? x : xTop, high = kGoesLeft ? xTop : x;
    const std::int32_t left = (low >> 16) - first, right = (high >> 16) - first;
    if (right - left <= 1 && left >= 0 && right < width) {
      AddNarrow<false>(line + left, slope, low & 0xFFFF, high & 0xFFFF, left - right, kWholeHeight,
                       weight);
      range[0] = left;
      range[1] = std::min(right + 2, width);
    } else {
      std::swap(line_, line);
      AddSlanted(edge, xTop, x, kWholeHeight, weight, false);
      std::swap(line_, line);
      range[0] = std::max(left, 0);
      range[1] = std::clamp(right + 2, 1, width);
    }
    range += rows.rangeStride;
    line += rows.lineStride;
  }
}

void DifferenceLine::AddRows(SlopedEdge& edge, std::uint64_t place, std::int32_t weight,
                             RowRanges rows) {
  edge.ratio < 0 ? AddAlong<true>(edge, place, weight, rows)
                 : AddAlong<false>(edge, place, weight, rows);
}

namespace {

/// R(b) of a piece; see AddSlanted.
struct Reach {
  std::uint64_t gain;
  int shift;
  std::uint32_t height;
  std::int32_t sign;    // -1 to the left, 0 to the right: differences turn without a jump
  std::int32_t offset;  // R(b) = (H(b) ^ sign) + offset
  std::int32_t xTop;
  std::int32_t first;

  /// (distance from xTop to the border left of `column`) x gain
  std::uint64_t Product(std::int32_t column) const {
    const std::int32_t border = (column + first) * kWhole;
    return gain * static_cast<std::uint32_t>(((border - xTop) ^ sign) - sign);
  }
  std::uint32_t Height(std::uint64_t product) const {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(product >> shift, height));
  }
  std::int32_t operator()(std::uint64_t product) const {
    return (static_cast<std::int32_t>(Height(product)) ^ sign) + offset;
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
  const auto turned = static_cast<std::uint64_t>(std::int64_t{reach.sign});
  const std::uint64_t step = ((reach.gain << 16) ^ turned) - turned;
  const std::int32_t second = reach(p);
  line[column] += static_cast<std::uint32_t>(weight * (at.entered + second - at.last));
  // Further differences of areas are those of R from the border before the column to that behind,
  // where one sign and one constant go for all.
  std::int32_t before = at.entered - reach.offset, now = second - reach.offset;
  while (++column < stop) {
    p += step;
    const std::int32_t behind = static_cast<std::int32_t>(reach.Height(p)) ^ reach.sign;
    line[column] += static_cast<std::uint32_t>(weight * (behind - before));
    before = now;
    now = behind;
  }
  at = {column, before + now + 2 * reach.offset, now + reach.offset};
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
                                std::int32_t height, std::int32_t weight, bool mark) {
  const bool goesLeft = xBottom < xTop;
  const std::int32_t low = goesLeft ? xBottom : xTop;
  const std::int32_t high = goesLeft ? xTop : xBottom;
  const std::int32_t left = (low >> 16) - first_;
  const std::int32_t right = (high >> 16) - first_;
  if (left >= width_) return;
  if (right < 0) return AddToFirst(2 * height * weight, mark);

  edge.NeedGain();
  const std::int32_t sign = -static_cast<std::int32_t>(goesLeft);
  const Reach reach{edge.gain, edge.shift,          static_cast<std::uint32_t>(height),
                    sign,      (height + 1) & sign, xTop,
                    first_};
  Progress at{std::max(left, 0), 0, 0};
  if (at.column == left) {
    at.entered = reach(reach.Product(left + 1));
    at.last =
        static_cast<std::int32_t>((std::int64_t{at.entered} * (kWhole - (low & 0xFFFF))) >> 16);
    line_[at.column++] += static_cast<std::uint32_t>(weight * at.last);
  } else {
    at.entered = reach(reach.Product(0));
  }
  const std::int32_t stop = std::min(right, width_);
  if (at.column < stop) Pass(line_, reach, weight, stop, at);
  if (right < width_) {
    const auto beyond =
        static_cast<std::int32_t>((std::int64_t{height - at.entered} * (high & 0xFFFF)) >> 16);
    line_[at.column] += static_cast<std::uint32_t>(weight * (2 * height - beyond - at.last));
    line_[++at.column] += static_cast<std::uint32_t>(weight * beyond);
  }
  if (mark) MarkRange(std::max(left, 0), std::min(at.column, width_));
}

void DifferenceLine::MarkRange(std::int32_t from, std::int32_t last) {
  std::int32_t block = from >> 2;
  for (; block >> 5 < last >> 7; block = (block | 31) + 1) {
    touched_[block >> 5] |= ~std::uint32_t{0} << (block & 31);
  }
  touched_[last >> 7] |=
      (std::uint32_t{2} << (last >> 2 & 31)) - (std::uint32_t{1} << (block & 31));
}

}  // namespace kalvora
