// KMem: memory copied and filled in bursts of words.
#ifndef KALVORA_SUPPORT_KMEM_H
#define KALVORA_SUPPORT_KMEM_H

#include <cstdint>

/// Copies and fills. Source and destination must not overlap; counts of 0 touch nothing. The byte
/// routines take any addresses, the word routines word-aligned ones. Any thread may call them.
struct KMem {
  static void Memcpy(char* dst, const char* src, unsigned bytes);
  static void Memcpy32(std::uint32_t* dst, const std::uint32_t* src, unsigned words);
  static void Memset(char* dst, char value, unsigned bytes);
  static void Memset32(std::uint32_t* dst, std::uint32_t value, unsigned words);
};

#endif
