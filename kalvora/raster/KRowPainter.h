// KRowPainter: the one place from which fillers are called: row by row, runs that are solid or
// weighed by coverage.
#ifndef KALVORA_RASTER_KROWPAINTER_H
#define KALVORA_RASTER_KROWPAINTER_H

#include <cstdint>

#include "kalvora/raster/KRowStyle.h"

namespace kalvora {

/// The fillers of one draw, and the row that they paint at present:
///
///     KRowPainter painter(job);
///     if (!painter.Bind()) return;
///     for each row: painter.GoTo(y), then Solid(...) and Covered(...) in any order
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
  void GoTo(std::int32_t y);
  /// Paints fully covered pixels.
  void Solid(std::int32_t from, std::int32_t to);
  /// Paints pixels by the coverage line, and clears it there.
  void Covered(std::int32_t from, std::int32_t to);
  /// Paints pixels by the job's mask alone, whose bytes the fillers read themselves (see
  /// KStrips::InitColorWithAaChecks).
  void Masked(std::int32_t from, std::int32_t to);

 private:
  void Fill(KFiller filler, std::int32_t from, std::int32_t to);

  const PaintJob& job_;
  KFiller solid_ = nullptr;
  KFiller coverage_ = nullptr;
};

}  // namespace kalvora

#endif
