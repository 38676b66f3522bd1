// Random: a small seeded generator, the same numbers on every machine.
#ifndef KALVORA_TESTS_COMMON_RANDOM_H
#define KALVORA_TESTS_COMMON_RANDOM_H

#include <cstdint>

/// A 64-bit counter whose steps are scrambled; every seed is as good as any other.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state(seed) {}

  std::uint64_t Next64() {
    std::uint64_t z = state += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  std::uint32_t Next() { return static_cast<std::uint32_t>(Next64() >> 32); }

  /// 0..n - 1; n > 0.
  std::uint32_t Below(std::uint32_t n) {
    return static_cast<std::uint32_t>(std::uint64_t{Next()} * n >> 32);
  }
  /// low..high, both included.
  std::int32_t Between(std::int32_t low, std::int32_t high) {
    const std::uint64_t count = static_cast<std::uint64_t>(std::int64_t{high} - low) + 1;
    return static_cast<std::int32_t>(low + static_cast<std::int64_t>(Next() * count >> 32));
  }
  bool OneIn(std::uint32_t n) { return Below(n) == 0; }

  /// A word that is often extreme: a number of any size, near a power of two, or near an end.
  std::uint32_t Word() {
    const std::uint32_t any = Next();
    switch (Below(4)) {
      case 0:
        return any;
      case 1:
        return any >> Below(32);
      case 2:
        return (1u << Below(32)) + Below(5) - 2;
      default:
        return (OneIn(2) ? 0x80000000u : 0u) + Below(9) - 4;
    }
  }

 private:
  std::uint64_t state;
};

#endif
