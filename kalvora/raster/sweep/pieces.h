// Pieces of edges that wait for each other, and are added to difference lines some at a time.
#ifndef KALVORA_RASTER_SWEEP_PIECES_H
#define KALVORA_RASTER_SWEEP_PIECES_H

#include <cstddef>
#include <cstdint>

namespace kalvora {

/// Whether there are vectors to add them in. Elsewhere it is instructions that count.
#if defined(__x86_64__)
inline constexpr bool kPiecesWait = true;
#else
inline constexpr bool kPiecesWait = false;
#endif

/// What DifferenceLine::AddSoon is told, each field in an array of its own.
struct Pieces {
  // Places fit into bytes. Arrays a power of two apart would be in each other's way in the cache.
  static constexpr int kMost = kPiecesWait ? 144 : 4;
  static constexpr int kHeightBits = 10;  // of heights, beyond 16.16

  std::uint32_t* line[kMost];
  std::int32_t dx[kMost];  // of the edge
  std::uint32_t dy[kMost];
  std::int32_t xTop[kMost], xBottom[kMost];
  std::int32_t height[kMost], weight[kMost];
  int count = 0;
};

/// The columns that are drawn, and where a line's marks are, in words from its begin.
struct LineColumns {
  std::int32_t first, width;
  std::ptrdiff_t marks;
};

namespace avx2 {

/// Adds all pieces that lie in one or two columns that are drawn. Leaves the places of the others
/// in `rest`, and returns their number; their gains and shifts are in dx and dy then.
int AddPieces(Pieces& pieces, const LineColumns& columns, std::uint8_t* rest);

}  // namespace avx2
}  // namespace kalvora

#endif
