// GroupSweep: events, the list of chains in order, and their roles.
#include "kalvora/raster/sweep/GroupSweep.h"

#include <algorithm>
#include <utility>

#include "kalvora/raster/KStack.h"

namespace kalvora {
namespace {

// Where two pieces cross that are inverted at y, the lower end of what they have in common: from
// their own heights only.
[[gnu::noinline]] std::int32_t CrossingOf(ChainCursor& a, ChainCursor& b, std::int32_t y) {
  const std::int32_t from = std::max(a.top, b.top);
  const std::int32_t before = b.XAt(from) - a.XAt(from);
  return before <= 0 ? from : from + CrossingHeight(before, a.XAt(y) - b.XAt(y), y - from);
}

}  // namespace

void GroupSweep::Run(const RowEntry* entries, std::size_t count) {
  if (count > UINT32_MAX / 2 / sizeof(Cursor)) return;
  count_ = static_cast<std::uint32_t>(count);
  const std::size_t room = EventTree::Room(count);
  events_ = static_cast<EventTree::Event*>(stack_->Alloc(
      static_cast<unsigned>(room * sizeof(EventTree::Event) + count * sizeof(Cursor))));
  if (!events_) return;
  cursors_ = reinterpret_cast<Cursor*>(events_ + room);
  Prepare(entries);
  const std::int32_t reached = Sweep();
  if (reached < kWholeHeight) {
    DrawInSlabs(reached);
  } else {
    Finish();
  }
  stack_->DeAlloc(events_);
}

void GroupSweep::Prepare(const RowEntry* entries) {
  Cursor* last = &head_;
  for (std::uint32_t i = 0; i < count_; ++i) {
    Cursor& cursor = cursors_[i];
    Chain& chain = *entries[i].chain;
    cursor.Begin(chain, top_);
    cursor.assumed = chain.role;
    cursor.role = chain.starts ? std::int8_t{0} : chain.role;
    cursor.after = chain.after;
    cursor.next = nullptr;
    cursor.marked = false;
    cursor.listed = !chain.starts;
    if (!cursor.listed) continue;
    cursor.previous = last;
    last->next = &cursor;
    last = &cursor;
  }
}

// The height that the sweep has reached: the row's bottom, or where it gave up. What happens often
// is in line, what is rare or long is kept out.
[[gnu::flatten]] std::int32_t GroupSweep::Sweep() {
  EventTree tree(events_, count_);
  for (std::uint32_t i = 0; i < count_; ++i) {
    Cursor& cursor = cursors_[i];
    tree.Init(i, cursor.listed ? NextEvent(cursor) : Key(cursor.top, kStart));
  }
  tree.Build();
  const std::size_t limit = kGenerous + 4 * std::size_t{count_};
  now_ = 0;
  for (;;) {
    const EventTree::Event first = tree.First();
    const std::uint32_t key = EventTree::KeyOf(first);
    Cursor& cursor = cursors_[EventTree::PlaceOf(first)];
    if (key == EventTree::kNever) break;
    const std::int32_t y = static_cast<std::int32_t>(key >> 2);
    if (y > now_) {
      if (marks_) Settle();
      now_ = y;
    }
    if (++work_ + settled_ / 8 > limit) {
      Settle();
      return now_;
    }
    switch (key & 3) {
      case kEnd:
        EndPiece(cursor, tree);
        break;
      case kCross:
        Swap(cursor, tree);
        break;
      default:
        Insert(cursor, y, tree);
    }
  }
  Settle();
  return kWholeHeight;
}

void GroupSweep::Schedule(Cursor& cursor, EventTree& tree) {
  if (&cursor != &head_) tree.Set(Index(cursor), NextEvent(cursor));
}

[[gnu::noinline]] std::uint32_t GroupSweep::EndOrCrossing(Cursor& cursor) {
  const std::uint32_t key = EndOf(cursor);
  if (!AreInverted(cursor, *cursor.next)) return key;
  const std::int32_t y = std::min(cursor.end, cursor.next->end);
  const std::int32_t at = std::max(CrossingOf(cursor, *cursor.next, y), now_);
  return at < kWholeHeight ? std::min(key, Key(at, kCross)) : key;
}

void GroupSweep::AddDownTo(Cursor& cursor, std::int32_t y, std::int32_t weight) {
  if (weight == 0 || y == cursor.top) return;
  line_.Add(*cursor.edge, cursor.xTop, cursor.XAt(y), y - cursor.top, weight);
}

void GroupSweep::EndPiece(Cursor& cursor, EventTree& tree) {
  if (cursor.role != cursor.assumed) {
    AddDownTo(cursor, cursor.end, cursor.role - cursor.assumed);
  }
  const std::int32_t x = cursor.xEnd;
  if (!cursor.Next()) return EndChain(cursor, tree);
  if (cursor.xTop != x) return Jump(cursor, tree);
  Schedule(*cursor.previous, tree);
  Schedule(cursor, tree);
}

[[gnu::noinline]] void GroupSweep::EndChain(Cursor& cursor, EventTree& tree) {
  Remove(cursor, tree);
  tree.Set(Index(cursor), EventTree::kNever);
}

[[gnu::noinline]] void GroupSweep::Jump(Cursor& cursor, EventTree& tree) {
  Remove(cursor, tree);
  Insert(cursor, cursor.top, tree);
}

void GroupSweep::Swap(Cursor& a, EventTree& tree) {
  Cursor& b = *a.next;
  Cursor& before = *a.previous;
  before.next = &b;
  b.previous = &before;
  a.next = b.next;
  if (a.next) a.next->previous = &a;
  b.next = &a;
  a.previous = &b;
  if (a.marked || b.marked) Mark(a.next);
  const bool inside = TakeRole(b, before.after, inside_(before.after));
  TakeRole(a, b.after, inside);
  Schedule(before, tree);
  tree.Set(Index(b), EndOf(b));  // it has crossed `a`
  Schedule(a, tree);
}

[[gnu::noinline]] void GroupSweep::Remove(Cursor& cursor, EventTree& tree) {
  Mark(cursor.next);
  cursor.listed = false;
  cursor.previous->next = cursor.next;
  if (cursor.next) cursor.next->previous = cursor.previous;
  Schedule(*cursor.previous, tree);
}

// The search begins at the last one listed among those that stood further left when they came into
// the row. Among equals the one that goes further left comes first.
[[gnu::noinline]] void GroupSweep::Insert(Cursor& cursor, std::int32_t y, EventTree& tree) {
  Cursor* at = &head_;
  for (std::uint32_t i = Index(cursor); i-- > 0;) {
    ++work_;
    if (!cursors_[i].listed) continue;
    at = &cursors_[i];
    break;
  }
  for (; at != &head_ && at->XAt(y) > cursor.xTop; at = at->previous) ++work_;
  for (; at->next; at = at->next) {
    ++work_;
    Cursor& next = *at->next;
    const std::int32_t x = next.XAt(y);
    if (x > cursor.xTop) break;
    if (x == cursor.xTop && !AreInverted(cursor, next)) break;
  }
  cursor.listed = true;
  cursor.previous = at;
  cursor.next = at->next;
  at->next = &cursor;
  if (cursor.next) cursor.next->previous = &cursor;
  cursor.after = at->after;
  Mark(&cursor);
  Schedule(*at, tree);
  Schedule(cursor, tree);
}

// A cursor's winding is no longer that of the one before it and its own.
void GroupSweep::Mark(Cursor* cursor) {
  if (!cursor || cursor->marked) return;
  cursor->marked = true;
  cursor->nextMarked = nullptr;
  *marksEnd_ = cursor;
  marksEnd_ = &cursor->nextMarked;
}

// The role of a chain from what is left of it; returns whether its right is inside.
bool GroupSweep::TakeRole(Cursor& cursor, const Winding& left, bool wasInside) {
  cursor.after = left;
  cursor.after.Pass(*cursor.chain);
  const bool inside = inside_(cursor.after);
  const auto role = static_cast<std::int8_t>(int{inside} - int{wasInside});
  if (role != cursor.role) {
    AddDownTo(cursor, now_, cursor.role - role);
    cursor.role = role;
  }
  return inside;
}

// Brings windings and roles into accord with the order after starts and ends: from every mark on as
// far as windings differ, mostly to the partner of what started or ended. That may lie asleep
// beside the clip. In which order marks are taken does not matter but to the work.
[[gnu::noinline]] void GroupSweep::Settle() {
  for (Cursor* mark = marks_; mark; mark = mark->nextMarked) {
    if (!mark->listed) mark->marked = false;
    if (!mark->marked) continue;
    Cursor* cursor = mark;
    while (cursor->previous->marked) cursor = cursor->previous;
    bool inside = inside_(cursor->previous->after);
    for (bool differs = true; differs && cursor; cursor = cursor->next) {
      const Winding before = cursor->after;
      if (!cursor->marked) ++settled_;
      cursor->marked = false;
      inside = TakeRole(*cursor, cursor->previous->after, inside);
      differs = cursor->after != before || (cursor->next && cursor->next->marked);
    }
  }
  marks_ = nullptr;
  marksEnd_ = &marks_;
}

void GroupSweep::Finish() {
  for (Cursor* cursor = head_.next; cursor; cursor = cursor->next) {
    AddDownTo(*cursor, kWholeHeight, cursor->role - cursor->assumed);
  }
}

}  // namespace kalvora
