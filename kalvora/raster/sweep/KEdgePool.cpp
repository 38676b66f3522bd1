// KEdgePool: slots by bit mask.
#include "kalvora/raster/sweep/KEdgePool.h"

#include <bit>

#include "kalvora/raster/KStack.h"

namespace kalvora {

struct ChainBlock {
  std::uint32_t mask;    // a bit for each slot in use
  ChainBlock* older;     // the block allocated before this one
  ChainBlock* nextFree;  // the next block with a free slot
  Chain slots[32];
};

void KEdgePool::Release() {
  while (newest_) {
    ChainBlock* older = newest_->older;
    stack_->DeAlloc(newest_);
    newest_ = older;
  }
  free_ = nullptr;
}

bool KEdgePool::AddBlock() {
  auto* block = static_cast<ChainBlock*>(stack_->Alloc(sizeof(ChainBlock)));
  if (!block) return false;
  block->mask = 0;
  block->older = newest_;
  block->nextFree = free_;
  newest_ = free_ = block;
  return true;
}

Chain* KEdgePool::Take() {
  if (!free_ && !AddBlock()) return nullptr;
  ChainBlock* block = free_;
  const int slot = std::countr_one(block->mask);
  block->mask |= std::uint32_t{1} << slot;
  if (block->mask == UINT32_MAX) free_ = block->nextFree;
  Chain* edge = &block->slots[slot];
  edge->block = block;
  edge->slot = static_cast<std::uint8_t>(slot);
  return edge;
}

void KEdgePool::Give(Chain* edge) {
  ChainBlock* block = edge->block;
  if (block->mask == UINT32_MAX) {
    block->nextFree = free_;
    free_ = block;
  }
  block->mask &= ~(std::uint32_t{1} << edge->slot);
}

}  // namespace kalvora
