// ActiveChains: the chains that matter to the row being drawn, sorted by x.
#ifndef KALVORA_RASTER_SWEEP_ACTIVECHAINS_H
#define KALVORA_RASTER_SWEEP_ACTIVECHAINS_H

#include <cstdint>

#include "kalvora/raster/polygon.h"
#include "kalvora/raster/sweep/KEdgePool.h"

namespace kalvora {

/// All chains of a draw: those to come, those of the present row in order, and those asleep: a
/// chain beside the columns drawn is followed once to where it returns, and until that row it
/// counts for nothing but what it winds around when it is on the left.
class ActiveChains {
 public:
  /// The chains that hang from the sorted nodes [begin, end). See Ready.
  ActiveChains(KStack* stack, const KMergeNode* begin, const KMergeNode* end, const DrawnBox& box,
               const InsideRule& inside);
  ~ActiveChains();
  ActiveChains(const ActiveChains&) = delete;
  ActiveChains& operator=(const ActiveChains&) = delete;

  bool Ready() const { return entries_; }

  /// Goes on to the row with the given top: chains that start or wake in it come in, those that
  /// ended go; all are sorted by x and have their roles. `changed` says that the row before may
  /// have changed the order or has chains that ended. False when memory runs out.
  bool Enter(std::int32_t top, bool changed);

  RowEntry* Entries() const { return entries_; }
  std::size_t Count() const { return count_; }
  /// What the chains asleep on the left wind around.
  const Winding& Base() const { return base_; }
  /// The next row in which a chain starts or wakes; INT32_MAX when there is none.
  std::int32_t NextRow() const;
  /// Some chain starts inside the row.
  bool Starts() const { return starts_; }

 private:
  void KeepSorted(std::int32_t row);
  bool TakeNodes(std::int32_t top);
  bool StartChain(const KMergeNode& node, std::int32_t direction, std::int32_t top);
  void WakeChains(std::int32_t top);
  void AddFresh(Chain* chain);
  void MergeFresh();
  void FindRoles();
  bool IsBeside(std::int32_t x, bool left) const { return left ? x < left_ : x >= right_; }
  bool Park(Chain* chain, std::int32_t row);
  std::int32_t FollowBeside(Chain* chain, bool left);
  void Sleep(std::int32_t row, bool left, Chain* chain);
  RowEntry PopSleeper();

  KStack* stack_;
  const KMergeNode* node_;
  const KMergeNode* nodesEnd_;
  InsideRule inside_;
  std::int32_t left_, right_;  // what lies wholly beyond is not seen
  std::int32_t endRow_;
  std::uint32_t order_ = 0;
  Winding base_;
  bool starts_ = false;
  RowEntry* entries_ = nullptr;  // room for all chains
  RowEntry* spare_ = nullptr;    // the same: a heap of sleepers in front, fresh chains at the back
  std::size_t room_;
  std::size_t count_ = 0;
  std::size_t sleepers_ = 0;
  std::size_t fresh_ = 0;
  KEdgePool pool_;
};

}  // namespace kalvora

#endif
