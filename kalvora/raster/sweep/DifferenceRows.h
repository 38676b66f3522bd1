// DifferenceRows: the lines of rows that wait to be painted together.
#ifndef KALVORA_RASTER_SWEEP_DIFFERENCEROWS_H
#define KALVORA_RASTER_SWEEP_DIFFERENCEROWS_H

#include <cstdint>

#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/polygon.h"
#include "kalvora/raster/sweep/DifferenceLine.h"

class KStack;

namespace kalvora {

/// A few rows, each with a line of its own: what begins a call of a filler is done once for all of
/// them.
///
///     for each row: Begin(y, inside), then add to Line();
///     or, for more rows at once: BeginEdges(y, inside, rows), then AddEdge(...) for each edge that
///     matters, and EndEdges();
///     at last: Paint()
class DifferenceRows {
 public:
  /// Rows that are begun at once, and edges through them.
  static constexpr std::int32_t kMostRows = KStraightEdges::kMostRows;
  static constexpr std::int32_t kMostEdges = KStraightEdges::kMost;

  /// For the columns and rows of `box`. The memory comes from `stack`; see Ready.
  DifferenceRows(KStack* stack, KRowPainter& painter, std::int32_t* coverage, const DrawnBox& box);
  ~DifferenceRows();
  DifferenceRows(const DifferenceRows&) = delete;
  DifferenceRows& operator=(const DifferenceRows&) = delete;

  bool Ready() const { return lines_; }
  /// How many rows may be begun at once: 1 to kMostRows.
  std::int32_t Room() const { return takesStraight_ ? kMostRows : room_; }

  /// Begins the row y. `inside` says what lies to the left of the first column.
  void Begin(std::int32_t y, bool inside) {
    GoOn(inside, 1);
    y_[waiting_] = y;
    edges_[waiting_++] = KRowDifferences::kByMarks;
  }
  /// Begins rows from y on, for edges that do not touch.
  void BeginEdges(std::int32_t y, bool inside, std::int32_t rows);
  /// The next of these edges, from left to right, which comes into the first row at `place`. It
  /// must stay where it is until they are ended.
  void AddEdge(SlopedEdge& edge, std::uint64_t place);
  void EndEdges();
  /// The line of the row that was begun last.
  DifferenceLine& Line() { return line_; }
  /// Paints all rows that were begun, and empties their lines.
  void Paint();

 private:
  // Goes to the lines of the next rows; before that it paints those that wait, where these cannot
  // be painted with them.
  void GoOn(bool inside, std::int32_t rows) {
    if (inside != inside_ || waiting_ + rows > room_) {
      Paint();
      inside_ = inside;
    }
    std::uint32_t* const line = LineOf(waiting_);
    line_.GoTo(line, line + 4 * blocks_);
  }
  bool AreApart(std::int32_t rows) const;
  void PaintStraight();
  void AddToLines(std::int32_t rows);
  // The place of the first column.
  std::uint64_t Before() const { return static_cast<std::uint64_t>(first_) << 48; }
  std::uint32_t* LineOf(std::int32_t row) const { return lines_ + row * lineStride_; }
  void SumUp();
  void SumUpRow(std::uint32_t* line, std::uint32_t* touched);
  std::uint32_t SumUp(std::uint32_t* line, std::int32_t from, std::int32_t to, std::uint32_t sum);

  KStack* stack_;
  KRowPainter& painter_;
  const bool takesStraight_;
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
  bool inside_ = false;
  std::int32_t y_[kMostRows];  // here and in the following, of the rows that wait
  std::int32_t edges_[kMostRows];
  // Rows that were begun for edges, as far as they have not gone on to lines or pixels.
  std::int32_t edgesTop_ = 0;
  std::int32_t edgesRows_ = 0;
  SlopedEdge* edge_[kMostEdges];
  KStraightEdges straight_;
};

}  // namespace kalvora

#endif
