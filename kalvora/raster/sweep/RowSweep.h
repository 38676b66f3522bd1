// RowSweep: the area of one row, from the chains that are active in it.
#ifndef KALVORA_RASTER_SWEEP_ROWSWEEP_H
#define KALVORA_RASTER_SWEEP_ROWSWEEP_H

#include <cstdint>

#include "kalvora/raster/sweep/ActiveChains.h"
#include "kalvora/raster/sweep/DifferenceLine.h"

namespace kalvora {

/// Adds the pieces of all chains to the difference line, each with the role that its chain has at
/// the row's top. Where chains touch the same columns, or some start, they form groups; there roles
/// may change inside the row, and what follows from that is added by GroupSweep.
class RowSweep {
 public:
  RowSweep(KStack* stack, ActiveChains& chains, DifferenceLine& line, const InsideRule& inside)
      : stack_(stack), chains_(chains), line_(line), inside_(inside) {}

  /// Adds the row with the given top, which `chains` has entered. True when it may have changed the
  /// order of the chains, or some have ended or are about to turn beside the clip.
  bool Add(std::int32_t top);

 private:
  void Walk(RowEntry& entry);
  bool AddPieces();
  void SolveGroups();
  void SolveGroup(RowEntry* first, std::size_t count);
  bool SolvePair(Chain& a, Chain& b, const Winding& left);
  void AddStarted(Chain& chain);

  KStack* stack_;
  ActiveChains& chains_;
  DifferenceLine& line_;
  InsideRule inside_;
  std::int32_t top_ = 0;
  std::int32_t bottom_ = 0;
  bool changed_ = false;
};

}  // namespace kalvora

#endif
