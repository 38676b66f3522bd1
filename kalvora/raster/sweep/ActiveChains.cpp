// ActiveChains: who comes in, who goes, who sleeps, and in which order the rest stands.
#include "kalvora/raster/sweep/ActiveChains.h"

#include <algorithm>
#include <utility>

#include "kalvora/raster/KStack.h"
#include "kalvora/raster/sweep/sorting.h"

namespace kalvora {
namespace {

constexpr std::int32_t kNever = INT32_MAX;

// The 16.16 border of a column, which may lie beyond where x is held.
std::int32_t Border(std::int32_t column) {
  return std::min(column, (kFarthestX >> 16) + 1) * kRowHeight;
}

constexpr auto kEntryIsLeft = [](const RowEntry& a, const RowEntry& b) {
  return IsLeft(*a.chain, *b.chain);
};

}  // namespace

// Of chains that have ended nobody asks any more how they leant.
bool IsLeftAtSameX(const Chain& p, const Chain& q) {
  if (p.starts != q.starts) return q.starts;
  if (p.ends != q.ends) return p.ends;
  if (!p.starts && !p.ends) {
    if (p.edge.ratio != q.edge.ratio) return p.edge.ratio < q.edge.ratio;
  }
  return p.order < q.order;
}

ActiveChains::ActiveChains(KStack* stack, const KMergeNode* begin, const KMergeNode* end,
                           const DrawnBox& box, const InsideRule& inside)
    : stack_(stack),
      node_(begin),
      nodesEnd_(end),
      inside_(inside),
      left_(Border(box.x0 - box.margin)),
      right_(Border(box.x1 + box.margin)),
      endRow_(box.y1),
      base_(inside.outside),
      room_(2 * static_cast<std::size_t>(end - begin)),
      pool_(stack) {
  constexpr std::size_t kEach = 2 * sizeof(RowEntry) + sizeof(Sleeper) + sizeof(std::uint32_t);
  if (room_ > UINT32_MAX / kEach) return;
  entries_ = static_cast<RowEntry*>(stack->Alloc(static_cast<unsigned>(room_ * kEach)));
  if (!entries_) return;
  fresh_ = entries_ + room_;
  sleepers_ = reinterpret_cast<Sleeper*>(fresh_ + room_);
  meeting_ = reinterpret_cast<std::uint32_t*>(sleepers_ + room_);
  FindNextRow();
}

ActiveChains::~ActiveChains() {
  pool_.Release();
  stack_->DeAlloc(entries_);
}

bool ActiveChains::Change(std::int32_t top) {
  const std::int32_t row = top >> 16;
  if (ReachesBeside()) ParkBeside(row);
  if (nextRow_ <= row) {
    freshCount_ = 0;
    WakeChains(top);
    if (!TakeNodes(top)) return false;
    FindNextRow();
    if (freshCount_ > 0) MergeFresh();
  }
  if (rolesAreOld_) FindRoles();
  return true;
}

void ActiveChains::FindNextRow() {
  nextRow_ = node_ == nodesEnd_ ? kNever : node_->vertex->y.raw >> 16;
  if (sleeperCount_ > 0) nextRow_ = std::min(nextRow_, sleepers_[0].row);
}

void ActiveChains::Reorder(const Group& group) {
  RowEntry* const entries = entries_ + group.first;
  const std::size_t count = group.end - group.first;
  const Winding right = entries[count - 1].chain->after;
  // Those that have ended move behind the others.
  std::size_t kept = 0, ended = 0;
  for (std::size_t i = 0; i < count; ++i) {
    Chain* const chain = entries[i].chain;
    chain->starts = false;
    entries[kept].chain = fresh_[ended].chain = chain;
    kept += !chain->ends;
    ended += chain->ends;
  }
  SortNearlySorted(entries, kept, kEntryIsLeft);
  Winding winding = LeftOf(group.first);
  bool inside = inside_(winding);
  for (std::size_t i = 0; i < kept; ++i) {
    Chain& chain = *entries[i].chain;
    winding.Pass(chain);
    const bool now = inside_(winding);
    chain.role = static_cast<std::int8_t>(int{now} - int{inside});
    inside = now;
    chain.after = winding;
  }
  if (ended > 0) HasEnded(group.first + kept);
  for (std::size_t i = 0; i < ended; ++i) {
    entries[kept + i].chain = fresh_[i].chain;
    fresh_[i].chain->after = winding;
  }
  // The partner of one that started or ended may lie asleep beside the clip.
  if (!(winding == right)) rolesAreOld_ = true;
}

void ActiveChains::TakeEndedAway() {
  std::size_t kept = firstEnded_;
  for (std::size_t i = firstEnded_; i < count_; ++i) {
    Chain* chain = entries_[i].chain;
    if (chain->ends) {
      // It was in no group: its partner is asleep.
      if (!(chain->after == LeftOf(kept))) rolesAreOld_ = true;
      pool_.Give(chain);
    } else {
      entries_[kept++] = entries_[i];
    }
  }
  count_ = kept;
  firstEnded_ = SIZE_MAX;
}

bool ActiveChains::TakeNodes(std::int32_t top) {
  for (; node_ != nodesEnd_ && std::int64_t{node_->vertex->y.raw} < std::int64_t{top} + kRowHeight;
       ++node_) {
    if (!StartPair(*node_, top)) return false;
  }
  return true;
}

bool ActiveChains::StartPair(const KMergeNode& node, std::int32_t top) {
  Chain* const pair[] = {pool_.Take(), pool_.Take()};
  if (!pair[0] || !pair[1]) return false;
  SlopedEdge &a = pair[0]->edge, &b = pair[1]->edge;
  Extent passed{0, 0};
  const std::int32_t y = std::max(node.vertex->y.raw, top);
  const bool found[] = {a.Find(node.vertex, -1, y, passed), b.Find(node.vertex, 1, y, passed)};
  for (const std::uint32_t i : {0, 1}) {
    Chain* chain = pair[i];
    chain->winding = i == 0 ? -1 : 1;
    chain->order = order_++;
    // A chain that ends above the row is left out.
    if (found[i]) {
      Start(chain, node, top);
    } else {
      pool_.Give(chain);
    }
  }
  return true;
}

void ActiveChains::Start(Chain* chain, const KMergeNode& node, std::int32_t top) {
  chain->isClip = node.kind != 0;
  chain->role = 0;
  chain->starts = node.vertex->y.raw > top;
  if (!chain->starts) return ComeIn(chain, top);
  chain->x = HoldX(node.vertex->x);
  chain->place = SlopedEdge::PlaceOf(chain->edge.x0);
  // On the left a chain matters to its pair in the row where they start.
  const bool unseen = std::min(chain->x, chain->XBottom()) >= right_;
  if (!unseen || !Park(chain, top >> 16)) AddFresh(chain, Chain::kNotStraight);
}

// A chain that is there at the row's top.
void ActiveChains::ComeIn(Chain* chain, std::int32_t top) {
  chain->edge.NeedRatio();
  chain->starts = false;
  chain->place = chain->edge.PlaceAt(top);
  chain->x = chain->XBottom();
  rolesAreOld_ = true;
  if (!IsBeside(chain->x) || !Park(chain, top >> 16)) AddFresh(chain, chain->edge.y1);
}

void ActiveChains::AddFresh(Chain* chain, std::int32_t straightTo) {
  chain->turns = chain->ends = false;
  chain->straightTo = straightTo;
  fresh_[freshCount_++].chain = chain;
}

// Those that start change no winding but among themselves.
void ActiveChains::MergeFresh() {
  SortNearlySorted(fresh_, freshCount_, kEntryIsLeft);
  std::size_t old = count_;
  count_ += freshCount_;
  Chain* right = nullptr;  // the one placed before, if it is fresh
  for (std::size_t to = count_, left = freshCount_; left > 0;) {
    Chain* chain = fresh_[left - 1].chain;
    if (old > 0 && IsLeft(*chain, *entries_[old - 1].chain)) {
      entries_[--to] = entries_[--old];
      right = nullptr;
      continue;
    }
    --left;
    entries_[--to].chain = chain;
    chain->after = LeftOf(old);
    if (right && ArePair(*chain, *right)) AssumeRoles(chain, right);
    right = chain;
  }
}

// Of a pair that starts in the row: as if it kept its order and met no other.
void ActiveChains::AssumeRoles(Chain* a, Chain* b) const {
  Winding winding = a->after;
  const bool outside = inside_(winding);
  if (StartsLeft(b->edge, a->edge)) std::swap(a, b);
  winding.Pass(*a);
  a->role = static_cast<std::int8_t>(int{inside_(winding)} - int{outside});
  b->role = static_cast<std::int8_t>(-a->role);
}

void ActiveChains::FindRoles() {
  Winding winding = base_;
  bool inside = inside_(winding);
  for (std::size_t i = 0; i < count_; ++i) {
    Chain& chain = *entries_[i].chain;
    if (!chain.starts) {
      winding.Pass(chain);
      const bool now = inside_(winding);
      chain.role = static_cast<std::int8_t>(int{now} - int{inside});
      inside = now;
    }
    chain.after = winding;
    if (chain.starts && i > 0 && ArePair(*entries_[i - 1].chain, chain)) {
      AssumeRoles(entries_[i - 1].chain, &chain);
    }
  }
  rolesAreOld_ = false;
}

void ActiveChains::ParkBeside(std::int32_t row) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < count_; ++i) {
    Chain* chain = entries_[i].chain;
    if (IsBeside(chain->XBottom())) {
      chain->x = chain->XBottom();
      if (Park(chain, row)) continue;
    }
    entries_[kept++] = entries_[i];
  }
  count_ = kept;
}

// Puts a chain to sleep, or drops it, when it is beside the columns drawn for some rows from `row`
// on. The chain's XBottom is where it comes into that row.
bool ActiveChains::Park(Chain* chain, std::int32_t row) {
  const std::int32_t x = chain->XBottom();
  const bool left = x < left_;
  std::int32_t wake = kNever;
  chain->upper.lower = nullptr;
  if (IsBeside(chain->edge.x1, left)) {
    wake = FollowBeside(chain, left);
  } else {
    // The edge comes in: it sleeps while it is more than a row away from doing so.
    chain->edge.NeedRatio();
    const std::int64_t aRow = chain->edge.ratio >> 16;
    const std::int64_t far = std::int64_t{left ? left_ : right_} - x;
    const std::int64_t rows = aRow == 0 ? 0 : far / aRow - 1;
    wake = static_cast<std::int32_t>(std::min<std::int64_t>(row + rows, chain->edge.y1 >> 16));
  }
  if (wake <= row) return false;
  if (left) base_.Pass(*chain);
  rolesAreOld_ = true;
  if (wake >= endRow_) {
    pool_.Give(chain);
  } else {
    sleepers_[sleeperCount_++] = {wake, left, chain};
    std::push_heap(sleepers_, sleepers_ + sleeperCount_, WakesLater);
    nextRow_ = std::min(nextRow_, wake);
  }
  return true;
}

// The row in which a chain beside the columns drawn returns, or ends on the left; where to go on
// then is left in `upper.lower`, null for the present edge.
std::int32_t ActiveChains::FollowBeside(Chain* chain, bool left) {
  const KVertex2D* v = chain->edge.lower;
  std::int32_t row = v->y.raw >> 16;
  for (;;) {
    const KVertex2D* next = ring::Step(v, chain->winding);
    if (next->y < v->y) return left ? row : kNever;
    if (row >= endRow_) return kNever;
    if (!IsBeside(HoldX(next->x), left)) return row;
    if (next->y.raw >> 16 > row) {
      chain->upper.lower = v;
      row = next->y.raw >> 16;
    }
    v = next;
  }
}

void ActiveChains::WakeChains(std::int32_t top) {
  while (sleeperCount_ > 0 && sleepers_[0].row <= top >> 16) {
    std::pop_heap(sleepers_, sleepers_ + sleeperCount_, WakesLater);
    const Sleeper& sleeper = sleepers_[--sleeperCount_];
    Chain* chain = sleeper.chain;
    if (sleeper.left) (chain->isClip ? base_.clip : base_.shape) -= chain->winding;
    Extent passed{0, 0};
    const KVertex2D* v = chain->upper.lower;
    if (!v && chain->edge.y1 <= top) v = chain->edge.lower;
    if (v && !chain->edge.Find(v, chain->winding, top, passed)) {
      rolesAreOld_ = true;
      pool_.Give(chain);
    } else {
      ComeIn(chain, top);
    }
  }
}

}  // namespace kalvora
