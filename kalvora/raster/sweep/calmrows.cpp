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

// Follows a chain through vertices down to `bottom`, where `upper` and `place` are then. False when
// it ends before.
bool Follow(Chain& chain, std::int32_t bottom, Extent& extent, std::uint64_t& place) {
  extent.Include(chain.edge.x1);
  if (!chain.upper.Find(chain.edge.lower, chain.winding, bottom, extent)) return false;
  chain.upper.NeedRatio();
  place = chain.upper.PlaceAt(bottom);
  extent.Include(SlopedEdge::XOf(place));
  return true;
}

// Where a chain comes into some rows, and where it leaves; and what one with vertices touches in
// between.
struct Way {
  std::int32_t top, bottom;
  bool straight;
  Extent extent;

  // False when it ends before. What it leaves the rows on is `upper` then, where it has vertices.
  bool Find(Chain& chain, std::int32_t y, std::int32_t rows) {
    std::uint64_t place = chain.place + Step(chain, rows);
    top = chain.XBottom();
    straight = chain.straightTo > y;
    if (!straight) {
      extent = {top, top};
      if (!Follow(chain, y, extent, place)) return false;
    }
    bottom = SlopedEdge::XOf(place);
    return true;
  }
  bool IsLeftOf(const Way& other) const {
    if (straight && other.straight) return IsLeft(top, other.top) && IsLeft(bottom, other.bottom);
    return IsLeft(straight ? std::max(top, bottom) : extent.high,
                  other.straight ? std::min(other.top, other.bottom) : other.extent.low);
  }
  // Fewer rows in which it may be left of the other: of straight ones as many as there are.
  std::int32_t RowsLeftOf(const Way& other, std::int32_t rows) const {
    if (!straight || !other.straight) return rows >> 1;
    const std::int64_t before = std::int64_t{other.top} - top - 3 * kTouching;
    const std::int64_t after = std::int64_t{other.bottom} - bottom - 3 * kTouching;
    if (before <= 0 || after >= before) return 0;
    return std::min(rows - 1, static_cast<std::int32_t>(before * rows / (before - after)));
  }

 private:
  static bool IsLeft(std::int64_t x, std::int64_t other) { return x + kTouching < other; }
};

}  // namespace

// Whether no chain touches another in these rows, and those with a role have no vertex: being
// straight lines that are in the same order at both ends, or where one has vertices, by the width
// of its way. Otherwise fewer rows, which may do.
std::int32_t RowSweep::RowsApart(std::int32_t top, std::int32_t rows) const {
  const RowEntry* const entries = chains_.Entries();
  const std::int32_t bottom = top + rows * kRowHeight;
  Way left{};
  for (std::size_t i = 0; i < chains_.Count(); ++i) {
    Chain& chain = *entries[i].chain;
    Way way;
    if ((chain.role != 0 && chain.straightTo <= bottom) || !way.Find(chain, bottom, rows)) {
      return static_cast<std::int32_t>((std::int64_t{chain.straightTo} - top - 1) >> 16);
    }
    if (i > 0 && !left.IsLeftOf(way)) return left.RowsLeftOf(way, rows);
    left = way;
  }
  return rows;
}

// Where chains meet often, nobody looks again soon.
std::int32_t RowSweep::AddCalm(std::int32_t top, std::int32_t rows) {
  const RowEntry* const entries = chains_.Entries();
  const std::size_t count = chains_.Count();
  std::int32_t edges = 0;
  for (std::size_t i = 0; i < count; ++i) {
    edges += entries[i].chain->role != 0;
  }
  const bool inside = inside_(chains_.Base());
  if (edges > 0 || inside) rows = std::min(rows, rows_.Room());
  if (edges > DifferenceRows::kMostEdges) rows = 0;
  for (std::int32_t tried = 0; rows >= kFewestCalm && rows != tried;) {
    tried = rows;
    rows = RowsApart(top, tried);
  }
  if (rows < kFewestCalm) {
    busyTo_ = (top >> 16) + pause_;
    pause_ = std::min(2 * pause_, kLongestPause);
    return 0;
  }
  pause_ = kShortestPause;
  rows_.BeginEdges(top >> 16, inside, rows);
  const std::int32_t bottom = top + rows * kRowHeight;
  for (std::size_t i = 0; i < count; ++i) {
    Chain& chain = *entries[i].chain;
    if (chain.role != 0) rows_.AddEdge(chain.edge, chain.place);
    if (chain.straightTo > bottom) {
      chain.place += Step(chain, rows);
    } else {
      chain.edge = chain.upper;
      chain.straightTo = chain.edge.y1;
      chain.place = chain.edge.PlaceAt(bottom);
    }
  }
  rows_.EndEdges();
  return rows;
}

}  // namespace kalvora
