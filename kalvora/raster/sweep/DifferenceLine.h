// DifferenceLine: the coverage of a row, kept as differences between neighbouring pixels.
#ifndef KALVORA_RASTER_SWEEP_DIFFERENCELINE_H
#define KALVORA_RASTER_SWEEP_DIFFERENCELINE_H

#include <algorithm>
#include <cstdint>

#include "kalvora/raster/PaintJob.h"
#include "kalvora/raster/sweep/SlopedEdge.h"

namespace kalvora {

/// Collects areas to the right of pieces of edges: a pixel's coverage is the running sum of the
/// differences up to it. A piece writes to the pixels that it passes through and to the one after
/// them, whatever lies inside. Units are 2^-27 of a pixel.
///
/// Every piece is measured from its own top, and its heights at the borders of pixels too. So what
/// is added for a piece down to one height and taken away down to another is exactly what lies
/// between; sums are exact integers, in any order, wherever a piece is cut; and a pixel receives
/// the same whatever else of the row lies inside the clip.
class DifferenceLine {
 public:
  /// One pixel covered wholly.
  static constexpr std::int32_t kFull = 2 * kWholeHeight;
  static_assert(kFull == 1 << KRowDifferences::kFullBits);

  /// For the columns [first, end); add to it after GoTo.
  DifferenceLine(std::int32_t first, std::int32_t end) : first_(first), width_(end - first) {}
  /// `line` has three words more than there are columns, and on to a multiple of four; `touched` a
  /// bit for each four of them.
  void GoTo(std::uint32_t* line, std::uint32_t* touched) {
    line_ = line;
    touched_ = touched;
  }

  /// Adds `weight` times the area to the right of a piece of `edge`, from its top at xTop down
  /// `height` (1 to kWholeHeight) to where x is xBottom.
  void Add(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t height,
           std::int32_t weight);
  /// The same for a whole row.
  void AddRow(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t weight);
  /// The same for this line and those of rows below, which the edge comes into at `place`. Instead
  /// of marks it leaves a pair of columns a row.
  struct RowRanges {
    std::int32_t* first;
    std::ptrdiff_t rangeStride;  ///< words from a row's pair to the next one's
    std::ptrdiff_t lineStride;
    std::int32_t rows;
  };
  void AddRows(SlopedEdge& edge, std::uint64_t place, std::int32_t weight, const RowRanges& rows);
  /// The same for a vertical line.
  void AddVertical(std::int32_t x, std::int32_t height, std::int32_t weight);
  /// Marks columns, `last` included.
  void MarkRange(std::int32_t from, std::int32_t last);

 private:
  // Where products of 64 bits cost little, and a wrong guess much.
  static constexpr bool kWideWords = sizeof(void*) > 4;

  // A touched column is marked where no range tells of it. Whether a whole row of an edge lies in
  // one column nobody foresees; of the short pieces between vertices nearly all do.
  template <bool kWhole, bool kMark = true>
  [[gnu::always_inline]] void AddPiece(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom,
                                       std::int32_t height, std::int32_t weight) {
    const bool goesLeft = xBottom < xTop;
    const std::int32_t left = ((goesLeft ? xBottom : xTop) >> 16) - first_;
    const std::int32_t right = ((goesLeft ? xTop : xBottom) >> 16) - first_;
    if (right - left > 1 || !IsDrawn(left) || !IsDrawn(right)) {
      return AddSlanted(edge, xTop, xBottom, height, weight, kMark);
    }
    if (kWideWords && kWhole) {
      AddNarrow(edge, xTop, xBottom, left, left - right, height, weight);
    } else if (left == right) {
      AddUpright(left, (xTop & 0xFFFF) + (xBottom & 0xFFFF), height, weight);
    } else {
      AddNarrow(edge, xTop, xBottom, left, -1, height, weight);
    }
    if (kMark) {
      Mark(left);
      Mark(right + 1);
    }
  }
  bool IsDrawn(std::int32_t column) const {
    return static_cast<std::uint32_t>(column) < static_cast<std::uint32_t>(width_);
  }
  // height x fraction, a fraction of up to 2.0 in 16.16.
  static std::int32_t Share(std::int32_t height, std::int32_t fraction) {
    return static_cast<std::int32_t>((std::int64_t{height} * fraction) >> 16);
  }
  // Within one column; `fractions` is the sum of those of both x.
  void AddUpright(std::int32_t column, std::int32_t fractions, std::int32_t height,
                  std::int32_t weight) {
    const std::int32_t beside = Share(height, fractions);
    line_[column] += static_cast<std::uint32_t>(weight * (2 * height - beside));
    line_[column + 1] += static_cast<std::uint32_t>(weight * beside);
  }
  // In one column or, when `two` has all bits and not none, in two, of which AddSlanted tells:
  // without branches, because nobody foresees which of them it is.
  void AddNarrow(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t left,
                 std::int32_t two, std::int32_t height, std::int32_t weight) {
    if (edge.gain == 0 && two != 0) edge.NeedGain();
    const bool goesLeft = xBottom < xTop;
    const std::int32_t low = (goesLeft ? xBottom : xTop) & 0xFFFF;
    const std::int32_t high = (goesLeft ? xTop : xBottom) & 0xFFFF;
    const auto toBorder = static_cast<std::uint32_t>(goesLeft ? high : 0x10000 - low);
    const auto after = static_cast<std::int32_t>(std::min<std::uint64_t>(
        (std::uint64_t{edge.gain} * toBorder) >> edge.shift, static_cast<std::uint32_t>(height)));
    const std::int32_t reached = goesLeft ? height - after : after;
    const std::int32_t inOne = 2 * height - Share(height, low + high);
    const std::int32_t inFirst = Share(reached, 0x10000 - low);
    const std::int32_t entering = inOne ^ ((inOne ^ inFirst) & two);
    const std::int32_t beyond = Share(height - reached, high) & two;
    std::uint32_t* const line = line_ + left;
    line[0] += static_cast<std::uint32_t>(weight * entering);
    line[1] += static_cast<std::uint32_t>(weight * (2 * height - beyond - entering));
    line[2] += static_cast<std::uint32_t>(weight * beyond);
  }
  void AddSlanted(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t height,
                  std::int32_t weight, bool mark);

  void AddToFirst(std::int32_t value, bool mark) {
    line_[0] += static_cast<std::uint32_t>(value);
    if (mark) Mark(0);
  }
  void Mark(std::int32_t column) {
    touched_[column >> 7] |= std::uint32_t{1} << ((column >> 2) & 31);
  }

  std::int32_t first_;
  std::int32_t width_;
  std::uint32_t* line_ = nullptr;  // wrapping around: only sums mean something
  std::uint32_t* touched_ = nullptr;
};

}  // namespace kalvora

#endif
