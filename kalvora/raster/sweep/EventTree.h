// EventTree: which of many participants has the next event.
#ifndef KALVORA_RASTER_SWEEP_EVENTTREE_H
#define KALVORA_RASTER_SWEEP_EVENTTREE_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace kalvora {

/// The least of `count` keys, each of which can be changed: a tournament whose inner nodes are
/// copies of the lesser of the two below. Works in memory given to it.
class EventTree {
 public:
  static constexpr std::uint32_t kNever = UINT32_MAX;

  /// A key and the place of the one whose it is, in one word: what is stored in parts is waited for
  /// when it is copied. Among equal keys the first place counts.
  using Event = std::uint64_t;
  static std::uint32_t KeyOf(Event event) { return static_cast<std::uint32_t>(event >> 32); }

  /// Events of memory for `count` keys.
  static constexpr std::size_t Room(std::size_t count) { return 2 * count; }

  EventTree(Event* memory, std::uint32_t count)
      : nodes_(memory), count_(count), deepest_(std::bit_ceil(count)) {}

  /// Sets a key before Build.
  void Init(std::uint32_t i, std::uint32_t key) { nodes_[count_ + i] = EventAt(count_ + i, key); }
  void Build() {
    for (std::uint32_t node = count_ - 1; node > 0; --node) {
      nodes_[node] = std::min(nodes_[2 * node], nodes_[2 * node + 1]);
    }
  }
  void Set(std::uint32_t i, std::uint32_t key) {
    std::uint32_t node = count_ + i;
    Event least = EventAt(node, key);
    if (nodes_[node] == least) return;
    nodes_[node] = least;
    while (node > 1) {
      least = std::min(least, nodes_[node ^ 1]);
      node >>= 1;
      nodes_[node] = least;
    }
  }
  Event First() const { return nodes_[1]; }
  std::uint32_t WhoOf(Event event) const {
    const std::uint32_t place = static_cast<std::uint32_t>(event) - count_;
    return place < count_ ? place : place - count_;
  }

 private:
  // Places count the leaves from the first of the lowest level on, then those above it.
  Event EventAt(std::uint32_t leaf, std::uint32_t key) const {
    return std::uint64_t{key} << 32 | (leaf < deepest_ ? leaf + count_ : leaf);
  }

  Event* nodes_;  // [1] is the root, [count] and on the keys
  std::uint32_t count_;
  std::uint32_t deepest_;
};

}  // namespace kalvora

#endif
