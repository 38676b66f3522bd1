// KSoftMatrix3D: the 3 x 3 transform of row vectors that every path, pattern, gradient and glyph
// goes through.
#ifndef KALVORA_CORE_KSOFTMATRIX3D_H
#define KALVORA_CORE_KSOFTMATRIX3D_H

#include <cstdint>

#include "kalvora/core/KVertex2D.h"

/// A 3 x 3 matrix of KFixed for row vectors (p' = p M), with the translation in the last row:
///
///     x' = x m0 + y m3 + m6        y' = x m1 + y m4 + m7        w = x m2 + y m5 + m8
///
/// Every product is (a b) >> 16 and shifted before it is summed. Three flag bytes let hot paths
/// skip work; a flag of 1 is a promise, a flag of 0 promises nothing. When `affine` is 1 the third
/// column is taken to be (0, 0, 1) and is mostly neither read nor written. "Pre" operations apply
/// before M (M = X M), the others after it (M = M X). Null arguments change nothing. A plain value:
/// no locks, any thread may own one.
struct KALVORA_API KSoftMatrix3D {
  KFixed m0, m1, m2, m3, m4, m5, m6, m7, m8;  ///< an entry, row by row
  std::uint8_t affine;                        ///< the third column is (0, 0, 1)
  std::uint8_t identity;                      ///< the matrix is the identity
  std::uint8_t linearIdentity;                ///< the matrix at most translates
  std::int32_t kind;                          ///< always 4; copied along, never read

  /// The nine entries and the three flags, without the kind.
  struct Data {
    KFixed m[9];                                    ///< m0 to m8
    std::uint8_t affine, identity, linearIdentity;  ///< the flag
    bool operator==(const Data&) const = default;
  };

  /// The identity.
  KSoftMatrix3D();

  void Identity();  ///< becomes the identity
  /// All nine entries; the result is not affine.
  void Set(KFixed a, KFixed b, KFixed c, KFixed d, KFixed e, KFixed f, KFixed g, KFixed h,
           KFixed i);
  /// The affine part: m0 = a, m1 = b, m3 = c, m4 = d, m6 = tx, m7 = ty; m2, m5, m8 stay as they
  /// are.
  void Set(KFixed a, KFixed b, KFixed c, KFixed d, KFixed tx, KFixed ty);
  void Get(KFixed& a, KFixed& b, KFixed& c, KFixed& d, KFixed& e, KFixed& f, KFixed& g, KFixed& h,
           KFixed& i) const;
  Data GetMatrixData() const;

  /// M = B M: B applies first.
  KSoftMatrix3D& operator*=(const KSoftMatrix3D* b);
  /// M = M B: B applies after M.
  void Combine(const KSoftMatrix3D* b);
  void Translate(KVertex2D t);
  void PreTranslate(KVertex2D t);
  void Scale(KVertex2D s);
  /// Scales the linear columns; the translation too only when the matrix is not affine.
  void PreScale(KVertex2D s);
  /// Turns by `degrees`: (1, 0) goes to (cos, -sin). 90, 180 and 270 degrees are exact; 0 is not.
  void Rotate(KFixed degrees);
  void PreRotate(KFixed degrees);
  /// Adds tan(degrees.x) y to x and tan(degrees.y) x to y. Angles lie in [0, 360].
  void Skew(KVertex2D degrees);
  void PreSkew(KVertex2D degrees);
  KSoftMatrix3D& operator*=(KFixed s);
  KSoftMatrix3D& operator+=(const KSoftMatrix3D* b);
  KSoftMatrix3D& operator-=(const KSoftMatrix3D* b);
  /// Negates all nine entries in place.
  KSoftMatrix3D& operator-();
  KFixed Determinant() const;
  /// Inverts in place. A singular affine matrix gets a zero linear part; a projective one stays as
  /// it is.
  void Inverse();
  void operator~() { Inverse(); }
  /// True when axis-parallel edges stay axis-parallel (to 1/64).
  bool IsOrth() const;

  /// p M with the affine part, choosing by the flags.
  KVertex2D Map(KVertex2D p) const {
    if (identity) return p;
    if (linearIdentity) return {p.x + m6, p.y + m7};
    return MapAffine(p);
  }
  /// p M with the affine part, whatever the flags say.
  KVertex2D MapAffine(KVertex2D p) const {
    return {p.x * m0 + p.y * m3 + m6, p.x * m1 + p.y * m4 + m7};
  }
};

#endif
