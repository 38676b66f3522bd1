// Merge nodes: finding and sorting the top vertices of rings.
#include <algorithm>
#include <cstdlib>

#include "kalvora/raster/KMergeNode.h"
#include "kalvora/raster/KStack.h"
#include "kalvora/raster/ring.h"

namespace {

using namespace kalvora;

constexpr unsigned kFirstCapacity = 256;

/// A growing node array on the scratch stack or the C heap.
class NodeList {
 public:
  explicit NodeList(KStack* stack) : stack_(stack) { Resize(kFirstCapacity); }

  bool Append(const KVertex2D* vertex) {
    if (count_ == capacity_ && !Grow()) return false;
    nodes_[count_] = {vertex, count_};
    ++count_;
    return true;
  }

  // Until it is sorted, a node's kind holds its place in the order of discovery.
  void Sort() {
    if (count_ < 2) return;
    std::sort(nodes_, nodes_ + count_, [](const KMergeNode& a, const KMergeNode& b) {
      return a.vertex->y != b.vertex->y ? a.vertex->y < b.vertex->y : a.kind > b.kind;
    });
    for (unsigned i = 0; i < count_; ++i) nodes_[i].kind = 0;
  }

  KMergeNode* Shrink() {
    if (count_ == 0) {
      Free();
    } else {
      Resize(count_);
    }
    return nodes_;
  }

  void Free() {
    if (stack_) {
      stack_->DeAlloc(nodes_);
    } else {
      std::free(nodes_);
    }
    nodes_ = nullptr;
    count_ = 0;
  }

  unsigned Count() const { return count_; }

 private:
  // The capacity quadruples the first time and doubles from then on. There is none yet when the
  // first room was refused.
  bool Grow() {
    if (capacity_ == 0) return Resize(kFirstCapacity);
    return Resize(capacity_ == kFirstCapacity ? 4 * capacity_ : 2 * capacity_);
  }

  bool Resize(unsigned capacity) {
    if (capacity > UINT32_MAX / sizeof(KMergeNode)) return false;
    const auto bytes = static_cast<unsigned>(capacity * sizeof(KMergeNode));
    void* moved = stack_ ? stack_->ReAlloc(nodes_, bytes) : std::realloc(nodes_, bytes);
    if (!moved) return false;
    nodes_ = static_cast<KMergeNode*>(moved);
    capacity_ = capacity;
    return true;
  }

  KStack* stack_;
  KMergeNode* nodes_ = nullptr;
  unsigned count_ = 0;
  unsigned capacity_ = 0;
};

// -1 when the walk rises from a to b (y grows downward), 1 when it falls, 0 on the level.
int Direction(const KVertex2D& a, const KVertex2D& b) {
  return (b.y > a.y ? 1 : 0) - (b.y < a.y ? 1 : 0);
}

bool CollectTops(NodeList& list, const KVertex2D* ring) {
  if (ring::Count(ring) == 0) return true;
  const KVertex2D* first = ring::First(ring);
  const KVertex2D* last = first + ring::Count(ring) - 1;
  int direction = Direction(*last, *first);
  for (const KVertex2D* v = last; direction == 0 && v != first; --v) {
    direction = Direction(v[-1], *v);
  }
  if (direction == 0) return true;
  std::int32_t falls = direction > 0;
  std::int32_t y = first->y.raw;
  // One jump for all conditions: which way an edge goes cannot be foreseen. After a fall the level
  // falls on; y is not the least number there.
  const auto pass = [&](const KVertex2D* v, std::int32_t then) {
    const std::int32_t before = falls;
    falls = then > y - before;
    y = then;
    return falls <= before || list.Append(v);
  };
  for (const KVertex2D* v = first; v != last; ++v) {
    if (!pass(v, v[1].y.raw)) return false;
  }
  return pass(last, first->y.raw);
}

}  // namespace

unsigned GetMergePts(KMergeNode*& nodes, KVertex2D* const* rings, unsigned count, KStack* stack) {
  NodeList list(stack);
  for (unsigned i = 0; i < count; ++i) {
    if (!CollectTops(list, rings[i])) {
      list.Free();
      break;
    }
  }
  list.Sort();
  nodes = list.Shrink();
  return list.Count();
}
