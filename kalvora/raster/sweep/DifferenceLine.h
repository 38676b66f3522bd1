// DifferenceLine: the coverage of a row, kept as differences between neighbouring pixels.
#ifndef KALVORA_RASTER_SWEEP_DIFFERENCELINE_H
#define KALVORA_RASTER_SWEEP_DIFFERENCELINE_H

#include <algorithm>
#include <cstdint>

#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/sweep/SlopedEdge.h"

class KStack;

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

  /// For the columns [first, end). The memory comes from `stack`; see Ready.
  DifferenceLine(KStack* stack, std::int32_t first, std::int32_t end);
  ~DifferenceLine();
  DifferenceLine(const DifferenceLine&) = delete;
  DifferenceLine& operator=(const DifferenceLine&) = delete;

  bool Ready() const { return row_.line; }

  /// Adds `weight` times the area to the right of a piece of `edge`, from its top at xTop down
  /// `height` (1 to kWholeHeight) to where x is xBottom.
  void Add(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t height,
           std::int32_t weight) {
    AddPiece(edge, xTop, xBottom, height, weight);
  }
  /// The same for a whole row.
  void AddRow(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t weight);
  /// The same for a vertical line.
  void AddVertical(std::int32_t x, std::int32_t height, std::int32_t weight) {
    AddUpright((x >> 16) - first_, 2 * (x & 0xFFFF), height, weight);
  }

  /// Paints the row and empties the line. `inside` says what lies to the left of the first column.
  void Paint(KRowPainter& painter, std::int32_t* coverage, bool inside) {
    row_.start = inside ? kFull : 0;
    if (!painter.Differences(first_, first_ + width_, row_)) SumUp(painter, coverage);
  }

 private:
  [[gnu::always_inline]] void AddPiece(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom,
                                       std::int32_t height, std::int32_t weight) {
    const std::int32_t column = (xTop >> 16) - first_;
    const std::int32_t over = (xBottom >> 16) - first_ - column;
    if (over == 0) {
      AddUpright(column, (xTop & 0xFFFF) + (xBottom & 0xFFFF), height, weight);
    } else if (over == 1 && IsDrawn(column) && IsDrawn(column + 1)) {
      const std::uint32_t toBorder = 0x10000 - static_cast<std::uint32_t>(xTop & 0xFFFF);
      AddTwo(column, HeightAfter(edge, toBorder, height), xTop, xBottom, height, weight);
    } else if (over == -1 && IsDrawn(column) && IsDrawn(column - 1)) {
      const auto toBorder = static_cast<std::uint32_t>(xTop & 0xFFFF);
      AddTwo(column - 1, height - HeightAfter(edge, toBorder, height), xBottom, xTop, height,
             weight);
    } else {
      AddSlanted(edge, xTop, xBottom, height, weight);
    }
  }
  bool IsDrawn(std::int32_t column) const {
    return static_cast<std::uint32_t>(column) < static_cast<std::uint32_t>(width_);
  }
  // Height that the edge gains over a distance in x; not more than that of the piece.
  static std::int32_t HeightAfter(SlopedEdge& edge, std::uint32_t distance, std::int32_t height) {
    edge.NeedGain();
    const std::uint64_t product = std::uint64_t{edge.gain} * distance;
    return static_cast<std::int32_t>(
        std::min<std::uint64_t>(product >> edge.shift, static_cast<std::uint32_t>(height)));
  }
  // height x fraction, a fraction of up to 2.0 in 16.16.
  static std::int32_t Share(std::int32_t height, std::int32_t fraction) {
    return static_cast<std::int32_t>((std::int64_t{height} * fraction) >> 16);
  }
  // Within one column, counted from the first; `fractions` is the sum of those of both x.
  void AddUpright(std::int32_t column, std::int32_t fractions, std::int32_t height,
                  std::int32_t weight) {
    if (!IsDrawn(column)) {
      if (column < 0) Put(0, 2 * height * weight);
      return;
    }
    const std::int32_t beside = Share(height, fractions);
    row_.line[column] += static_cast<std::uint32_t>(weight * (2 * height - beside));
    row_.line[column + 1] += static_cast<std::uint32_t>(weight * beside);
    Mark(column);
    Mark(column + 1);
  }
  // In a column and the next one; see AddSlanted.
  void AddTwo(std::int32_t column, std::int32_t reached, std::int32_t low, std::int32_t high,
              std::int32_t height, std::int32_t weight) {
    const std::int32_t entering = Share(reached, 0x10000 - (low & 0xFFFF));
    const std::int32_t beyond = Share(height - reached, high & 0xFFFF);
    row_.line[column] += static_cast<std::uint32_t>(weight * entering);
    row_.line[column + 1] += static_cast<std::uint32_t>(weight * (2 * height - beyond - entering));
    row_.line[column + 2] += static_cast<std::uint32_t>(weight * beyond);
    Mark(column);
    Mark(column + 2);
  }
  void AddSlanted(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t height,
                  std::int32_t weight);

  void Put(std::int32_t column, std::int32_t value) {
    row_.line[column] += static_cast<std::uint32_t>(value);
    Mark(column);
  }
  void Mark(std::int32_t column) {
    row_.touched[column >> 7] |= std::uint32_t{1} << ((column >> 2) & 31);
  }
  void MarkRange(std::int32_t from, std::int32_t last);
  void SumUp(KRowPainter& painter, std::int32_t* coverage);
  std::uint32_t SumUp(std::int32_t* coverage, std::int32_t from, std::int32_t to,
                      std::uint32_t sum);

  KStack* stack_;
  std::int32_t first_;
  std::int32_t width_;
  std::int32_t blocks_;    // of four columns, with the one after the last column
  KRowDifferences row_{};  // wrapping around: only sums mean something
};

}  // namespace kalvora

#endif
