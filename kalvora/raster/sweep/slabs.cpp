// GroupSweep: what crosses too often for a sweep is drawn in slabs.
#include <algorithm>

#include "kalvora/raster/KStack.h"
#include "kalvora/raster/sweep/GroupSweep.h"
#include "kalvora/raster/sweep/sorting.h"

namespace kalvora {
namespace {

constexpr std::int32_t kMostSlabs = 256;
constexpr std::int32_t kFewestSlabs = 16;
// Slabs times chains of a row.
constexpr std::uint32_t kSlabWork = 1 << 19;

}  // namespace

// The rest of the row from y on, which the sweep has reached, each slab as it is at its middle. Its
// pieces stand upright there: slanted ones would not cancel where they cross inside the slab.
void GroupSweep::DrawInSlabs(std::int32_t y) {
  struct Place {
    std::int32_t x;
    Cursor* cursor;
  };
  auto* places = static_cast<Place*>(stack_->Alloc(static_cast<unsigned>(count_ * sizeof(Place))));
  if (!places) return;
  // What RowSweep assumed no longer holds for any piece that reaches below y.
  std::uint32_t open = 0;
  for (std::uint32_t i = 0; i < count_; ++i) {
    Cursor& cursor = cursors_[i];
    if (cursor.listed) AddDownTo(cursor, y, cursor.role);
    if (cursor.listed || (cursor.chain->starts && cursor.top >= y)) {
      AddDownTo(cursor, cursor.end, -cursor.assumed);
      places[open++] = {0, &cursor};
    }
  }
  const auto slabs = static_cast<std::int32_t>(
      std::clamp<std::uint32_t>(kSlabWork / count_, kFewestSlabs, kMostSlabs));
  const std::int32_t height = (kWholeHeight + slabs - 1) / slabs;
  for (std::int32_t from = y; from < kWholeHeight; from += height) {
    const std::int32_t to = std::min(from + height, kWholeHeight);
    const std::int32_t middle = from + (to - from) / 2;
    std::uint32_t kept = 0;
    for (std::uint32_t i = 0; i < open; ++i) {
      Cursor& cursor = *places[i].cursor;
      bool ended = false;
      while (!ended && cursor.end <= middle) {
        ended = !cursor.Next();
        if (!ended) AddDownTo(cursor, cursor.end, -cursor.assumed);
      }
      if (!ended) {
        places[kept++] = {cursor.top > middle ? INT32_MAX : cursor.XAt(middle), &cursor};
      }
    }
    open = kept;
    SortNearlySorted(places, open, [](const Place& a, const Place& b) { return a.x < b.x; });
    Winding winding = head_.after;
    bool inside = inside_(winding);
    for (std::uint32_t i = 0; i < open && places[i].x != INT32_MAX; ++i) {
      winding.Pass(*places[i].cursor->chain);
      const bool now = inside_(winding);
      if (now != inside) line_.AddVertical(places[i].x, to - from, int{now} - int{inside});
      inside = now;
    }
  }
  stack_->DeAlloc(places);
}

}  // namespace kalvora
