// EventTree: which of many participants has the next event.
#ifndef KALVORA_RASTER_SWEEP_EVENTTREE_H
#define KALVORA_RASTER_SWEEP_EVENTTREE_H

#include <cstdint>

namespace kalvora {

/// The least of `count` keys, each of which can be changed: a tournament whose inner nodes name the
/// winner of the two below. Works in memory given to it.
class EventTree {
 public:
  static constexpr std::uint32_t kNever = UINT32_MAX;

  /// Words of memory for `count` keys.
  static constexpr std::size_t Words(std::size_t count) { return 2 * count + 2; }

  EventTree(std::uint32_t* memory, std::uint32_t count)
      : keys_(memory), winners_(memory + count), count_(count) {
    winners_[1] = 0;
  }

  /// Sets a key before Build.
  void Init(std::uint32_t i, std::uint32_t key) { keys_[i] = key; }
  void Build() {
    for (std::uint32_t node = count_ - 1; node > 0; --node) winners_[node] = Winner(node);
  }
  void Set(std::uint32_t i, std::uint32_t key) {
    if (keys_[i] == key) return;
    keys_[i] = key;
    for (std::uint32_t node = (count_ + i) >> 1; node > 0; node >>= 1) {
      const std::uint32_t winner = Winner(node);
      // Above a node that neither was nor is i's, nothing changes.
      if (winner == winners_[node] && winner != i) return;
      winners_[node] = winner;
    }
  }
  /// Among equal keys any.
  std::uint32_t First() const { return winners_[1]; }
  std::uint32_t Key(std::uint32_t i) const { return keys_[i]; }

 private:
  std::uint32_t Name(std::uint32_t node) const {
    return node >= count_ ? node - count_ : winners_[node];
  }
  std::uint32_t Winner(std::uint32_t node) const {
    const std::uint32_t a = Name(2 * node), b = Name(2 * node + 1);
    return keys_[b] < keys_[a] ? b : a;
  }

  std::uint32_t* keys_;
  std::uint32_t* winners_;  // [1] is the root
  std::uint32_t count_;
};

}  // namespace kalvora

#endif
