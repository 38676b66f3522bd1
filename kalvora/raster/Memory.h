// Memory: blocks from a scratch stack or from the C heap, whichever the caller asked for.
#ifndef KALVORA_RASTER_MEMORY_H
#define KALVORA_RASTER_MEMORY_H

#include <cstdint>
#include <cstdlib>

#include "kalvora/raster/KStack.h"

namespace kalvora {

/// Sizes are 64-bit, so that a count can be multiplied without care; what does not fit 32 bits is
/// refused like memory that has run out. Blocks of the stack are released last to first.
struct Memory {
  KStack* stack;  ///< null for the C heap

  void* Alloc(std::uint64_t bytes) const {
    if (bytes > UINT32_MAX) return nullptr;
    return stack ? stack->Alloc(static_cast<unsigned>(bytes))
                 : std::malloc(static_cast<std::size_t>(bytes));
  }
  void* ReAlloc(void* p, std::uint64_t bytes) const {
    if (bytes > UINT32_MAX) return nullptr;
    return stack ? stack->ReAlloc(p, static_cast<unsigned>(bytes))
                 : std::realloc(p, static_cast<std::size_t>(bytes));
  }
  void Free(void* p) const {
    if (stack) {
      stack->DeAlloc(p);
    } else {
      std::free(p);
    }
  }
};

}  // namespace kalvora

#endif
