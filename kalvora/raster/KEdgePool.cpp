// KEdgePool: slots by bit mask.
#include "kalvora/raster/KEdgePool.h"

#include <bit>

#include "kalvora/raster/KStack.h"

namespace kalvora {

struct EdgeBlock {
  std::uint32_t mask;   // a bit for each slot in use
  EdgeBlock* older;     // the block allocated before this one
  EdgeBlock* nextFree;  // the next block with a free slot
  ActiveEdge slots[32];
};

KEdgePool::~KEdgePool() {
  while (newest_) {
    EdgeBlock* older = newest_->older;
    stack_->DeAlloc(newest_);
    newest_ = older;
  }
}

bool KEdgePool::AddBlock() {
  auto* block = static_cast<EdgeBlock*>(stack_->Alloc(sizeof(EdgeBlock)));
  if (!block) return false;
  block->mask = 0;
  block->older = newest_;
  block->nextFree = free_;
  newest_ = free_ = block;
  return true;
}

ActiveEdge* KEdgePool::Take() {
  if (!free_ && !AddBlock()) return nullptr;
  EdgeBlock* block = free_;
  const std::uint32_t taken = block->mask | (block->mask + 1);
  const std::uint32_t bit = taken & ~block->mask;
  block->mask = taken;
  if (taken == UINT32_MAX) free_ = block->nextFree;
  ActiveEdge* edge = &block->slots[std::countr_zero(bit)];
  edge->block = block;
  edge->bit = bit;
  return edge;
}

void KEdgePool::Give(ActiveEdge* edge) {
  EdgeBlock* block = edge->block;
  if (block->mask == UINT32_MAX) {
    block->nextFree = free_;
    free_ = block;
  }
  block->mask &= ~edge->bit;
}

}  // namespace kalvora
