// KMatrix4D: the 4 x 4 transform of row vectors in space.
#ifndef KALVORA_CORE_KMATRIX4D_H
#define KALVORA_CORE_KMATRIX4D_H

#include "kalvora/core/KVertex2D.h"

/// A 4 x 4 matrix for row vectors (p' = p M), row by row, with the translation in e[12], e[13],
/// e[14]. For clients; the library itself calls KSoftMatrix3D only.
///
/// Products are shifted before they are summed and wrap around. "Pre" operations apply before M
/// (M = X M), the others after it (M = M X). Angles are degrees in [0, 360]; 90, 180 and 270 are
/// exact, 0 is not. Null arguments change nothing. A plain value without locks.
struct KALVORA_API KMatrix4D {
  KFixed e[16];  ///< row after row

  /// The identity.
  KMatrix4D();

  void Identity();  ///< becomes the identity

  /// M = B M: B applies first.
  KMatrix4D& operator*=(const KMatrix4D* b);
  /// M = M B: B applies after M.
  void Combine(const KMatrix4D* b);
  KMatrix4D& operator*=(KFixed s);
  KMatrix4D& operator+=(const KMatrix4D* b);
  KMatrix4D& operator-=(const KMatrix4D* b);
  /// Negates the entries in place.
  KMatrix4D& operator-();

  void Translate(KVertex3D t);     ///< moves afterwards
  void PreTranslate(KVertex3D t);  ///< moves before
  void Scale(KVertex3D s);         ///< by a factor for each axis, afterwards
  void PreScale(KVertex3D s);      ///< before
  /// Adds to each coordinate the tangent of its angle times the two other coordinates.
  void Skew(KVertex3D degrees);
  void PreSkew(KVertex3D degrees);
  /// Turns about an axis: y towards z for X, x towards -z for Y, x towards y for Z.
  void RotateX(KFixed degrees);
  void RotateY(KFixed degrees);
  void RotateZ(KFixed degrees);
  /// Turns the rows; the fourth column takes part of its values from the third (see the source).
  void PreRotateX(KFixed degrees);
  void PreRotateY(KFixed degrees);
  void PreRotateZ(KFixed degrees);

  KFixed Determinant() const;  ///< of all 4 x 4
  /// Replaces the upper-left 3 x 3 block by a whole multiple of its adjugate; the fourth row and
  /// column stay. Not an inverse: the multiple of the identity is -2.
  void Inverse();
};

#endif
