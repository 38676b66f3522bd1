// KVertex2D and KVertex3D: points and vectors of KFixed coordinates.
#ifndef KALVORA_CORE_KVERTEX2D_H
#define KALVORA_CORE_KVERTEX2D_H

#include "kalvora/core/KFixed.h"

/// A point or a vector in the plane, y growing downward on the screen.
struct KALVORA_API KVertex2D {
  KFixed x;  ///< to the right
  KFixed y;  ///< downward

  static const KVertex2D Origin;  ///< (0, 0)

  constexpr KVertex2D operator+(KVertex2D b) const { return {x + b.x, y + b.y}; }  ///< wraps
  constexpr KVertex2D operator-(KVertex2D b) const { return {x - b.x, y - b.y}; }  ///< wraps
  constexpr KVertex2D operator-() const { return {-x, -y}; }                       ///< wraps
  constexpr bool operator==(const KVertex2D&) const = default;

  /// Length of the vector by ten CORDIC steps: within a few units of the true value, exact when y
  /// is 0.
  KFixed Norm() const;
};

inline constexpr KVertex2D KVertex2D::Origin = {KFixed::FromRaw(0), KFixed::FromRaw(0)};

/// A point or a vector in space, for KMatrix4D.
struct KVertex3D {
  KFixed x;  ///< to the right
  KFixed y;  ///< downward
  KFixed z;  ///< the third axis

  constexpr bool operator==(const KVertex3D&) const = default;
};

#endif
