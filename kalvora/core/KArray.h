// KArray: a counted array.
#ifndef KALVORA_CORE_KARRAY_H
#define KALVORA_CORE_KARRAY_H

#include <cstdint>

/// A count and a pointer to that many elements. It owns nothing: whoever made the array frees it.
template <typename T>
struct KArray {
  std::uint32_t count = 0;  ///< elements
  T* data = nullptr;        ///< the first of them

  T* begin() const { return data; }                         ///< for loops over all elements
  T* end() const { return data + count; }                   ///< behind the last
  T& operator[](std::uint32_t i) const { return data[i]; }  ///< i is not checked
};

#endif
