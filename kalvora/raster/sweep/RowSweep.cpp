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

bool EndTogether(const Chain& a, const Chain& b) {
  return b.ends && a.straightTo == b.straightTo && a.winding != b.winding && a.isClip == b.isClip;
}

// Goes on to the next edge, without a level one in between.
bool GoOn(ChainCursor& cursor, bool& jumps) {
  const std::int32_t x = cursor.xEnd;
  if (!cursor.Next()) return false;
  jumps = jumps || cursor.xTop != x;
  return true;
}

// A chain that is there at the row's top and ends inside it, without a vertex before.
bool EndsStraight(const Chain& chain) {
  return chain.ends && !chain.starts && chain.Entering().y1 == chain.straightTo;
}

// Whether the one is left of the other, or touches it, where the row has both.
bool AreInOrder(Chain& left, Chain& right, std::int32_t top) {
  if (EndsStraight(left) && EndsStraight(right) && left.straightTo == right.straightTo) {
    return left.x <= right.x && left.Entering().x1 <= right.Entering().x1;
  }
  if (!left.turns && !right.turns &&
      (left.starts ? ActiveChains::ArePair(left, right) : !right.starts)) {
    return left.XBottom() <= right.XBottom();
  }
  ChainCursor a, b;
  a.Begin(left, top);
  b.Begin(right, top);
  bool jumps = false;
  while (a.end <= b.top) {
    if (!GoOn(a, jumps)) return true;
  }
  while (b.end <= a.top) {
    if (!GoOn(b, jumps)) return true;
  }
  const std::int32_t from = std::max(a.top, b.top);
  if (a.XAt(from) > b.XAt(from)) return false;
  while (!jumps && !AreInverted(a, b)) {
    const std::int32_t y = std::min(a.end, b.end);
    if (y == kWholeHeight) return true;
    if (a.end == y && !GoOn(a, jumps)) return true;
    if (b.end == y && !GoOn(b, jumps)) return true;
  }
  return false;
}

}  // namespace

void RowSweep::Add(std::int32_t top) {
  top_ = top;
  bottom_ = top + kRowHeight;
  SolveGroups(AddPieces());
  chains_.DropEnded();
}

// One pass from left to right. Leaves the places of those that meet one before them, or start, in
// Meeting, and returns their number.
std::size_t RowSweep::AddPieces() {
  RowEntry* const entries = chains_.Entries();
  const auto count = static_cast<std::uint32_t>(chains_.Count());
  std::int32_t reached = INT32_MIN;
  std::int32_t next = INT32_MAX;
  std::uint32_t* const meeting = chains_.Meeting();
  std::size_t meetings = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    Chain& chain = *entries[i].chain;
    std::int32_t low, high;
    bool meets = false;
    if (chain.straightTo <= bottom_) {
      Extent extent;
      Walk(chain, extent);
      low = extent.low;
      high = extent.high;
      if (chain.ends) {
        chains_.HasEnded(i);
      } else if (chain.role != 0) {
        next = std::min(next, chain.straightTo);
      }
      meets = chain.starts;
    } else {
      chain.turns = false;
      chain.x = chain.XBottom();
      chain.place += static_cast<std::uint64_t>(chain.edge.ratio) << 16;
      const std::int32_t x = chain.XBottom();
      if (chain.role != 0) {
        next = std::min(next, chain.straightTo);
        line_.AddRow(chain.edge, chain.x, x, chain.role);
      }
      low = std::min(chain.x, x);
      high = std::max(chain.x, x);
    }
    meeting[meetings] = i;  // without a jump
    meetings += meets | (low <= reached);
    entries[i].low = low;
    entries[i].reached = reached = std::max(reached, high);
  }
  nextVertex_ = next;
  return meetings;
}

// A chain with vertices in the row, or one that starts. Sets the extent where the caller has it:
// returned, it would be loaded in one word after it was stored in two.
void RowSweep::Walk(Chain& chain, Extent& extent) {
  SlopedEdge& edge = chain.edge;
  std::int32_t x = chain.XBottom();
  std::int32_t y = chain.starts ? edge.y0 : top_;
  extent.low = extent.high = x;
  if (chain.starts) extent.Include(chain.x);
  chain.x = x;
  chain.turns = edge.y1 <= bottom_;
  if (chain.turns) chain.upper = edge;
  while (edge.y1 <= bottom_) {
    if (chain.role != 0) line_.AddSoon(edge, x, edge.x1, (edge.y1 - y) << kHeightBits, chain.role);
    y = edge.y1;
    x = edge.x1;
    extent.Include(x);
    if (!edge.Find(edge.lower, chain.winding, y, extent)) {
      chain.place = SlopedEdge::PlaceOf(x);
      chain.straightTo = y;
      chain.ends = true;
      return;
    }
    x = edge.x0;
  }
  edge.NeedRatio();
  chain.straightTo = edge.y1;
  chain.place = edge.PlaceAt(bottom_);
  if (chain.role != 0 && y < bottom_) {
    line_.AddSoon(edge, x, chain.XBottom(), (bottom_ - y) << kHeightBits, chain.role);
  }
  extent.Include(chain.XBottom());
}

// Chains belong together when they touch the same x. The entries are sorted by an x that each
// touches, so a group is a range of them: it begins where all before lie left of all that follow.
// Starts and ends come in pairs of one group, so between groups no winding changes.
//
// From right to left: what is to the left of a group is still as at the row's top.
void RowSweep::SolveGroups(std::size_t meetings) {
  const RowEntry* const entries = chains_.Entries();
  const std::uint32_t* const meeting = chains_.Meeting();
  while (meetings > 0) {
    std::uint32_t first = meeting[--meetings];
    const std::uint32_t end = first + 1;
    std::int32_t low = entries[first].low;
    while (first > 0 && entries[first - 1].reached >= low) {
      low = std::min(low, entries[--first].low);
    }
    while (meetings > 0 && meeting[meetings - 1] >= first) --meetings;
    SolveGroup({first, end});
  }
}

void RowSweep::SolveGroup(const Group& group) {
  RowEntry* const first = chains_.Entries() + group.first;
  const std::size_t count = group.end - group.first;
  if (count == 2 && PassPair(group)) return;
  bool bends = false;
  bool crosses = false;
  std::int32_t x = INT32_MIN;
  for (std::size_t i = 0; i < count; ++i) {
    const Chain& chain = *first[i].chain;
    bends |= chain.starts | chain.turns;
    crosses |= chain.XBottom() <= x;
    x = chain.XBottom();
  }
  if (!bends && !crosses) return;
  const bool solved =
      bends ? KeepsOrder(first, count) : SolveCrossings(group) || StaysInside(group);
  if (!solved) {
    GroupSweep sweep(stack_, line_, inside_, chains_.LeftOf(group.first), top_);
    sweep.Run(first, count);
  }
  chains_.Reorder(group);
}

// Most groups: two chains that keep their order while they go on, start or end side by side. Does
// what Reorder would do. False when they are not like that: nothing is changed then.
bool RowSweep::PassPair(const Group& group) {
  RowEntry* const first = chains_.Entries() + group.first;
  Chain *a = first[0].chain, *b = first[1].chain;
  if (a->starts != b->starts || a->ends != b->ends) return false;
  if (a->ends) {
    if (a->starts || !EndTogether(*a, *b)) return false;
  } else {
    if (a->starts && !ActiveChains::ArePair(*a, *b)) return false;
    if (a->starts && StartsLeft(b->Entering(), a->Entering())) std::swap(a, b);
    if (a->XBottom() >= b->XBottom()) return false;
  }
  if (first[0].reached > first[1].low && !AreInOrder(*a, *b, top_)) return false;
  if (a->starts) {
    first[0].chain = a;
    first[1].chain = b;
    a->starts = b->starts = false;
    a->after = b->after = chains_.LeftOf(group.first);
    a->after.Pass(*a);
  } else if (a->ends) {
    a->after = b->after;
  }
  return true;
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

// Whether chains that go straight through the row have no role and get none, whichever of them have
// crossed where: so deep inside that no winding comes to zero. Left of a chain may be missing those
// that cross it from there, and be added those that cross it to there.
bool RowSweep::StaysInside(const Group& group) const {
  const RowEntry* const entries = chains_.Entries() + group.first;
  const std::size_t count = group.end - group.first;
  if (inside_.shape != KFillNonZero || count > kMany) return false;
  for (std::size_t i = 0; i < count; ++i) {
    if (entries[i].chain->role != 0 || entries[i].chain->isClip) return false;
  }
  Extent windings[kMany];  // on both sides of a chain
  const auto widen = [&](std::size_t i, std::int32_t by) {
    (by < 0 ? windings[i].low : windings[i].high) += by;
  };
  for (std::size_t i = 0; i < count; ++i) {
    const Chain& chain = *entries[i].chain;
    const std::int32_t x = chain.XBottom();
    const std::int32_t right = chain.after.shape;
    windings[i] = {std::min(right, right - chain.winding), std::max(right, right - chain.winding)};
    for (std::size_t k = i; k-- > 0 && entries[k].reached > x;) {
      const Chain& left = *entries[k].chain;
      if (left.XBottom() <= x) continue;
      widen(i, -left.winding);
      widen(k, chain.winding);
    }
  }
  return std::all_of(windings, windings + count,
                     [](const Extent& of) { return of.low > 0 || of.high < 0; });
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

// Whether every start and every end is that of two neighbours, and nobody crosses another. Then all
// have the roles that they came with.
bool RowSweep::KeepsOrder(const RowEntry* first, std::size_t count) const {
  if (count > kFew) return false;
  RowEntry entries[kFew];
  for (std::size_t i = 0; i < count; ++i) {
    entries[i] = {first[i].low, first[i].reached, first[i].chain};
    if (!first[i].chain->starts) continue;
    if (i + 1 == count || !ActiveChains::ArePair(*first[i].chain, *first[i + 1].chain)) {
      return false;
    }
    RowEntry &a = entries[i], &b = entries[++i];
    b = {first[i].low, first[i].reached, first[i].chain};
    if (StartsLeft(b.chain->Entering(), a.chain->Entering())) {
      std::swap(a, b);
      a.reached = b.reached = std::max(a.reached, b.reached);
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (!entries[i].chain->ends) continue;
    if (i + 1 == count || !EndTogether(*entries[i].chain, *entries[i + 1].chain)) return false;
    ++i;
  }
  for (std::size_t i = 1; i < count; ++i) {
    for (std::size_t k = i; k > 0 && entries[k - 1].reached > entries[i].low; --k) {
      if (!AreInOrder(*entries[k - 1].chain, *entries[i].chain, top_)) return false;
    }
  }
  return true;
}

}  // namespace kalvora
