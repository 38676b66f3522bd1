// DifferenceRows: the lines of rows that wait to be painted together.
#ifndef KALVORA_RASTER_SWEEP_DIFFERENCEROWS_H
#define KALVORA_RASTER_SWEEP_DIFFERENCEROWS_H

#include <cstdint>

#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/polygon.h"
#include "kalvora/raster/sweep/DifferenceLine.h"

class KStack;

namespace kalvora {

/// A few rows, one below the other, each with a line of its own: what begins a call of a filler is
/// done once for all of them.
///
///     for each row: Begin(y, inside), then add to Line();
///     or, for more rows at once: Begin(y, inside, rows, edges), then AddEdge(...) for each edge;
///     at last: Paint()
class DifferenceRows {
 public:
  /// Rows that are begun at once, and edges through them.
  static constexpr std::int32_t kMostRows = 32;
  static constexpr std::int32_t kMostEdges = 16;

  /// For the columns and rows of `box`. The memory comes from `stack`; see Ready.
  DifferenceRows(KStack* stack, KRowPainter& painter, std::int32_t* coverage, const DrawnBox& box);
  ~DifferenceRows();
  DifferenceRows(const DifferenceRows&) = delete;
  DifferenceRows& operator=(const DifferenceRows&) = delete;

  bool Ready() const { return lines_; }
  /// How many rows there is room for: 1 to kMostRows.
  std::int32_t Room() const { return room_; }

  /// Begins the row y. `inside` says what lies to the left of the first column.
  void Begin(std::int32_t y, bool inside) {
    GoOn(y, inside, 1);
    edges_[waiting_++] = KRowDifferences::kByMarks;
  }
  /// Begins rows from y on, for edges that do not touch.
  void Begin(std::int32_t y, bool inside, std::int32_t rows, std::int32_t edges);
  /// The next of these edges, from left to right, which comes into the first row at `place`.
  void AddEdge(SlopedEdge& edge, std::uint64_t place, std::int32_t weight);
  /// The line of the row that was begun last.
  DifferenceLine& Line() { return line_; }
  /// Paints all rows that were begun, and empties their lines.
  void Paint();

 private:
  // Goes to the lines of the next rows; before that it paints those that wait, where these cannot
  // be painted with them.
  void GoOn(std::int32_t y, bool inside, std::int32_t rows) {
    if (y != y_ + waiting_ || inside != inside_ || waiting_ + rows > room_) {
      Paint();
      y_ = y;
      inside_ = inside;
    }
    std::uint32_t* const line = LineOf(waiting_);
    line_.GoTo(line, line + 4 * blocks_);
  }
  std::uint32_t* LineOf(std::int32_t row) const { return lines_ + row * lineStride_; }
  void SumUp();
  void SumUpRow(std::uint32_t* line, std::uint32_t* touched);
  std::uint32_t SumUp(std::uint32_t* line, std::int32_t from, std::int32_t to, std::uint32_t sum);

  KStack* stack_;
  KRowPainter& painter_;
  std::int32_t* coverage_;  // of the first column
  DifferenceLine line_;
  std::int32_t first_;
  std::int32_t width_;
  std::int32_t room_;
  std::int32_t blocks_;  // of four columns, with those after the last column
  std::ptrdiff_t lineStride_;
  std::uint32_t* lines_;
  std::int32_t* ranges_;  // of the rows that wait, and room for kMostEdges in all of them
  std::int32_t* freeRange_;
  std::int32_t waiting_ = 0;  // rows
  std::int32_t y_ = 0;        // of the first that waits
  bool inside_ = false;
  DifferenceLine::RowRanges begun_{};  // of the next edge
  std::int32_t edges_[kMostRows];
};

}  // namespace kalvora

#endif
