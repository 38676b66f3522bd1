// KMatrix2D: the 2 x 2 linear transform of row vectors.
#ifndef KALVORA_CORE_KMATRIX2D_H
#define KALVORA_CORE_KMATRIX2D_H

#include <cstdint>

#include "kalvora/core/KFixed.h"

/// A linear transform for clients; the library itself calls KSoftMatrix3D only.
///
///     x' = x a + y c        y' = x b + y d
///
/// Stored in the shape of a 3 x 3 matrix, of which the upper-left block is used: a, b, c, d are
/// m[0], m[1], m[3], m[4]. Products are shifted before they are summed and wrap around. Null
/// arguments change nothing. A plain value without locks.
struct KALVORA_API KMatrix2D {
  KFixed m[9];        ///< a, b, -, c, d, and four that are never read
  std::int32_t kind;  ///< never read

  /// The identity.
  KMatrix2D();

  void Identity();                                             ///< becomes the identity
  void Set(KFixed a, KFixed b, KFixed c, KFixed d);            ///< all four
  void Get(KFixed& a, KFixed& b, KFixed& c, KFixed& d) const;  ///< all four

  /// M = B M: B applies first.
  KMatrix2D& operator*=(const KMatrix2D* b);
  /// M = M B: B applies after M.
  void Combine(const KMatrix2D* b);
  KMatrix2D& operator*=(KFixed s);
  KMatrix2D& operator+=(const KMatrix2D* b);
  KMatrix2D& operator-=(const KMatrix2D* b);
  /// Negates the entries in place.
  KMatrix2D& operator-();
  /// a d - b c.
  KFixed Determinant() const;
  /// Inverts in place, through the reciprocal of the determinant. A singular matrix gets
  /// meaningless entries.
  void Inverse();
  /// True when axis-parallel edges stay axis-parallel (to 1/64).
  bool IsOrth() const;
};

#endif
