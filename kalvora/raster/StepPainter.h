// StepPainter: collects the steps of rows, and paints many rows at once.
#ifndef KALVORA_RASTER_STEPPAINTER_H
#define KALVORA_RASTER_STEPPAINTER_H

#include <algorithm>
#include <cstdint>

#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/KRowSteps.h"

namespace kalvora {

/// An edge's way through a step, 16.16: from x = top to x = bottom, gaining `slope` of height per
/// pixel of x. The slope does not matter within one column.
struct StepEdge {
  std::int32_t top, bottom, slope;
};

/// For paints that have a filler of steps: to be used between the painter's Bind and its end.
class StepPainter {
 public:
  StepPainter(KRowPainter& painter, const KClip& clip) : painter_(painter), clip_(clip) {}
  ~StepPainter() { Paint(); }
  StepPainter(const StepPainter&) = delete;
  StepPainter& operator=(const StepPainter&) = delete;

  /// Adds a step to the present row. False when it has too many of them.
  bool Add(const StepEdge& left, const StepEdge& right, std::int32_t height) {
    if (count_ == KRowSteps::kMost && !MakeRoom()) return false;
    Set(2 * count_, left, height);
    Set(2 * count_ + 1, right, height);
    ++count_;
    return true;
  }
  /// The present row was row y; the next begins.
  void EndRow(std::int32_t y) { EndRow(y, -1); }
  /// The same when `ends` has all bits, and nothing when none: nobody foresees which, so this is
  /// done without a jump.
  void EndRow(std::int32_t y, std::int32_t ends) {
    if (count_ == first_) return;
    std::uint32_t* const pixels = painter_.Row(y);
    Fetch(pixels, steps_.top[2 * first_]);
    Fetch(pixels, steps_.top[2 * first_ + 1]);
    steps_.row[rows_] = {pixels, count_};
    rows_ -= ends;
    first_ ^= (first_ ^ count_) & ends;
  }
  /// Passes the steps of the present row to add(left, right, height), and forgets them.
  template <typename F>
  void TakeRow(F add) {
    for (int i = first_; i < count_; ++i) add(Get(2 * i), Get(2 * i + 1), steps_.height[2 * i]);
    count_ = first_;
  }

 private:
  void Set(int i, const StepEdge& edge, std::int32_t height) {
    steps_.top[i] = edge.top;
    steps_.bottom[i] = edge.bottom;
    steps_.slope[i] = edge.slope;
    steps_.height[i] = height;
  }
  StepEdge Get(int i) const { return {steps_.top[i], steps_.bottom[i], steps_.slope[i]}; }
  // Rows lie far apart in memory: they come while the next ones are collected. Where a column is
  // that of another row, or of none, no harm is done.
  static void Fetch(const std::uint32_t* pixels, std::int32_t x) {
    const auto column = static_cast<std::uintptr_t>(std::intptr_t{x >> 16});
    __builtin_prefetch(
        reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(pixels) + 4 * column), 1);
  }
  bool MakeRoom();
  void Paint();

  KRowPainter& painter_;
  const KClip& clip_;
  int rows_ = 0;   // that are complete
  int count_ = 0;  // steps of all rows
  int first_ = 0;  // of the present row
  KRowSteps steps_;
};

}  // namespace kalvora

#endif
