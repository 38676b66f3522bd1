// Plain matrices of any size, to compare the library's with.
#ifndef KALVORA_TESTS_CORE_MATRICES_H
#define KALVORA_TESTS_CORE_MATRICES_H

#include <algorithm>
#include <cstdlib>

#include "kalvora/core/KVertex2D.h"

#include "tests/common/Random.h"

constexpr KFixed Raw(std::int32_t raw) { return KFixed::FromRaw(raw); }
inline constexpr KFixed one = Raw(65536);
inline constexpr KFixed zero = Raw(0);

inline double Real(KFixed v) { return v.raw / 65536.0; }
inline KFixed Tan(KFixed a) { return KFixed::Sin(a) / KFixed::Cos(a); }

inline KFixed AnyEntry(Random& random) { return Raw(random.Between(-6 << 16, 6 << 16)); }
inline KFixed AnyAngle(Random& random) { return Raw(random.Between(0, 360 << 16)); }
inline KVertex2D AnyAngles(Random& random) {
  const KFixed x = AnyAngle(random);
  return {x, AnyAngle(random)};
}

/// On which side of a product the other factor stands, for row vectors.
enum Side { kBefore, kAfter };

/// The n x n product m other (kAfter) or other m (kBefore), row by row. Where `other` has an entry
/// -s, at the index `negated`, its terms are -(s x), which round differently from (-s) x.
template <int n>
void Multiply(Side side, const KFixed* m, const KFixed* other, KFixed* product, int negated = -1) {
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      product[n * i + j] = zero;
      for (int k = 0; k < n; ++k) {
        const int of = side == kAfter ? n * k + j : n * i + k;
        const KFixed factor = side == kAfter ? m[n * i + k] : m[n * k + j];
        product[n * i + j] += of == negated ? -(-other[of] * factor) : other[of] * factor;
      }
    }
  }
}

/// The greatest difference between the raw values of two arrays.
template <int count>
std::int64_t Distance(const KFixed* a, const KFixed* b) {
  std::int64_t most = 0;
  for (int i = 0; i < count; ++i) {
    most = std::max(most, std::abs(std::int64_t{a[i].raw} - b[i].raw));
  }
  return most;
}

#endif
