// EventTree: which of many participants has the next event.
#ifndef KALVORA_RASTER_SWEEP_EVENTTREE_H
#define KALVORA_RASTER_SWEEP_EVENTTREE_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace kalvora {

/// The least of `count` keys, each of which can be changed: a tournament whose inner nodes are
/// copies of the lesser of the two below. All keys lie equally deep, so that how far a change goes
/// up is foreseen. Works in memory given to it.
class EventTree {
 public:
  static constexpr std::uint32_t kNever = UINT32_MAX;

  /// A key and the place of the one whose it is, in one word: what is stored in parts is waited for
  /// when it is copied. Among equal keys the first place counts.
  using Event = std::uint64_t;
  static std::uint32_t KeyOf(Event event) { return static_cast<std::uint32_t>(event >> 32); }
  static std::uint32_t PlaceOf(Event event) { return static_cast<std::uint32_t>(event); }

  /// Events of memory for `count` keys.
  static constexpr std::size_t Room(std::size_t count) { return 2 * std::bit_ceil(count); }

  /// Every key is to be set by Init, then Build be called.
  EventTree(Event* memory, std::uint32_t count) : nodes_(memory), leaves_(std::bit_ceil(count)) {
    for (std::uint32_t i = count; i < leaves_; ++i) Init(i, kNever);
  }

  void Init(std::uint32_t i, std::uint32_t key) { nodes_[leaves_ + i] = EventAt(i, key); }
  void Build() {
    for (std::uint32_t node = leaves_ - 1; node > 0; --node) {
      nodes_[node] = std::min(nodes_[2 * node], nodes_[2 * node + 1]);
    }
  }
  void Set(std::uint32_t i, std::uint32_t key) {
    std::uint32_t node = leaves_ + i;
    Event least = EventAt(i, key);
    if (nodes_[node] == least) return;
    nodes_[node] = least;
    while (node > 1) {
      least = std::min(least, nodes_[node ^ 1]);
      node >>= 1;
      nodes_[node] = least;
    }
  }
  Event First() const { return nodes_[1]; }

 private:
  static Event EventAt(std::uint32_t i, std::uint32_t key) { return std::uint64_t{key} << 32 | i; }

  Event* nodes_;  // [1] is the root, [leaves_] and on the keys
  std::uint32_t leaves_;
};

}  // namespace kalvora

#endif
