// KStraightEdges: rows of a draw as the edges that go straight through them, of which no coverage
// has been computed yet. Plain data, for fillers whose vectors compute it.
#ifndef KALVORA_RASTER_KSTRAIGHTEDGES_H
#define KALVORA_RASTER_KSTRAIGHTEDGES_H

#include <cstddef>
#include <cstdint>

/// Edges from left to right, at each of which painting begins or ends. Columns are counted from the
/// style record's x0 on, rows from its row on. The columns of an edge in a row, from its least x to
/// its greatest, or the next where these are in one, are painted, and no other edge has any of
/// them.
struct KStraightEdges {
  static constexpr int kMost = 16;
  static constexpr int kMostRows = 32;
  /// The height of a row is 2^kHeightBits.
  static constexpr int kHeightBits = 26;

  struct Edge {
    std::uint64_t place;  ///< x where it comes into the first row, 32.32; less than half a unit of
                          ///< 16.16 more
    std::uint64_t step;   ///< what x is more one row further down
    std::uint32_t gain;   ///< height / |dx|, dx in 16.16, is gain / 2^shift; any for dx = 0
    std::uint8_t shift;
  };

  Edge edge[kMost];
  int count;
  int rows;
  bool inside;            ///< left of the first edge is painted
  std::ptrdiff_t stride;  ///< words from a row of pixels to the next
};

#endif
