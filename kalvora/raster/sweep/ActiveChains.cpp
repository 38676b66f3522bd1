// ActiveChains: who comes in, who goes, who sleeps, and in which order the rest stands.
#include "kalvora/raster/sweep/ActiveChains.h"

#include <algorithm>

#include "kalvora/raster/KStack.h"
#include "kalvora/raster/ring.h"
#include "kalvora/raster/sweep/sorting.h"

namespace kalvora {
namespace {

constexpr std::int32_t kNever = INT32_MAX;
// A chain that comes back within so few rows stays awake.
constexpr std::int32_t kShortSleep = 4;

// The 16.16 border of a column, which may lie beyond where x is held.
std::int32_t Border(std::int32_t column) {
  return std::min(column, (kFarthestX >> 16) + 1) * kRowHeight;
}

// Ascending x; at equal x chains that are there before those about to start, and the one that leans
// further left first. The order does not depend on what lies outside the clip.
bool Before(const RowEntry& a, const RowEntry& b) {
  if (a.low != b.low) return a.low < b.low;
  const Chain& p = *a.chain;
  const Chain& q = *b.chain;
  if (p.starts != q.starts) return q.starts;
  if (!p.starts && p.edge.ratio != q.edge.ratio) return p.edge.ratio < q.edge.ratio;
  return p.order < q.order;
}

bool WakesLater(const RowEntry& a, const RowEntry& b) { return a.low > b.low; }

}  // namespace

ActiveChains::ActiveChains(KStack* stack, const KMergeNode* begin, const KMergeNode* end,
                           const DrawnBox& box, const InsideRule& inside)
    : stack_(stack),
      node_(begin),
      nodesEnd_(end),
      inside_(inside),
      left_(Border(box.x0 - DrawnBox::kMargin)),
      right_(Border(box.x1 + DrawnBox::kMargin)),
      endRow_(box.y1),
      room_(2 * static_cast<std::size_t>(end - begin)),
      pool_(stack) {
  if (room_ > UINT32_MAX / (2 * sizeof(RowEntry))) return;
  entries_ =
      static_cast<RowEntry*>(stack->Alloc(static_cast<unsigned>(2 * room_ * sizeof(RowEntry))));
  if (entries_) spare_ = entries_ + room_;
}

ActiveChains::~ActiveChains() {
  pool_.Release();
  stack_->DeAlloc(entries_);
}

bool ActiveChains::Enter(std::int32_t top, bool changed) {
  starts_ = false;
  const bool due = NextRow() <= top >> 16;
  if (!changed && !due) return true;
  KeepSorted(top >> 16);
  fresh_ = 0;
  WakeChains(top);
  if (!TakeNodes(top)) return false;
  if (fresh_ > 0) MergeFresh();
  FindRoles();
  return true;
}

std::int32_t ActiveChains::NextRow() const {
  std::int32_t row = kNever;
  if (node_ != nodesEnd_) row = node_->vertex->y.raw >> 16;
  if (sleepers_ > 0) row = std::min(row, spare_[0].low);
  return row;
}

// Drops the chains that ended or fall asleep, and sorts the others.
void ActiveChains::KeepSorted(std::int32_t row) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < count_; ++i) {
    Chain* chain = entries_[i].chain;
    if (chain->ends) {
      pool_.Give(chain);
      continue;
    }
    if (chain->turns) {
      chain->edge = chain->below;
      chain->turns = false;
    }
    chain->starts = false;
    chain->x = chain->xBottom;
    if ((chain->x < left_ || chain->x >= right_) && Park(chain, row)) continue;
    entries_[kept++] = {chain->x, 0, chain};
  }
  count_ = kept;
  SortNearlySorted(entries_, count_, Before);
}

bool ActiveChains::TakeNodes(std::int32_t top) {
  for (; node_ != nodesEnd_ && std::int64_t{node_->vertex->y.raw} < std::int64_t{top} + kRowHeight;
       ++node_) {
    if (!StartChain(*node_, -1, top) || !StartChain(*node_, 1, top)) return false;
  }
  return true;
}

// A chain that ends above the row is left out.
bool ActiveChains::StartChain(const KMergeNode& node, std::int32_t direction, std::int32_t top) {
  Chain* chain = pool_.Take();
  if (!chain) return false;
  const std::int32_t y = node.vertex->y.raw;
  const std::int32_t x = HoldX(node.vertex->x);
  Extent passed{x, x};
  ++order_;
  if (!chain->edge.Find(node.vertex, direction, std::max(y, top), passed)) {
    pool_.Give(chain);
    return true;
  }
  chain->starts = y > top;
  chain->x = chain->edge.x0;
  chain->winding = direction;
  chain->isClip = node.kind != 0;
  chain->order = order_;
  if (!chain->starts) {
    chain->edge.NeedRatio();
    chain->x = chain->edge.XAt(top);
    chain->travel = chain->edge.TravelTo(top);
  }
  chain->xBottom = chain->starts ? x : chain->x;
  // On the left a chain matters to its pair in the row where they start.
  const bool unseen =
      chain->starts ? std::min(chain->x, x) >= right_ : chain->x < left_ || chain->x >= right_;
  if (unseen && Park(chain, top >> 16)) return true;
  starts_ = starts_ || chain->starts;
  AddFresh(chain);
  return true;
}

void ActiveChains::AddFresh(Chain* chain) {
  chain->turns = chain->ends = false;
  ++fresh_;
  spare_[room_ - fresh_] = {chain->x, 0, chain};
}

void ActiveChains::MergeFresh() {
  const RowEntry* from = spare_ + (room_ - fresh_);
  SortNearlySorted(spare_ + (room_ - fresh_), fresh_, Before);
  std::size_t old = count_;
  count_ += fresh_;
  std::size_t to = count_;
  for (std::size_t left = fresh_; left > 0;) {
    if (old > 0 && Before(from[left - 1], entries_[old - 1])) {
      entries_[--to] = entries_[--old];
    } else {
      entries_[--to] = from[--left];
    }
  }
}

void ActiveChains::FindRoles() {
  Winding winding = base_;
  bool inside = inside_(winding);
  for (std::size_t i = 0; i < count_; ++i) {
    Chain& chain = *entries_[i].chain;
    chain.role = 0;
    if (!chain.starts) {
      winding.Pass(chain);
      const bool now = inside_(winding);
      chain.role = static_cast<std::int8_t>(int{now} - int{inside});
      inside = now;
    }
    chain.after = winding;
  }
}

// Puts a chain to sleep, or drops it, when it is beside the columns drawn for some rows from `row`
// on. The chain's x is where it comes into that row.
bool ActiveChains::Park(Chain* chain, std::int32_t row) {
  const bool left = chain->x < left_;
  std::int32_t wake = kNever;
  chain->below.lower = nullptr;
  if (IsBeside(chain->edge.x1, left)) {
    wake = FollowBeside(chain, left);
  } else {
    // The edge comes in: it sleeps while it is more than a row away from doing so.
    chain->edge.NeedRatio();
    const std::int64_t aRow = chain->edge.ratio >> 16;
    const std::int64_t far = std::int64_t{left ? left_ : right_} - chain->x;
    const std::int64_t rows = aRow == 0 ? 0 : far / aRow - 1;
    wake = static_cast<std::int32_t>(std::min<std::int64_t>(row + rows, chain->edge.y1 >> 16));
  }
  if (wake - row < kShortSleep && wake != kNever) return false;
  if (left) base_.Pass(*chain);
  if (wake >= endRow_) {
    pool_.Give(chain);
  } else {
    Sleep(wake, left, chain);
  }
  return true;
}

// The row in which a chain beside the columns drawn returns, or ends on the left; where to go on
// then is left in `below.lower`, null for the present edge.
std::int32_t ActiveChains::FollowBeside(Chain* chain, bool left) {
  const KVertex2D* v = chain->edge.lower;
  std::int32_t row = v->y.raw >> 16;
  for (;;) {
    const KVertex2D* next = ring::Step(v, chain->winding);
    if (next->y < v->y) return left ? row : kNever;
    if (row >= endRow_) return kNever;
    if (!IsBeside(HoldX(next->x), left)) return row;
    if (next->y.raw >> 16 > row) {
      chain->below.lower = v;
      row = next->y.raw >> 16;
    }
    v = next;
  }
}

void ActiveChains::Sleep(std::int32_t row, bool left, Chain* chain) {
  spare_[sleepers_++] = {row, left, chain};
  std::push_heap(spare_, spare_ + sleepers_, WakesLater);
}

void ActiveChains::WakeChains(std::int32_t top) {
  while (sleepers_ > 0 && spare_[0].low <= top >> 16) {
    std::pop_heap(spare_, spare_ + sleepers_, WakesLater);
    const RowEntry sleeper = spare_[--sleepers_];
    Chain* chain = sleeper.chain;
    if (sleeper.high) (chain->isClip ? base_.clip : base_.shape) -= chain->winding;
    Extent passed{0, 0};
    const KVertex2D* v = chain->below.lower;
    if (!v && chain->edge.y1 <= top) v = chain->edge.lower;
    if (v && !chain->edge.Find(v, chain->winding, top, passed)) {
      pool_.Give(chain);
      continue;
    }
    chain->edge.NeedRatio();
    chain->travel = chain->edge.TravelTo(top);
    chain->x = chain->xBottom = chain->edge.XAt(top);
    chain->starts = false;
    AddFresh(chain);
  }
}

}  // namespace kalvora
