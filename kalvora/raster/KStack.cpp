// KStack: blocks of the C heap, used as one stack.
#include "kalvora/raster/KStack.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr std::uint32_t kAlign = 64;
constexpr std::uint32_t kBlockOverhead =
    2 * kAlign;  // room to align the header, and the header itself

constexpr std::uint32_t RoundUp(std::uint32_t size) {
  return (size + (kAlign - 1)) & ~(kAlign - 1);
}

}  // namespace

// Sits at the first aligned address of its allocation; the data begin kAlign bytes after it.
struct KStack::Block {
  void* raw;
  Block* previous;
  std::uint32_t capacity;
  std::uint8_t* top;

  std::uint8_t* Data() { return reinterpret_cast<std::uint8_t*>(this) + kAlign; }
  std::uint32_t Room() { return capacity - static_cast<std::uint32_t>(top - Data()); }
};

KStack::~KStack() {
  while (block_) {
    Block* previous = block_->previous;
    std::free(block_->raw);
    block_ = previous;
  }
  if (spare_) std::free(spare_->raw);
}

void* KStack::Alloc(unsigned size) {
  const std::uint32_t rounded = RoundUp(size);
  const std::uint32_t total = used + rounded;
  if (rounded < size || total < used) return nullptr;
  if (!block_ || rounded > block_->Room()) {
    Block* fresh = TakeBlock(std::max(reserve, total) - used);
    if (!fresh) return nullptr;
    Push(fresh);
  }
  return Bump(rounded);
}

// The block that was emptied last is kept, so that a draw which repeats needs nothing from the C
// heap.
KStack::Block* KStack::TakeBlock(std::uint32_t capacity) {
  static_assert(sizeof(Block) <= kAlign);
  if (spare_ && spare_->capacity >= capacity) return std::exchange(spare_, nullptr);
  if (capacity > UINT32_MAX - kBlockOverhead) return nullptr;
  void* raw = std::malloc(std::size_t{capacity} + kBlockOverhead);
  if (!raw) return nullptr;
  const auto address = reinterpret_cast<std::uintptr_t>(raw);
  auto* fresh = reinterpret_cast<Block*>((address + (kAlign - 1)) & ~std::uintptr_t{kAlign - 1});
  fresh->raw = raw;
  fresh->capacity = capacity;
  return fresh;
}

void KStack::Push(Block* fresh) {
  fresh->previous = block_;
  fresh->top = fresh->Data();
  block_ = fresh;
}

void* KStack::Bump(std::uint32_t rounded) {
  used += rounded;
  peak = std::max(peak, used);
  reserve = std::max(reserve, peak);
  return std::exchange(block_->top, block_->top + rounded);
}

void KStack::DeAlloc(void* p) {
  if (!p) return;
  auto* address = static_cast<std::uint8_t*>(p);
  used -= static_cast<std::uint32_t>(block_->top - address);
  block_->top = address;
  if (address != block_->Data()) return;
  Block* empty = block_;
  block_ = empty->previous;
  if (spare_ && spare_->capacity >= empty->capacity) {
    std::free(empty->raw);
  } else {
    if (spare_) std::free(spare_->raw);
    spare_ = empty;
  }
}

void* KStack::ReAlloc(void* p, unsigned size) {
  if (!p) return Alloc(size);
  auto* address = static_cast<std::uint8_t*>(p);
  const std::uint32_t rounded = RoundUp(size);
  if (rounded < size) return nullptr;
  const auto present = static_cast<std::uint32_t>(block_->top - address);
  const auto before = static_cast<std::uint32_t>(address - block_->Data());
  if (rounded <= block_->capacity - before) {
    used = used - present + rounded;
    if (used > peak) peak = used;
    block_->top = address + rounded;
    return p;
  }
  const std::uint32_t total = used - present + rounded;
  if (total < rounded) return nullptr;
  Block* fresh = TakeBlock(std::max(reserve, total) - (used - present));
  if (!fresh) return nullptr;
  std::memcpy(fresh->Data(), p, present);
  DeAlloc(p);
  Push(fresh);
  return Bump(rounded);
}

void KStack::Collect() {
  reserve =
      reserve < peak ? peak : static_cast<std::uint32_t>((std::uint64_t{peak} + reserve) >> 1);
  peak = 0;
  if (!spare_) return;
  // A spare block that frames have long outshrunk goes back to the C heap, and one that the frame
  // has outgrown is replaced: the next frame finds room for everything.
  const bool small = !block_ && spare_->capacity < reserve;
  if (!small && spare_->capacity / 4 <= reserve) return;
  std::free(spare_->raw);
  spare_ = nullptr;
  if (small) spare_ = TakeBlock(reserve);
}
