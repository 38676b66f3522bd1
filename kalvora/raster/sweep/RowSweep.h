// RowSweep: the area of one row, from the chains that are active in it.
#ifndef KALVORA_RASTER_SWEEP_ROWSWEEP_H
#define KALVORA_RASTER_SWEEP_ROWSWEEP_H

#include <cstdint>

#include "kalvora/raster/sweep/ActiveChains.h"
#include "kalvora/raster/sweep/DifferenceRows.h"

namespace kalvora {

/// Adds the pieces of all chains to the difference line, each with the role that its chain has at
/// the row's top. Where chains touch the same x, or some start, they form groups; there roles may
/// change inside the row, and what follows from that is added besides.
class RowSweep {
 public:
  RowSweep(KStack* stack, ActiveChains& chains, DifferenceRows& rows, const InsideRule& inside)
      : stack_(stack), chains_(chains), rows_(rows), line_(rows.Line()), inside_(inside) {}

  /// Adds the row with the given top, which `chains` has entered; or up to `limit` rows at once,
  /// when their chains only go on and stay apart. Returns how many these were.
  std::int32_t AddRows(std::int32_t top, std::int32_t limit) {
    const std::int32_t rows = AddCalmRows(top, limit);
    if (rows > 0) return rows;
    rows_.Begin(top >> 16, inside_(chains_.Base()));
    Add(top);
    return 1;
  }

 private:
  // 0 when the next row is not like that.
  std::int32_t AddCalmRows(std::int32_t top, std::int32_t limit) {
    const std::int32_t row = top >> 16;
    if (row < busyTo_ || chains_.HasChanged()) return 0;
    const auto free = static_cast<std::int32_t>((std::int64_t{nextVertex_} - top - 1) >> 16);
    const std::int32_t rows = std::min({limit, chains_.NextRow() - row, free});
    return rows < kFewestCalm ? 0 : AddCalm(top, rows);
  }
  void Add(std::int32_t top);

  using Group = ActiveChains::Group;
  static constexpr std::size_t kFew = 8;
  static constexpr std::size_t kMany = 128;
  // Rows that are worth a look at all chains.
  static constexpr std::int32_t kFewestCalm = kPiecesWait ? 4 : 2;
  static constexpr std::int32_t kShortestPause = 2;

  std::int32_t AddCalm(std::int32_t top, std::int32_t rows);
  std::int32_t RowsApart(std::int32_t top, std::int32_t rows) const;
  std::size_t AddPieces();
  void Walk(Chain& chain, Extent& extent);
  void SolveGroups(std::size_t meetings);
  void SolveGroup(const Group& group);
  bool PassPair(const Group& group);
  bool StaysInside(const Group& group) const;
  bool SolveCrossings(const Group& group);
  void Cross(Chain& a, Chain& b, const Winding& left);
  void Change(Chain& chain, std::int32_t y, std::int32_t change);
  bool KeepsOrder(const RowEntry* first, std::size_t count) const;

  KStack* stack_;
  ActiveChains& chains_;
  DifferenceRows& rows_;
  DifferenceLine& line_;
  InsideRule inside_;
  std::int32_t top_ = 0;
  std::int32_t bottom_ = 0;
  // Of the last row's chains with a role none has a vertex above that y.
  std::int32_t nextVertex_ = INT32_MIN;
  // Calm rows are looked for from a row on, and when there are none not again for some rows.
  std::int32_t busyTo_ = 0;
  std::int32_t pause_ = kShortestPause;
};

}  // namespace kalvora

#endif
