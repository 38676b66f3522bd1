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

  struct Event {
    std::uint32_t key;
    std::uint32_t who;
    bool operator==(const Event&) const = default;
  };

  /// Events of memory for `count` keys.
  static constexpr std::size_t Room(std::size_t count) { return 2 * count; }

  EventTree(Event* memory, std::uint32_t count) : nodes_(memory), count_(count) {}

  /// Sets a key before Build.
  void Init(std::uint32_t i, std::uint32_t key) { nodes_[count_ + i] = {key, i}; }
  void Build() {
    for (std::uint32_t node = count_ - 1; node > 0; --node) nodes_[node] = Lesser(node);
  }
  void Set(std::uint32_t i, std::uint32_t key) {
    std::uint32_t node = count_ + i;
    if (nodes_[node].key == key) return;
    nodes_[node].key = key;
    while (node >>= 1) {
      const Event& least = Lesser(node);
      if (least == nodes_[node]) return;
      nodes_[node] = least;
    }
  }
  /// Among equal keys any.
  const Event& First() const { return nodes_[1]; }

 private:
  const Event& Lesser(std::uint32_t node) const {
    const Event* below = nodes_ + 2 * node;
    return below[below[1].key < below[0].key];
  }

  Event* nodes_;  // [1] is the root, [count] and on the keys
  std::uint32_t count_;
};

}  // namespace kalvora

#endif
