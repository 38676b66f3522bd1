// Chain: a chain of edges on its way down, in the row that is being drawn.
#ifndef KALVORA_RASTER_SWEEP_CHAIN_H
#define KALVORA_RASTER_SWEEP_CHAIN_H

#include <cstdint>

#include "kalvora/raster/KFillRule.h"
#include "kalvora/raster/sweep/SlopedEdge.h"

namespace kalvora {

struct ChainBlock;

inline constexpr std::int32_t kRowHeight = 0x10000;

/// How often the shape and the clip path wind around a place.
struct Winding {
  std::int32_t shape = 0;
  std::int32_t clip = 0;

  void Pass(const struct Chain& chain);
  bool operator==(const Winding&) const = default;
};

/// Which places are painted.
struct InsideRule {
  KFillRule shape;
  KFillRule clip;
  bool clipped;  ///< there is a clip path

  bool operator()(const Winding& w) const {
    return (w.shape & shape) != 0 && (!clipped || (w.clip & clip) != 0);
  }
};

/// An active edge and the chain that it belongs to.
///
/// From its top vertex a ring descends two ways, backward and forward, to the next vertices from
/// which it rises. A chain's role is what its crossing from left to right changes: 1 where painting
/// begins, -1 where it ends, 0 where nothing changes.
struct Chain {
  SlopedEdge edge;       // on which it comes into the row
  std::uint64_t travel;  // at the row's lower border
  std::int32_t x;        // where it comes into the row: at its top, or where it starts
  std::int32_t xBottom;  // at the row's lower border; for a chain about to start, where that is
  std::int32_t winding;  // -1 backward, +1 forward through the ring: what it counts, and how it is
                         // walked
  std::int8_t role;
  bool isClip;
  bool starts;          // inside the row
  bool turns;           // it has vertices inside the row or at its lower border: `below` is set
  bool ends;            // inside the row or at its lower border
  std::uint32_t order;  // of its node among all, and of it in its pair
  Winding after;        // to the right of it, at the row's top

  SlopedEdge below;  // on which it leaves the row, when it turns

  ChainBlock* block;  // where the slot belongs
  std::uint32_t bit;  // the slot's bit in the block's mask
};

inline void Winding::Pass(const Chain& chain) { (chain.isClip ? clip : shape) += chain.winding; }

/// A chain in the row's order, and the columns it touches in the row.
struct RowEntry {
  std::int32_t low;  // before the row is walked: the x by which it is sorted
  std::int32_t high;
  Chain* chain;
};

}  // namespace kalvora

#endif
