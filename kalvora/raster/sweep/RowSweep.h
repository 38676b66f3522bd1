// RowSweep: the area of one row, from the chains that are active in it.
#ifndef KALVORA_RASTER_SWEEP_ROWSWEEP_H
#define KALVORA_RASTER_SWEEP_ROWSWEEP_H

#include <cstdint>

#include "kalvora/raster/sweep/ActiveChains.h"
#include "kalvora/raster/sweep/DifferenceLine.h"

namespace kalvora {

/// Adds the pieces of all chains to the difference line, each with the role that its chain has at
/// the row's top. Where chains touch the same x, or some start, they form groups; there roles may
/// change inside the row, and what follows from that is added besides.
class RowSweep {
 public:
  RowSweep(KStack* stack, ActiveChains& chains, DifferenceLine& line, const InsideRule& inside)
      : stack_(stack), chains_(chains), line_(line), inside_(inside) {}

  /// Adds the row with the given top, which `chains` has entered.
  void Add(std::int32_t top);

 private:
  using Group = ActiveChains::Group;
  static constexpr std::size_t kFew = 8;
  static constexpr std::size_t kMany = 128;

  void AddPieces();
  Extent Walk(Chain& chain);
  void Join(std::uint32_t entry, std::int32_t low);
  void SolveGroup(const Group& group);
  bool StaysInside(const Group& group) const;
  bool SolveCrossings(const Group& group);
  void Cross(Chain& a, Chain& b, const Winding& left);
  void Change(Chain& chain, std::int32_t y, std::int32_t change);
  bool KeepsOrder(const RowEntry* first, std::size_t count) const;

  KStack* stack_;
  ActiveChains& chains_;
  DifferenceLine& line_;
  InsideRule inside_;
  std::int32_t top_ = 0;
  std::int32_t bottom_ = 0;
  std::uint32_t groupCount_ = 0;
};

}  // namespace kalvora

#endif
