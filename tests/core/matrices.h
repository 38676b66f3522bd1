// Numbers and plain matrices of any size, to compare the library's with.
#ifndef KALVORA_TESTS_CORE_MATRICES_H
#define KALVORA_TESTS_CORE_MATRICES_H

#include <algorithm>
#include <array>
#include <type_traits>

#include "kalvora/core/KMatrix2D.h"
#include "kalvora/core/KMatrix4D.h"
#include "kalvora/core/KSoftMatrix3D.h"

#include "tests/common/Random.h"

constexpr KFixed Raw(std::int32_t raw) { return KFixed::FromRaw(raw); }
inline constexpr KFixed one = Raw(65536);
inline constexpr KFixed zero = Raw(0);

inline double Real(KFixed v) { return v.raw / 65536.0; }
inline KFixed Tan(KFixed a) { return KFixed::Sin(a) / KFixed::Cos(a); }
inline int Flags(const KSoftMatrix3D& m) {
  return m.affine << 8 | m.identity << 4 | m.linearIdentity;
}

inline KFixed AnyFixed(Random& random) { return Raw(static_cast<std::int32_t>(random.Word())); }
inline KFixed AnyEntry(Random& random) { return Raw(random.Between(-6 << 16, 6 << 16)); }
inline KFixed AnyAngle(Random& random) { return Raw(random.Between(0, 360 << 16)); }
inline KVertex2D AnyAngles(Random& random) {
  const KFixed x = AnyAngle(random);
  return {x, AnyAngle(random)};
}

/// n x n numbers, row by row.
template <int n>
using Square = std::array<KFixed, std::size_t{n} * n>;

inline Square<2> Entries(const KMatrix2D& m) {
  Square<2> e;
  m.Get(e[0], e[1], e[2], e[3]);
  return e;
}
inline Square<3> Entries(const KSoftMatrix3D& m) { return std::to_array(m.GetMatrixData().m); }
inline Square<4> Entries(const KMatrix4D& m) { return std::to_array(m.e); }

/// One of the matrix classes with random entries; a KSoftMatrix3D is affine or not.
template <typename Matrix>
Matrix AnyMatrix(Random& random) {
  Square<4> e;
  for (KFixed& entry : e) entry = AnyEntry(random);
  Matrix m;
  if constexpr (std::is_same_v<Matrix, KMatrix2D>) {
    m.Set(e[0], e[1], e[2], e[3]);
  } else if constexpr (std::is_same_v<Matrix, KMatrix4D>) {
    std::copy(e.begin(), e.end(), m.e);
  } else if (random.OneIn(2)) {
    m.Set(e[0], e[1], e[2], e[3], e[4], e[5]);
  } else {
    m.Set(e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8]);
  }
  return m;
}

/// An operation of a matrix class as a function; of a vector, one that takes a number gets x.
template <auto kOperation, typename Matrix, typename Vector>
void Apply(Matrix& m, Vector v) {
  if constexpr (std::is_invocable_v<decltype(kOperation), Matrix&, Vector>) {
    (m.*kOperation)(v);
  } else {
    (m.*kOperation)(v.x);
  }
}

/// On which side of a product the other factor stands, for row vectors.
enum Side { kBefore, kAfter };

/// The product m other (kAfter) or other m (kBefore). Where `other` has an entry -s, at the index
/// `negated`, its terms are -(s x), which round differently from (-s) x.
template <std::size_t count>
std::array<KFixed, count> Multiply(Side side, const std::array<KFixed, count>& m,
                                   const std::array<KFixed, count>& other,
                                   std::size_t negated = count) {
  constexpr std::size_t n = count == 4 ? 2 : count == 9 ? 3 : 4;
  std::array<KFixed, count> product;
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) {
      product[n * i + j] = zero;
      for (std::size_t k = 0; k < n; ++k) {
        const std::size_t of = side == kAfter ? n * k + j : n * i + k;
        const KFixed factor = side == kAfter ? m[n * i + k] : m[n * k + j];
        product[n * i + j] += of == negated ? -(-other[of] * factor) : other[of] * factor;
      }
    }
  }
  return product;
}

#endif
