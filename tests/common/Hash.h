// Hash: folds numbers into one value that stands for all of them.
#ifndef KALVORA_TESTS_COMMON_HASH_H
#define KALVORA_TESTS_COMMON_HASH_H

#include <cstddef>
#include <cstdint>

/// 64-bit FNV-1a, fed with words low byte first, so that it is the same on every machine.
class Hash {
 public:
  void Add(std::uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8) AddByte(static_cast<std::uint8_t>(word >> shift));
  }
  void Add(std::int32_t word) { Add(static_cast<std::uint32_t>(word)); }
  void AddByte(std::uint8_t byte) { value = (value ^ byte) * 0x100000001B3u; }
  void AddBytes(const void* data, std::size_t count) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    for (std::size_t i = 0; i < count; ++i) AddByte(bytes[i]);
  }
  std::uint64_t Value() const { return value; }

 private:
  std::uint64_t value = 0xCBF29CE484222325u;
};

#endif
