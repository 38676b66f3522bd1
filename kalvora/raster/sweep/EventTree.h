// EventTree: which of many participants has the next event.
#ifndef KALVORA_RASTER_SWEEP_EVENTTREE_H
#define KALVORA_RASTER_SWEEP_EVENTTREE_H

#include <cstdint>

namespace kalvora {

/// The least of `count` keys, each of which can be changed: a tournament whose inner nodes are
/// copies of the lesser of the two below. Works in memory given to it.
class EventTree {
 public:
  static constexpr std::uint32_t kNever = UINT32_MAX;

  /// A key and whose it is, in one word: what is stored in parts is waited for when it is copied.
  using Event = std::uint64_t;
  static std::uint32_t KeyOf(Event event) { return static_cast<std::uint32_t>(event >> 32); }
  static std::uint32_t WhoOf(Event event) { return static_cast<std::uint32_t>(event); }

  /// Events of memory for `count` keys.
  static constexpr std::size_t Room(std::size_t count) { return 2 * count; }

  EventTree(Event* memory, std::uint32_t count) : nodes_(memory), count_(count) {}

  /// Sets a key before Build.
  void Init(std::uint32_t i, std::uint32_t key) {
    nodes_[count_ + i] = std::uint64_t{key} << 32 | i;
  }
  void Build() {
    for (std::uint32_t node = count_ - 1; node > 0; --node) nodes_[node] = Lesser(node);
  }
  void Set(std::uint32_t i, std::uint32_t key) {
    std::uint32_t node = count_ + i;
    if (KeyOf(nodes_[node]) == key) return;
    Init(i, key);
    while (node >>= 1) {
      const Event least = Lesser(node);
      if (least == nodes_[node]) return;
      nodes_[node] = least;
    }
  }
  /// Among equal keys any.
  Event First() const { return nodes_[1]; }

 private:
  Event Lesser(std::uint32_t node) const {
    const Event* below = nodes_ + 2 * node;
    return below[KeyOf(below[1]) < KeyOf(below[0])];
  }

  Event* nodes_;  // [1] is the root, [count] and on the keys
  std::uint32_t count_;
};

}  // namespace kalvora

#endif
