// ActiveChains: the chains that matter to the row being drawn, sorted by x.
#ifndef KALVORA_RASTER_SWEEP_ACTIVECHAINS_H
#define KALVORA_RASTER_SWEEP_ACTIVECHAINS_H

#include <algorithm>
#include <cstdint>

#include "kalvora/raster/polygon.h"
#include "kalvora/raster/sweep/KEdgePool.h"

namespace kalvora {

/// All chains of a draw: those to come, those of the present row in order, and those asleep: a
/// chain beside the columns drawn is followed once to where it returns, and until that row it
/// counts for nothing but what it winds around when it is on the left.
///
/// A row changes the order and the roles of those that meet in it, and of no others: what is sorted
/// stays sorted.
class ActiveChains {
 public:
  /// Neighbours that meet in the row, [first, end) of the entries.
  struct Group {
    std::uint32_t first, end;
  };

  /// The chains that hang from the sorted nodes [begin, end). See Ready.
  ActiveChains(KStack* stack, const KMergeNode* begin, const KMergeNode* end, const DrawnBox& box,
               const InsideRule& inside);
  ~ActiveChains();
  ActiveChains(const ActiveChains&) = delete;
  ActiveChains& operator=(const ActiveChains&) = delete;

  bool Ready() const { return entries_; }

  /// Goes on to the row with the given top: chains beside the columns drawn fall asleep, those that
  /// start or wake in it come in; all are sorted by x and have their roles. Two that start at one
  /// node without others in between have roles as if they were alone. False when memory runs out.
  bool Enter(std::int32_t top) {
    changed_ = nextRow_ <= top >> 16 || rolesAreOld_ || ReachesBeside();
    return !changed_ || Change(top);
  }
  /// Whether Enter has found something to do.
  bool HasChanged() const { return changed_; }

  RowEntry* Entries() const { return entries_; }
  std::size_t Count() const { return count_; }
  /// Room for a place among the entries for each of them.
  std::uint32_t* Meeting() const { return meeting_; }
  /// What lies to the left of an entry winds around.
  const Winding& LeftOf(std::size_t i) const {
    return i == 0 ? base_ : entries_[i - 1].chain->after;
  }
  /// What the chains asleep on the left wind around.
  const Winding& Base() const { return base_; }
  /// The next row in which a chain starts or wakes; INT32_MAX when there is none.
  std::int32_t NextRow() const { return nextRow_; }

  /// Whether the two start at one node.
  static bool ArePair(const Chain& a, const Chain& b) {
    return a.starts && b.starts && (a.order | 1) == (b.order | 1);
  }

  /// After the row: sorts a group by where its chains leave, and gives them their roles there.
  void Reorder(const Group& group);
  /// A chain at that place, or to its right, has ended in the row.
  void HasEnded(std::size_t i) { firstEnded_ = std::min(firstEnded_, i); }
  /// After all groups: takes away the chains that have ended.
  void DropEnded() {
    if (firstEnded_ < count_) TakeEndedAway();
  }

 private:
  // The chains beside the columns drawn are the first and the last.
  bool ReachesBeside() const {
    return count_ > 0 && (entries_[0].chain->XBottom() < left_ ||
                          entries_[count_ - 1].chain->XBottom() >= right_);
  }
  bool Change(std::int32_t top);
  void TakeEndedAway();
  bool TakeNodes(std::int32_t top);
  bool StartPair(const KMergeNode& node, std::int32_t top);
  void Start(Chain* chain, const KMergeNode& node, std::int32_t top);
  void ComeIn(Chain* chain, std::int32_t top);
  void AddFresh(Chain* chain, std::int32_t straightTo);
  void FindNextRow();
  void WakeChains(std::int32_t top);
  void MergeFresh();
  void AssumeRoles(Chain* a, Chain* b) const;
  void FindRoles();
  bool IsBeside(std::int32_t x) const { return x < left_ || x >= right_; }
  bool IsBeside(std::int32_t x, bool left) const { return left ? x < left_ : x >= right_; }
  void ParkBeside(std::int32_t row);
  bool Park(Chain* chain, std::int32_t row);
  std::int32_t FollowBeside(Chain* chain, bool left);

  // One that waits for its row.
  struct Sleeper {
    std::int32_t row;
    bool left;
    Chain* chain;
  };
  static bool WakesLater(const Sleeper& a, const Sleeper& b) { return a.row > b.row; }

  KStack* stack_;
  const KMergeNode* node_;
  const KMergeNode* nodesEnd_;
  InsideRule inside_;
  std::int32_t left_, right_;  // what lies wholly beyond is not seen
  std::int32_t endRow_;
  std::int32_t nextRow_ = 0;
  std::uint32_t order_ = 0;
  Winding base_;
  bool rolesAreOld_ = false;
  bool changed_ = true;
  RowEntry* entries_ = nullptr;  // here and in the following, room for all chains
  RowEntry* fresh_ = nullptr;    // come in with this row
  Sleeper* sleepers_ = nullptr;  // a heap
  std::uint32_t* meeting_ = nullptr;
  std::size_t room_;
  std::size_t count_ = 0;
  std::size_t freshCount_ = 0;
  std::size_t sleeperCount_ = 0;
  std::size_t firstEnded_ = SIZE_MAX;
  KEdgePool pool_;
};

}  // namespace kalvora

#endif
