// RowSweep: the one pass over a row's chains, and the division of those that meet into groups.
#include "kalvora/raster/sweep/RowSweep.h"

#include <algorithm>
#include <utility>

#include "kalvora/raster/sweep/ChainCursor.h"
#include "kalvora/raster/sweep/GroupSweep.h"

namespace kalvora {
namespace {

constexpr std::int32_t kRowsAwake = 8;

// 1 when a is left of b, -1 when it is right of it.
int Order(std::int32_t a, std::int32_t b) { return a < b ? 1 : a > b ? -1 : 0; }

}  // namespace

bool RowSweep::Add(std::int32_t top) {
  top_ = top;
  bottom_ = top + kRowHeight;
  // Every few rows chains that have gone beside the clip are looked for, whatever happens here.
  changed_ = chains_.Starts() || (top >> 16) % kRowsAwake == 0;
  if (AddPieces() || chains_.Starts()) {
    changed_ = true;
    SolveGroups();
  }
  return changed_;
}

// One pass from left to right. True when some chains touch the same columns.
bool RowSweep::AddPieces() {
  bool meet = false;
  std::int32_t reached = INT32_MIN;
  RowEntry* const end = chains_.Entries() + chains_.Count();
  for (RowEntry* entry = chains_.Entries(); entry != end; ++entry) {
    Chain& chain = *entry->chain;
    if (chain.starts || chain.turns || chain.edge.y1 <= bottom_) {
      Walk(*entry);
    } else {
      chain.x = chain.xBottom;
      chain.travel += static_cast<std::uint64_t>(chain.edge.ratio) << 16;
      chain.xBottom = chain.edge.AfterTravel(chain.travel);
      if (chain.role != 0) line_.Add(chain.edge, chain.x, chain.xBottom, kWholeHeight, chain.role);
      entry->low = std::min(chain.x, chain.xBottom);
      entry->high = std::max(chain.x, chain.xBottom);
    }
    meet = meet || entry->low <= reached;
    reached = std::max(reached, entry->high);
  }
  return meet;
}

// A chain with vertices in the row, or one that had some in the row before.
void RowSweep::Walk(RowEntry& entry) {
  Chain& chain = *entry.chain;
  if (chain.turns) chain.edge = chain.below;
  if (!chain.starts) chain.x = chain.xBottom;
  chain.turns = chain.edge.y1 <= bottom_;
  std::int32_t x = chain.x;
  std::int32_t y = chain.starts ? chain.edge.y0 : top_;
  Extent extent{x, x};
  if (chain.starts) extent.Include(chain.xBottom);
  SlopedEdge* at = &chain.edge;
  while (at->y1 <= bottom_) {
    if (chain.role != 0) line_.Add(*at, x, at->x1, (at->y1 - y) << kHeightBits, chain.role);
    y = at->y1;
    x = at->x1;
    const KVertex2D* vertex = at->lower;
    at = &chain.below;
    if (!at->Find(vertex, chain.winding, y, extent)) {
      extent.Include(x);
      chain.xBottom = x;
      chain.ends = changed_ = true;
      entry.low = extent.low;
      entry.high = extent.high;
      return;
    }
    x = at->x0;
  }
  SlopedEdge& edge = *at;
  edge.NeedRatio();
  chain.travel = edge.TravelTo(bottom_);
  chain.xBottom = edge.AfterTravel(chain.travel);
  if (chain.role != 0 && y < bottom_) {
    line_.Add(edge, x, chain.xBottom, (bottom_ - y) << kHeightBits, chain.role);
  }
  extent.Include(chain.xBottom);
  entry.low = extent.low;
  entry.high = extent.high;
}

// Chains belong together when they touch the same columns. The entries are sorted by an x that each
// touches, so a group is a range of them: it ends where all before lie left of all that follow.
// Starts and ends come in pairs of one group, so between groups no winding changes.
void RowSweep::SolveGroups() {
  RowEntry* const entries = chains_.Entries();
  const std::size_t count = chains_.Count();
  for (std::size_t i = count; i-- > 1;) {
    entries[i - 1].low = std::min(entries[i - 1].low, entries[i].low);
  }
  std::size_t first = 0;
  std::int32_t reached = INT32_MIN;
  for (std::size_t i = 0; i < count; ++i) {
    reached = std::max(reached, entries[i].high);
    if (i + 1 < count && entries[i + 1].low <= reached) continue;
    if (i > first || entries[i].chain->starts) SolveGroup(entries + first, i + 1 - first);
    first = i + 1;
  }
}

void RowSweep::SolveGroup(RowEntry* first, std::size_t count) {
  const Winding left = first == chains_.Entries() ? chains_.Base() : first[-1].chain->after;
  bool upright = true;
  std::int32_t x = INT32_MIN;
  for (std::size_t i = 0; i < count; ++i) {
    const Chain& chain = *first[i].chain;
    upright = upright && !chain.starts && !chain.turns && chain.xBottom >= x;
    x = chain.xBottom;
  }
  if (upright) return;
  if (count == 2 && SolvePair(*first[0].chain, *first[1].chain, left)) return;
  GroupSweep sweep(stack_, line_, inside_, left, top_);
  sweep.Run(first, count);
}

// Two chains that have the row to themselves between their extents and, from where both begin to
// where both end, keep their order. False when they do not.
bool RowSweep::SolvePair(Chain& first, Chain& second, const Winding& left) {
  if (first.starts != second.starts || first.ends != second.ends) return false;
  ChainCursor a, b;
  a.Begin(first, top_);
  b.Begin(second, top_);
  if (a.top != b.top) return false;
  // 1: the first is on the left; -1: the second; 0: unknown, both start at one vertex.
  int order = first.starts ? Order(a.xTop, b.xTop) : 1;
  for (;;) {
    const std::int32_t y = std::min(a.end, b.end);
    const int now = Order(a.XAt(y), b.XAt(y));
    if (order == 0) order = now;
    if (now != 0 && now != order) return false;
    if (y == kWholeHeight) break;
    bool over = false;
    for (ChainCursor* cursor : {&a, &b}) {
      if (cursor->end != y) continue;
      const std::int32_t x = cursor->xEnd;
      if (!cursor->Next((cursor == &a ? first : second).winding)) {
        over = true;
      } else if (cursor->xTop != x) {
        return false;
      }
    }
    if (over) {
      if (a.end != b.end) return false;
      break;
    }
  }
  if (!first.starts) return true;
  Chain& l = order < 0 ? second : first;
  Chain& r = order < 0 ? first : second;
  Winding winding = left;
  const bool outside = inside_(winding);
  winding.Pass(l);
  const int role = int{inside_(winding)} - int{outside};
  l.role = static_cast<std::int8_t>(role);
  r.role = static_cast<std::int8_t>(-role);
  if (role != 0) {
    AddStarted(l);
    AddStarted(r);
  }
  return true;
}

void RowSweep::AddStarted(Chain& chain) {
  ChainCursor cursor;
  cursor.Begin(chain, top_);
  do {
    line_.Add(cursor.edge, cursor.xTop, cursor.xEnd, cursor.end - cursor.top, chain.role);
  } while (cursor.end != kWholeHeight && cursor.Next(chain.winding));
}

}  // namespace kalvora
