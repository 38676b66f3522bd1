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
  KFillRule clip;   ///< of the clip path
  Winding outside;  ///< around what lies beyond all chains; without a clip path that is inside it

  InsideRule(KFillRule shapeRule, bool clipped, KFillRule clipRule)
      : shape(shapeRule), clip(clipped ? clipRule : 1), outside{0, clipped ? 0 : 1} {}
  bool operator()(const Winding& w) const {
    // 32-bit ARM needs fewer instructions with the jump.
    if constexpr (sizeof(void*) == 4) return (w.shape & shape) != 0 && (w.clip & clip) != 0;
    return ((w.shape & shape) != 0) & ((w.clip & clip) != 0);
  }
};

/// An active edge and the chain that it belongs to.
///
/// From its top vertex a ring descends two ways, backward and forward, to the next vertices from
/// which it rises. A chain's role is what its crossing from left to right changes: 1 where painting
/// begins, -1 where it ends, 0 where nothing changes.
struct alignas(64) Chain {
  // What a row reads of a chain that goes straight through it.
  SlopedEdge edge;      // on which it leaves the row; of a chain that ends, the last one
  std::uint64_t place;  // where it leaves the row: at its lower border, or where it ends; before
                        // the row is walked, where it comes in. See SlopedEdge::PlaceAt
  std::int32_t x;       // where it comes into the row: at its top, or where it starts
  std::int32_t straightTo;  // from where it leaves the row it has no vertices above that y;
                            // kNotStraight: it is about to start; of a chain that ends: where
  std::int8_t role;
  std::int8_t winding;  // -1 backward, +1 forward through the ring: what it counts, and how it is
                        // walked
  bool starts;          // inside the row; before it is walked, x is where its node is
  bool turns;           // it has vertices inside the row or at its lower border: `upper` is set

  bool ends;  // inside the row or at its lower border
  bool isClip;
  std::uint8_t slot;    // its place in its block
  std::uint32_t order;  // of its node among all, and of it in its pair
  Winding after;        // to the right of it, at the row's top

  SlopedEdge upper;   // on which it comes into the row, when it turns
  ChainBlock* block;  // where it belongs

  static constexpr std::int32_t kNotStraight = INT32_MIN;

  /// x where it leaves the row, and before the row is walked: the x by which it is sorted.
  std::int32_t XBottom() const { return SlopedEdge::XOf(place); }
  /// On which it comes into the row, when that is walked.
  SlopedEdge& Entering() { return turns ? upper : edge; }
  const SlopedEdge& Entering() const { return turns ? upper : edge; }
};

inline void Winding::Pass(const Chain& chain) { (chain.isClip ? clip : shape) += chain.winding; }

/// The order of chains that come into a row: ascending x; at equal x chains that are there before
/// those about to start, and the one that leans further left first. It does not depend on what lies
/// outside the clip.
bool IsLeftAtSameX(const Chain& p, const Chain& q);
inline bool IsLeft(const Chain& p, const Chain& q) {
  return p.XBottom() != q.XBottom() ? p.XBottom() < q.XBottom() : IsLeftAtSameX(p, q);
}

/// A chain in the row's order.
struct RowEntry {
  std::int32_t low;      // the least x that it touches in the row
  std::int32_t reached;  // the furthest x that it and all before it touch
  Chain* chain;
};

}  // namespace kalvora

#endif
