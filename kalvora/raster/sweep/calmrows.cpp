// RowSweep: rows in which nothing happens, a chain at a time through all of them.
#include <algorithm>

#include "kalvora/raster/sweep/RowSweep.h"

namespace kalvora {
namespace {

// What is further apart than that at two heights does not touch the same 16.16 x between them,
// however these are rounded.
constexpr std::int64_t kTouching = 1;
constexpr std::int32_t kLongestPause = 64;

std::uint64_t Step(const Chain& chain, std::int32_t rows) {
  return (static_cast<std::uint64_t>(chain.edge.ratio) << 16) * static_cast<std::uint32_t>(rows);
}

// Follows a chain through vertices down to `bottom`, where `below` and `place` are then. False when
// it ends before.
bool Follow(Chain& chain, std::int32_t bottom, Extent& extent, std::uint64_t& place) {
  extent.Include(chain.edge.x1);
  if (!chain.below.Find(chain.edge.lower, chain.winding, bottom, extent)) return false;
  chain.below.NeedRatio();
  place = chain.below.PlaceAt(bottom);
  extent.Include(SlopedEdge::XOf(place));
  return true;
}

// Where a chain comes into some rows, and where it leaves; and what it touches in between, on the
// side of another.
struct Way {
  std::int64_t top, bottom, beside;
  bool straight;

  bool IsLeftOf(const Way& other) const {
    if (!straight || !other.straight) return beside + kTouching < other.beside;
    return top + kTouching < other.top && bottom + kTouching < other.bottom;
  }
};

constexpr std::int64_t kBeside = std::int64_t{INT32_MIN} - 2;

}  // namespace

// Whether no chain touches another in these rows, being straight lines that are in the same order
// at both ends.
bool RowSweep::StayApart(std::int32_t bottom, std::int32_t rows) const {
  const RowEntry* const entries = chains_.Entries();
  std::int64_t top = kBeside, end = kBeside;
  for (std::size_t i = 0; i < chains_.Count(); ++i) {
    const Chain& chain = *entries[i].chain;
    if (chain.straightTo <= bottom) return StayApartBent(bottom, rows);
    const std::int32_t x = chain.XBottom();
    const std::int32_t xEnd = SlopedEdge::XOf(chain.place + Step(chain, rows));
    if (x <= top + kTouching || xEnd <= end + kTouching) return false;
    top = x;
    end = xEnd;
  }
  return true;
}

// The same where some, which have no role, have vertices.
bool RowSweep::StayApartBent(std::int32_t bottom, std::int32_t rows) const {
  const RowEntry* const entries = chains_.Entries();
  Way left{kBeside, kBeside, kBeside, true};
  for (std::size_t i = 0; i < chains_.Count(); ++i) {
    Chain& chain = *entries[i].chain;
    const std::int32_t x = chain.XBottom();
    Extent extent{x, x};
    std::uint64_t place = chain.place + Step(chain, rows);
    const bool straight = chain.straightTo > bottom;
    if (!straight && (chain.role != 0 || !Follow(chain, bottom, extent, place))) return false;
    const std::int32_t end = SlopedEdge::XOf(place);
    extent.Include(end);
    if (!left.IsLeftOf({x, end, extent.low, straight})) return false;
    left = {x, end, extent.high, straight};
  }
  return true;
}

// Where chains meet often, nobody looks again soon.
std::int32_t RowSweep::AddCalm(std::int32_t top, std::int32_t rows) {
  const RowEntry* const entries = chains_.Entries();
  const std::size_t count = chains_.Count();
  std::int32_t edges = 0;
  for (std::size_t i = 0; i < count; ++i) {
    entries[i].chain->TakeBelow();
    edges += entries[i].chain->role != 0;
  }
  while (rows >= kFewestCalm && !StayApart(top + rows * kRowHeight, rows)) rows >>= 1;
  if (rows < kFewestCalm || edges > DifferenceRows::kMostEdges) {
    busyTo_ = (top >> 16) + pause_;
    pause_ = std::min(2 * pause_, kLongestPause);
    return 0;
  }
  pause_ = kShortestPause;
  rows_.Begin(top >> 16, inside_(chains_.Base()), rows, edges);
  const std::int32_t bottom = top + rows * kRowHeight;
  for (std::size_t i = 0; i < count; ++i) {
    Chain& chain = *entries[i].chain;
    if (chain.role != 0) rows_.AddEdge(chain.edge, chain.place, chain.role);
    if (chain.straightTo > bottom) {
      chain.place += Step(chain, rows);
    } else {
      chain.edge = chain.below;
      chain.straightTo = chain.edge.y1;
      chain.place = chain.edge.PlaceAt(bottom);
    }
  }
  return rows;
}

}  // namespace kalvora
