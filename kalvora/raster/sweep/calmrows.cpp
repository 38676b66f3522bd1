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

}  // namespace

// Whether the chains, straight lines, are in the same order at both ends of these rows.
bool RowSweep::StayApart(std::int32_t rows) const {
  const RowEntry* const entries = chains_.Entries();
  std::int64_t top = std::int64_t{INT32_MIN} - 2, bottom = top;
  for (std::size_t i = 0; i < chains_.Count(); ++i) {
    const Chain& chain = *entries[i].chain;
    const std::int32_t x = chain.XBottom();
    const std::int32_t end = SlopedEdge::XOf(chain.place + Step(chain, rows));
    if (x <= top + kTouching || end <= bottom + kTouching) return false;
    top = x;
    bottom = end;
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
  while (rows >= kFewestCalm && !StayApart(rows)) rows >>= 1;
  if (rows < kFewestCalm || edges > DifferenceRows::kMostEdges) {
    busyTo_ = top + pause_ * kRowHeight;
    pause_ = std::min(2 * pause_, kLongestPause);
    return 0;
  }
  pause_ = kShortestPause;
  rows_.Begin(top >> 16, inside_(chains_.Base()), rows, edges);
  for (std::size_t i = 0; i < count; ++i) {
    Chain& chain = *entries[i].chain;
    if (chain.role != 0) rows_.AddEdge(chain.edge, chain.place, chain.role);
    chain.place += Step(chain, rows);
  }
  return rows;
}

}  // namespace kalvora
