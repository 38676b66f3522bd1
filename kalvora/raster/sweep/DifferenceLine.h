// DifferenceLine: the coverage of a row, kept as differences between neighbouring pixels.
#ifndef KALVORA_RASTER_SWEEP_DIFFERENCELINE_H
#define KALVORA_RASTER_SWEEP_DIFFERENCELINE_H

#include <algorithm>
#include <cstdint>

#include "kalvora/raster/PaintJob.h"
#include "kalvora/raster/sweep/SlopedEdge.h"
#include "kalvora/raster/sweep/pieces.h"

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
  static_assert(kFull == 1 << KRowDifferences::kFullBits && kHeightBits == Pieces::kHeightBits);

  /// Whether this processor adds pieces faster when they wait for each other.
  static bool PrefersToWait();
  /// For the columns [first, end); add to it after GoTo. `waits`: pieces may be left for Finish.
  DifferenceLine(std::int32_t first, std::int32_t end, bool waits = PrefersToWait())
      : first_(first), width_(end - first), waits_(waits) {}
  /// `line` has three words more than there are columns, and on to a multiple of four; `touched` a
  /// bit for each four of them.
  void GoTo(std::uint32_t* line, std::uint32_t* touched) {
    line_ = line;
    touched_ = touched;
  }

  /// Adds `weight` times the area to the right of a piece of `edge`, from its top at xTop down
  /// `height` (1 to kWholeHeight) to where x is xBottom. Where there is no gain yet to make that
  /// quick, in Finish at the latest.
  void Add(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t height,
           std::int32_t weight);
  /// The same by a role, -1, 0 or 1, in Finish at the latest, and with a gain of its own.
  void AddSoon(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t height,
               std::int32_t weight) {
    if (!Waits(edge, xTop, xBottom, height, weight)) Add(edge, xTop, xBottom, height, weight);
  }
  /// Adds what waits, to whichever lines. Before one of them is read.
  void Finish() {
    if (kPiecesWait && pieces_.count > 0) AddWaiting();
  }
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
  void AddRows(SlopedEdge& edge, std::uint64_t place, std::int32_t weight, RowRanges rows);
  /// The same for a vertical line.
  void AddVertical(std::int32_t x, std::int32_t height, std::int32_t weight);
  /// Marks columns, `last` included.
  void MarkRange(std::int32_t from, std::int32_t last);

 private:
  // Whether a whole row of an edge lies in one column nobody foresees; of the short pieces between
  // vertices nearly all do.
  template <bool kWhole>
  [[gnu::always_inline]] void AddPiece(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom,
                                       std::int32_t height, std::int32_t weight) {
    const bool goesLeft = xBottom < xTop;
    const std::int32_t low = goesLeft ? xBottom : xTop, high = goesLeft ? xTop : xBottom;
    const std::int32_t left = (low >> 16) - first_, right = (high >> 16) - first_;
    if (right - left > 1 || !IsDrawn(left) || !IsDrawn(right)) {
      return AddSlanted(edge, xTop, xBottom, height, weight, true);
    }
    // That the gain is there is foreseen.
    if constexpr (sizeof(void*) == 4) {
      if (edge.gain == 0 && left != right) edge.NeedGain();
    } else if (edge.gain == 0) {
      NeedGainIf(edge, left != right);
    }
    AddNarrow<!kWhole>(line_ + left, {edge.gain, edge.shift, goesLeft}, low & 0xFFFF, high & 0xFFFF,
                       left - right, height, weight);
    Mark(left);
    Mark(right + 1);
  }
  // Apart, or the compiler asks for `isWide` first, which is not foreseen. On 32-bit processors
  // instructions count.
  [[gnu::noinline, gnu::cold]] static void NeedGainIf(SlopedEdge& edge, bool isWide) {
    if (isWide) edge.NeedGain();
  }
  void AddFurther(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t height,
                  std::int32_t weight);
  bool IsDrawn(std::int32_t column) const {
    return static_cast<std::uint32_t>(column) < static_cast<std::uint32_t>(width_);
  }
  // height x fraction, a fraction of up to 2.0 in 16.16.
  static std::int32_t Share(std::int32_t height, std::int32_t fraction) {
    return static_cast<std::int32_t>((std::int64_t{height} * fraction) >> 16);
  }
  // Within one column; `fractions` is the sum of those of both x.
  static void AddUpright(std::uint32_t* line, std::int32_t fractions, std::int32_t height,
                         std::int32_t weight) {
    const std::int32_t beside = Share(height, fractions);
    line[0] += static_cast<std::uint32_t>(weight * (2 * height - beside));
    line[1] += static_cast<std::uint32_t>(weight * beside);
  }
  struct Slope {
    std::uint32_t gain;
    std::uint8_t shift;
    bool goesLeft;
  };
  // In one column or, when `two` has all bits and not none, in two, of which AddSlanted tells.
  // `low` and `high` are the fractions of both x. Which of them it is costs a branch, or products
  // of 64 bits, which are dear on 32-bit machines.
  template <bool kBranches>
  [[gnu::always_inline]] static void AddNarrow(std::uint32_t* line, Slope slope, std::int32_t low,
                                               std::int32_t high, std::int32_t two,
                                               std::int32_t height, std::int32_t weight) {
    if (kBranches || sizeof(void*) == 4) {
      if (two == 0) return AddUpright(line, low + high, height, weight);
      two = -1;
    }
    const auto toBorder = static_cast<std::uint32_t>(slope.goesLeft ? high : 0x10000 - low);
    const auto after = static_cast<std::int32_t>(std::min<std::uint64_t>(
        (std::uint64_t{slope.gain} * toBorder) >> slope.shift, static_cast<std::uint32_t>(height)));
    const std::int32_t reached = slope.goesLeft ? height - after : after;
    const std::int32_t inOne = 2 * height - Share(height, low + high);
    const std::int32_t inFirst = Share(reached, 0x10000 - low);
    const std::int32_t entering = inOne ^ ((inOne ^ inFirst) & two);
    const std::int32_t beyond = Share(height - reached, high) & two;
    line[0] += static_cast<std::uint32_t>(weight * entering);
    line[1] += static_cast<std::uint32_t>(weight * (2 * height - beyond - entering));
    line[2] += static_cast<std::uint32_t>(weight * beyond);
  }
  template <bool kGoesLeft>
  void AddAlong(SlopedEdge& edge, std::uint64_t place, std::int32_t weight, RowRanges rows);
  void AddSlanted(SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t height,
                  std::int32_t weight, bool mark);

  void AddToFirst(std::int32_t value, bool mark) {
    line_[0] += static_cast<std::uint32_t>(value);
    if (mark) Mark(0);
  }
  void Mark(std::int32_t column) {
    touched_[column >> 7] |= std::uint32_t{1} << ((column >> 2) & 31);
  }

  // Whether the piece was taken to be added later.
  bool Waits(const SlopedEdge& edge, std::int32_t xTop, std::int32_t xBottom, std::int32_t height,
             std::int32_t weight) {
    if (!kPiecesWait || !waits_) return false;
    const int i = pieces_.count++;
    pieces_.line[i] = line_;
    pieces_.dx[i] = edge.x1 - edge.x0;
    pieces_.dy[i] = edge.Height();
    pieces_.xTop[i] = xTop;
    pieces_.xBottom[i] = xBottom;
    pieces_.height[i] = height;
    pieces_.weight[i] = weight;
    if (i + 1 == Pieces::kMost) AddWaiting();
    return true;
  }
  void AddWaiting();

  std::int32_t first_;
  std::int32_t width_;
  bool waits_;
  Pieces pieces_;
  std::uint32_t* line_ = nullptr;  // wrapping around: only sums mean something
  std::uint32_t* touched_ = nullptr;
};

}  // namespace kalvora

#endif
