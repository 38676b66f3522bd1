// KEdgePool: the active edges of one draw, in blocks of 32 slots with an occupancy mask.
#ifndef KALVORA_RASTER_SWEEP_KEDGEPOOL_H
#define KALVORA_RASTER_SWEEP_KEDGEPOOL_H

#include <cstdint>

#include "kalvora/raster/sweep/Chain.h"

class KStack;

namespace kalvora {

/// Hands out and takes back active edges. Blocks come from the scratch stack and go back to it,
/// newest first, when the pool ends; nothing else may be allocated there in between.
class KEdgePool {
 public:
  explicit KEdgePool(KStack* stack) : stack_(stack) {}
  ~KEdgePool() { Release(); }
  KEdgePool(const KEdgePool&) = delete;
  KEdgePool& operator=(const KEdgePool&) = delete;

  /// Null when memory runs out.
  Chain* Take();
  void Give(Chain* edge);
  /// Takes back all, with their memory.
  void Release();

 private:
  bool AddBlock();

  KStack* stack_;
  ChainBlock* newest_ = nullptr;  // all blocks
  ChainBlock* free_ = nullptr;    // those with a free slot
};

}  // namespace kalvora

#endif
