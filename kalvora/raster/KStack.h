// KStack: the last-in-first-out scratch allocator of one drawing context.
#ifndef KALVORA_RASTER_KSTACK_H
#define KALVORA_RASTER_KSTACK_H

#include <cstdint>

#include "kalvora/export.h"

/// Scratch memory for the arrays of one draw. Sizes are rounded up to multiples of 64 and addresses
/// are 64-byte aligned. Release strictly in the reverse order of allocation. When the C allocator
/// fails, Alloc and ReAlloc return null and the stack stays as it was. Not for use by two threads
/// at once.
class KALVORA_API KStack {
 public:
  std::uint32_t peak = 0;     ///< most bytes in use since the last Collect
  std::uint32_t reserve = 0;  ///< what a newly opened block is made to hold, with all before it
  std::uint32_t used = 0;     ///< bytes allocated, over all blocks

  KStack() = default;
  ~KStack();
  KStack(const KStack&) = delete;
  KStack& operator=(const KStack&) = delete;

  void* Alloc(unsigned size);
  /// Releases p and everything allocated after it in its block. Null is ignored.
  void DeAlloc(void* p);
  /// Resizes the newest allocation, moving it when its block has no room.
  void* ReAlloc(void* p, unsigned size);
  /// End of frame: the reserve grows at once to the peak, and decays halfway towards a smaller one.
  void Collect();

 private:
  struct Block;
  Block* TakeBlock(std::uint32_t capacity);
  void Push(Block* fresh);
  void* Bump(std::uint32_t rounded);

  Block* block_ = nullptr;  ///< the newest block
  Block* spare_ = nullptr;  ///< the last one emptied, for the next that opens
};

#endif
