// KEdgePool: the active edges of one draw, in blocks of 32 slots with an occupancy mask.
#ifndef KALVORA_RASTER_KEDGEPOOL_H
#define KALVORA_RASTER_KEDGEPOOL_H

#include <cstdint>

#include "kalvora/raster/edge.h"

class KStack;

namespace kalvora {

struct EdgeBlock;

/// An edge of the complex scan converter. The list of active edges is sorted by x at the present y.
struct ActiveEdge {
  ChainEdge line;
  std::int32_t xTop, xBottom;  // x at the top and the bottom of the present step
  ActiveEdge* next;
  std::int32_t
      winding;  // -1 backward, +1 forward through the ring: what it counts, and how it is walked
  bool isClip;

  EdgeBlock* block;   // where the slot belongs
  std::uint32_t bit;  // the slot's bit in the block's mask
};

/// Hands out and takes back active edges. Blocks come from the scratch stack and go back to it,
/// newest first, when the pool ends; nothing else may be allocated there in between.
class KEdgePool {
 public:
  explicit KEdgePool(KStack* stack) : stack_(stack) {}
  ~KEdgePool();
  KEdgePool(const KEdgePool&) = delete;
  KEdgePool& operator=(const KEdgePool&) = delete;

  /// Null when memory runs out.
  ActiveEdge* Take();
  void Give(ActiveEdge* edge);

 private:
  bool AddBlock();

  KStack* stack_;
  EdgeBlock* newest_ = nullptr;  // all blocks
  EdgeBlock* free_ = nullptr;    // those with a free slot
};

}  // namespace kalvora

#endif
