// KRowWriter: collects the coverage of one row after another and hands each row to the span
// fillers.
#ifndef KALVORA_RASTER_KROWWRITER_H
#define KALVORA_RASTER_KROWWRITER_H

#include <cstdint>

#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/polygon.h"

namespace kalvora {

/// The rows of one draw, top to bottom. A scan converter cuts each row into steps (one, when no
/// vertex lies inside it), and each step into spans between a left and a right edge:
///
///     for each step: if (rows.BeginStep(y, stop)) for each span, left to right: rows.Span(...)
///                    rows.EndStep(stop)
///     rows.Finish()
///
/// The coverage line is zero between rows: painting clears it.
class KRowWriter {
 public:
  /// Chooses the fillers of the draw's paint and starts with the row that holds `y` (16.16).
  KRowWriter(const RasterJob& job, std::int32_t y);
  /// Drops what is pending: a draw that ends early leaves no coverage behind.
  ~KRowWriter();
  KRowWriter(const KRowWriter&) = delete;
  KRowWriter& operator=(const KRowWriter&) = delete;

  /// True when the draw's paint has fillers.
  bool Ready() const { return ready_; }
  /// False when the step is too low to be drawn; its height is then added to the next step of the
  /// row.
  bool BeginStep(std::int32_t y, std::int32_t stop);
  /// Covers the area between two edges, given by x at the step's top and bottom and the slope of
  /// each.
  void Span(std::int32_t leftTop, std::int32_t leftBottom, KFixed leftSlope, std::int32_t rightTop,
            std::int32_t rightBottom, KFixed rightSlope);
  /// Paints the row when `stop` is its lower border, and goes on to the next.
  void EndStep(std::int32_t stop);
  /// Paints what is pending and goes to the row that holds `y`, further down.
  void SkipTo(std::int32_t y);
  /// Paints what is pending.
  void Finish() { Paint(); }

 private:
  void GoTo(std::int32_t row);
  void Paint();

  KRowStyle* style_;
  KRowPainter painter_;
  bool ready_;
  std::int32_t height_ = 0;   // of the present step, with what was carried over
  std::int32_t carried_ = 0;  // height of the steps of this row that were too low to draw
  std::int32_t reached_ = 0;  // end of the row's spans so far, also outside the clip
  bool added_ = false;        // the row was built by adding: sums may be off by a few units
};

}  // namespace kalvora

#endif
