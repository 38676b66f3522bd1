// KRowPainter: the one place from which fillers are called: row by row, runs that are solid or
// weighed by coverage.
#ifndef KALVORA_RASTER_KROWPAINTER_H
#define KALVORA_RASTER_KROWPAINTER_H

#include <cstdint>

#include "kalvora/raster/KStraightEdges.h"
#include "kalvora/raster/PixelBox.h"

namespace kalvora {

/// The fillers of one draw, and the row that they paint at present:
///
///     KRowPainter painter(job);
///     if (!painter.Bind()) return;
///     for each row: painter.GoTo(y), then Solid(...) and Covered(...) in any order
///     or at once: painter.Box(...)
///
/// Runs lie within the target's columns (Covered ones within the coverage line); empty ones paint
/// nothing.
class KRowPainter {
 public:
  explicit KRowPainter(const PaintJob& job) : job_(job) {}
  ~KRowPainter();
  KRowPainter(const KRowPainter&) = delete;
  KRowPainter& operator=(const KRowPainter&) = delete;

  /// Chooses the paint's fillers, once per draw and again where the opacity changes: `share` is the
  /// part of the paint's own that counts, 16.16. False when the paint has none.
  bool Bind(std::int32_t share = KRowStyle::kWholeOpacity);
  /// Goes to row y of the target.
  void GoTo(std::int32_t y) {
    job_.style->y = y;
    job_.style->row = Row(y);
  }
  /// The first pixel of row y of the target.
  std::uint32_t* Row(std::int32_t y) const { return pixels_ + stride_ * y; }
  /// Paints rows of steps. Only where there is no mask and the style record has `steps`.
  void Steps(const KRowSteps& steps) { job_.style->steps(job_.record, steps); }
  /// Paints fully covered pixels.
  void Solid(std::int32_t from, std::int32_t to);
  /// Paints pixels by the coverage line, and clears it there.
  void Covered(std::int32_t from, std::int32_t to);
  /// Paints pixels of this row and those below by differences of coverage, and clears these. Sets
  /// their stride. False when the paint cannot: then they must be summed up.
  bool Differences(std::int32_t from, std::int32_t to, KRowDifferences& rows) {
    KRowStyle& style = *job_.style;
    if (!style.differences || job_.mask) return false;
    style.x0 = from;
    style.x1 = to;
    rows.stride = stride_;
    style.differences(job_.record, rows);
    return true;
  }
  /// Whether Straight paints anything.
  bool TakesStraight() const { return job_.style->straight && !job_.mask; }
  /// Paints columns of this row and those below, which edges go straight through. Sets their
  /// stride.
  void Straight(std::int32_t from, std::int32_t to, KStraightEdges& edges) {
    job_.style->x0 = from;
    job_.style->x1 = to;
    edges.stride = stride_;
    job_.style->straight(job_.record, edges);
  }
  /// Paints the box, whose first and last column may have a coverage of their own, 16.16. Takes the
  /// paint's fillers of blocks where it has them.
  void Box(const PixelBox& box, std::int32_t left = KRowBlock::kNoEdge,
           std::int32_t right = KRowBlock::kNoEdge);
  /// Paints the box by the job's mask alone, whose bytes the filler reads itself (see
  /// KStrips::InitColorWithAaChecks).
  void Masked(const PixelBox& box);

 private:
  KRowBlock BlockOf(const PixelBox& box);
  void Parts(const PixelBox& box, std::int32_t left, std::int32_t right);
  void Column(std::int32_t x, const PixelBox& box, std::int32_t coverage);
  void Fill(KFiller filler, std::int32_t from, std::int32_t to);

  const PaintJob& job_;
  KFiller solid_ = nullptr;
  KFiller coverage_ = nullptr;
  std::uint32_t* pixels_ = nullptr;
  std::ptrdiff_t stride_ = 0;  // words from a row to the next
};

}  // namespace kalvora

#endif
