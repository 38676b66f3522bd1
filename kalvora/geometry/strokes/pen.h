// Pen: what one stroke needs to know of its line width and of the matrix that shows it.
#ifndef KALVORA_GEOMETRY_STROKES_PEN_H
#define KALVORA_GEOMETRY_STROKES_PEN_H

#include <cstdint>

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/geometry/direction.h"

namespace kalvora {

/// The largest factor by which the matrix's linear part stretches a length, 16.16; at least 1 unit.
std::int64_t Stretch(const KSoftMatrix3D& m);
/// The smallest one, given the largest.
std::int64_t Squeeze(const KSoftMatrix3D& m, std::int64_t stretch);

/// Whether the matrix keeps the point within the range of 16.16; beyond it, coordinates wrap.
bool IsInPlane(const KSoftMatrix3D& m, KVertex2D p);

/// The round pen of a stroke, and how finely curves must be cut for an outline that stays well
/// within a quarter of a device pixel by default.
struct Pen {
  /// `curves` is the tolerance of flattened curves in device pixels. Outlines stay within half of
  /// it from 0.5 up, where curves stay within three quarters; below, they are as near as curves.
  Pen(KFixed halfWidth, const KSoftMatrix3D& m, KFixed curves);

  /// More than the steps of half a circle.
  static constexpr int kMostSteps = 512;

  KFixed radius;
  /// The largest factor by which the matrix stretches a length, 16.16.
  std::int64_t stretch;
  /// Rotation by one step along a circle of this radius, 30 fraction bits.
  std::int32_t stepCos, stepSin;
  /// By how much the points of such a polygon stand outside the circle to enclose the circle's own
  /// area, as a part of the radius, 30 fraction bits.
  std::int32_t bulge;
  /// Tangent of the angle by which a curve may turn in one piece, 16.16.
  std::int32_t turn;
  /// How far a curve may leave its chord, in user units with 32 fraction bits.
  std::int64_t flatness;

  /// The offset of a line running in this direction: the normal (y, -x) at the pen's
  /// radius. It points to the left of the line as seen on the screen.
  KVertex2D Offset(KVertex2D direction) const {
    return {direction.y * radius, -direction.x * radius};
  }
};

}  // namespace kalvora

#endif
