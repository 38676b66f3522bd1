// A table of a ramp's colours, for gradients whose distances follow no straight line.
#ifndef KALVORA_PAINT_GRADIENTS_RAMPCELLS_H
#define KALVORA_PAINT_GRADIENTS_RAMPCELLS_H

#include <cstdint>

#include "kalvora/paint/gradients/ramp.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora {

/// The distances 0 to end - 1, cut into at most kMost cells of 2^shift each. A distance has its
/// cell's colour, which is within one level of its own; in the few cells where some is not, because
/// the ramp jumps or is very steep there, each has its own.
class RampCells {
 public:
  static constexpr std::uint32_t kMost = 2048;
  /// Words that it needs in memory.
  static constexpr std::uint32_t kSteepWords = kMost / 32 + 1;
  static constexpr std::uint32_t kWords = kMost + 1 + kSteepWords;

  /// Fills `memory`, kWords of it, with the table of a ramp of 16.16 positions, whose line is used
  /// for it.
  void Prepare(PreparedRamp* ramp, std::uint32_t* memory);

  const CellTable& Table() const { return table_; }
  /// From this distance on a ramp that is padded has its last colour.
  std::uint64_t End() const { return end_; }
  std::uint32_t EndColor() const { return table_.colors[table_.count]; }
  /// An end colour of 0 leaves pixels beyond that end as they are.
  bool ShowsThrough() const { return showsThrough_; }
  /// A distance in a padded ramp lies at or beyond one of its ends.
  bool IsBeyond(std::uint32_t distance) const {
    return distance >= end_ || distance <= ramp_->first;
  }
  /// Some cells' distances have colours of their own.
  bool HasSteep() const { return hasSteep_; }
  bool IsSteep(std::uint32_t cell) const { return steep_[cell / 32] >> (cell % 32) & 1; }
  /// The colour at a distance below the period, or at any distance of a padded ramp.
  std::uint32_t ColorAt(std::uint32_t distance) const;

 private:
  std::uint64_t Width() const { return std::uint64_t{1} << table_.shift; }
  void ChooseShift();
  void MarkSteep(const StopPair& pair);
  void Compare(std::int64_t distance, std::uint32_t color);
  void SetSteep(std::int64_t cell);

  PreparedRamp* ramp_;
  CellTable table_;
  std::uint64_t end_;
  std::uint32_t* steep_;  // a bit for each cell, and one for the end
  bool hasSteep_;
  bool showsThrough_;
};

}  // namespace kalvora

#endif
