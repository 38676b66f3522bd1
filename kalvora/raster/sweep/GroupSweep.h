// GroupSweep: chains of one row that meet, swept from event to event.
#ifndef KALVORA_RASTER_SWEEP_GROUPSWEEP_H
#define KALVORA_RASTER_SWEEP_GROUPSWEEP_H

#include <cstdint>

#include "kalvora/raster/sweep/ChainCursor.h"
#include "kalvora/raster/sweep/DifferenceLine.h"
#include "kalvora/raster/sweep/EventTree.h"

class KStack;

namespace kalvora {

/// Corrects the area of chains whose order changes inside a row.
///
/// Events are the ends of pieces, crossings of neighbours, and starts. A crossing is found from the
/// two pieces alone: neighbours that are the wrong way round at the lower end of what they have in
/// common cross where they meet before that. So every two pieces cross once at most, and the sweep
/// ends without a least step. Roles follow the order, those of the chains that crossed at once, the
/// others after all starts and ends of one height, which come in pairs. Only a chain whose role
/// changes adds area: what it has down to there, as often as the role falls.
///
/// A group with more work than kGenerous + 4 for each chain is drawn in slabs from there on: events
/// count, and steps in search of a place for those that start, and every eighth winding found anew
/// beyond those of chains that came and went. So a sweep ends after O(n) of them, each of O(log n).
class GroupSweep {
 public:
  static constexpr std::size_t kGenerous = 16384;

  GroupSweep(KStack* stack, DifferenceLine& line, const InsideRule& inside, const Winding& left,
             std::int32_t top)
      : stack_(stack), line_(line), inside_(inside), top_(top) {
    head_.marked = false;
    head_.next = nullptr;
    head_.after = left;
  }

  /// Without memory the group stays as it is at the row's top.
  void Run(const RowEntry* entries, std::size_t count);

 private:
  enum Kind : std::uint32_t { kEnd, kCross, kStart };

  struct Cursor : ChainCursor {
    Cursor* previous;  // in the list of those that the sweep has reached
    Cursor* next;
    Cursor* nextMarked;
    bool marked;
    bool listed;
    std::int8_t role;
    std::int8_t assumed;  // the role with which RowSweep has added all pieces
    Winding after;
  };

  void Prepare(const RowEntry* entries);
  std::int32_t Sweep();
  bool TakeRole(Cursor& cursor, const Winding& left, bool wasInside);
  void Settle();
  void Finish();
  void AddDownTo(Cursor& cursor, std::int32_t y, std::int32_t weight);

  std::uint32_t Index(const Cursor& cursor) const {
    return static_cast<std::uint32_t>(&cursor - cursors_);
  }
  static std::uint32_t Key(std::int32_t y, Kind kind) {
    return static_cast<std::uint32_t>(y) << 2 | kind;
  }
  static std::uint32_t EndOf(const Cursor& cursor) {
    return cursor.end < kWholeHeight ? Key(cursor.end, kEnd) : EventTree::kNever;
  }
  // Of a listed cursor: the end of its piece, or before that the crossing with its right neighbour.
  std::uint32_t NextEvent(Cursor& cursor) {
    const Cursor* const next = cursor.next;
    if (!next || !MayBeInverted(cursor, *next)) return EndOf(cursor);
    return EndOrCrossing(cursor);
  }
  std::uint32_t EndOrCrossing(Cursor& cursor);
  void Schedule(Cursor& cursor, EventTree& tree);
  void EndPiece(Cursor& cursor, EventTree& tree);
  void EndChain(Cursor& cursor, EventTree& tree);
  void Jump(Cursor& cursor, EventTree& tree);
  void Swap(Cursor& cursor, EventTree& tree);
  void Insert(Cursor& cursor, std::int32_t y, EventTree& tree);
  void Remove(Cursor& cursor, EventTree& tree);
  void Mark(Cursor* cursor);

  void DrawInSlabs(std::int32_t y);

  KStack* stack_;
  DifferenceLine& line_;
  InsideRule inside_;
  std::int32_t top_;
  std::int32_t now_ = 0;
  std::uint32_t count_ = 0;
  std::size_t work_ = 0;
  std::size_t settled_ = 0;             // windings found anew, but for those that were marked
  EventTree::Event* events_ = nullptr;  // the memory of all: of the tree, then the cursors
  Cursor* cursors_ = nullptr;
  Cursor head_;
  Cursor* marks_ = nullptr;  // those whose windings are to be found anew
  Cursor** marksEnd_ = &marks_;
};

}  // namespace kalvora

#endif
