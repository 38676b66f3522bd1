// RowSweep: the one pass over a row's chains, and the groups of those that meet.
#include "kalvora/raster/sweep/RowSweep.h"

#include <algorithm>

#include "kalvora/raster/sweep/ChainCursor.h"
#include "kalvora/raster/sweep/GroupSweep.h"

namespace kalvora {
namespace {

// Whether the chains, which go straight through the row, cross at most in pairs: those of one pair
// cross no other.
bool CrossInPairs(const RowEntry* entries, std::size_t count) {
  std::int32_t reached = INT32_MIN;
  for (std::size_t i = 0; i < count; ++i) {
    const std::int32_t x = entries[i].chain->XBottom();
    if (x < reached) return false;
    if (i + 1 < count && entries[i + 1].chain->XBottom() < x) {
      if (entries[++i].chain->XBottom() < reached) return false;
    }
    reached = x;
  }
  return true;
}

}  // namespace

void RowSweep::Add(std::int32_t top) {
  top_ = top;
  bottom_ = top + kRowHeight;
  groupCount_ = 0;
  AddPieces();
  // From right to left: what is to the left of a group is still as at the row's top.
  while (groupCount_ > 0) SolveGroup(chains_.Groups()[--groupCount_]);
  chains_.DropEnded();
}

// One pass from left to right.
void RowSweep::AddPieces() {
  RowEntry* const entries = chains_.Entries();
  const auto count = static_cast<std::uint32_t>(chains_.Count());
  std::int32_t reached = INT32_MIN;
  for (std::uint32_t i = 0; i < count; ++i) {
    Chain& chain = *entries[i].chain;
    Extent extent;
    bool joins = false;
    if (chain.straightTo <= bottom_ && (chain.TakeBelow(), chain.straightTo <= bottom_)) {
      extent = Walk(chain);
      if (chain.ends) chains_.HasEnded(i);
      joins = chain.starts;
    } else {
      chain.x = chain.XBottom();
      chain.place += static_cast<std::uint64_t>(chain.edge.ratio) << 16;
      const std::int32_t x = chain.XBottom();
      if (chain.role != 0) line_.Add(chain.edge, chain.x, x, kWholeHeight, chain.role);
      extent = {std::min(chain.x, x), std::max(chain.x, x)};
    }
    if (extent.low <= reached || joins) Join(i, extent.low);
    entries[i].reached = reached = std::max(reached, extent.high);
  }
}

// A chain with vertices in the row, or one that starts.
Extent RowSweep::Walk(Chain& chain) {
  SlopedEdge* at = &chain.edge;
  std::int32_t x = chain.XBottom();
  std::int32_t y = chain.starts ? at->y0 : top_;
  Extent extent{x, x};
  if (chain.starts) extent.Include(chain.x);
  chain.x = x;
  chain.turns = chain.bends = at->y1 <= bottom_;
  chain.straightTo = chain.turns ? Chain::kNotStraight : at->y1;
  while (at->y1 <= bottom_) {
    if (chain.role != 0) line_.Add(*at, x, at->x1, (at->y1 - y) << kHeightBits, chain.role);
    y = at->y1;
    x = at->x1;
    extent.Include(x);
    const KVertex2D* vertex = at->lower;
    const bool first = at == &chain.edge;
    at = &chain.below;
    if (!at->Find(vertex, chain.winding, y, extent)) {
      chain.place = SlopedEdge::PlaceOf(x);
      chain.ends = true;
      chain.bends = !first;
      return extent;
    }
    x = at->x0;
  }
  at->NeedRatio();
  chain.place = at->PlaceAt(bottom_);
  if (chain.role != 0 && y < bottom_) {
    line_.Add(*at, x, chain.XBottom(), (bottom_ - y) << kHeightBits, chain.role);
  }
  extent.Include(chain.XBottom());
  return extent;
}

// Chains belong together when they touch the same x. The entries are sorted by an x that each
// touches, so a group is a range of them: it ends where all before lie left of all that follow.
// Starts and ends come in pairs of one group, so between groups no winding changes.
//
// The entry is joined with all from the first one on that reaches as far as it does, and so with
// the groups among them.
void RowSweep::Join(std::uint32_t entry, std::int32_t low) {
  const RowEntry* const entries = chains_.Entries();
  Group* const groups = chains_.Groups();
  std::uint32_t first = entry;
  while (first > 0 && entries[first - 1].reached >= low) {
    if (groupCount_ > 0 && groups[groupCount_ - 1].end == first) {
      first = groups[--groupCount_].first;
    } else {
      --first;
    }
  }
  groups[groupCount_++] = {first, entry + 1, low};
}

void RowSweep::SolveGroup(const Group& group) {
  RowEntry* const first = chains_.Entries() + group.first;
  const std::size_t count = group.end - group.first;
  bool straight = true;
  bool ordered = true;
  std::int32_t x = INT32_MIN;
  for (std::size_t i = 0; i < count; ++i) {
    const Chain& chain = *first[i].chain;
    straight = straight && !chain.starts && !chain.turns;
    ordered = ordered && chain.XBottom() > x;
    x = chain.XBottom();
  }
  if (straight && ordered) return;
  const bool solved =
      straight     ? SolveCrossings(group)
      : count == 2 ? PairKeepsOrder(*first[0].chain, *first[1].chain, first[0].reached <= group.low)
                   : false;
  if (!solved) {
    GroupSweep sweep(stack_, line_, inside_, chains_.LeftOf(group.first), top_);
    sweep.Run(first, count);
  }
  chains_.Reorder(group);
}

// Chains that go straight through the row. False when some cross more than one other.
bool RowSweep::SolveCrossings(const Group& group) {
  const RowEntry* const entries = chains_.Entries();
  if (!CrossInPairs(entries + group.first, group.end - group.first)) return false;
  for (std::uint32_t i = group.first; i + 1 < group.end; ++i) {
    Chain &a = *entries[i].chain, &b = *entries[i + 1].chain;
    if (b.XBottom() < a.XBottom()) Cross(a, b, chains_.LeftOf(i));
  }
  return true;
}

// What changes from where the two cross on. Mostly nothing does: both are inside or outside of
// something else.
void RowSweep::Cross(Chain& a, Chain& b, const Winding& left) {
  Winding winding = left;
  winding.Pass(b);
  const int inside = inside_(winding);
  const int aChange = int{inside_(b.after)} - inside - a.role;
  const int bChange = inside - int{inside_(left)} - b.role;
  if (aChange == 0 && bChange == 0) return;
  const std::int32_t before = b.x - a.x;
  const std::int32_t y =
      before == 0 ? 0 : CrossingHeight(before, a.XBottom() - b.XBottom(), kWholeHeight);
  if (y == kWholeHeight) return;
  Change(a, y, aChange);
  Change(b, y, bChange);
}

// The role of a chain that goes straight through the row changes at height y.
void RowSweep::Change(Chain& chain, std::int32_t y, std::int32_t change) {
  if (change == 0) return;
  if (y > 0) line_.Add(chain.edge, chain.x, chain.edge.XAt(top_, y), y, -change);
  line_.Add(chain.edge, chain.x, chain.XBottom(), kWholeHeight, change);
}

// Whether two chains that have the row to themselves between their extents begin together, end
// together, and keep their order in between. Then they have the roles that they came with.
bool RowSweep::PairKeepsOrder(Chain& first, Chain& second, bool apart) {
  if (first.starts != second.starts || first.ends != second.ends) return false;
  if (first.starts && !chains_.ArePair(first, second)) return false;
  if (apart) return true;
  const bool mirrored = first.starts && StartsLeft(second.edge, first.edge);
  Chain &left = mirrored ? second : first, &right = mirrored ? first : second;
  if (!left.bends && !right.bends) {
    return left.XBottom() <= right.XBottom() && (!left.ends || left.edge.y1 == right.edge.y1);
  }
  ChainCursor a, b;
  a.Begin(left, top_);
  b.Begin(right, top_);
  for (;;) {
    const std::int32_t y = std::min(a.end, b.end);
    if (a.XAt(y) > b.XAt(y)) return false;
    if (y == kWholeHeight) return true;
    bool over = false;
    for (ChainCursor* cursor : {&a, &b}) {
      if (cursor->end != y) continue;
      const std::int32_t x = cursor->xEnd;
      if (!cursor->Next((cursor == &a ? left : right).winding)) {
        over = true;
      } else if (cursor->xTop != x) {
        return false;
      }
    }
    if (over) return a.end == b.end;
  }
}

}  // namespace kalvora
