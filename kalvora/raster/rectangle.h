// Axis-parallel rectangles: the path past polygon scan conversion.
#ifndef KALVORA_RASTER_RECTANGLE_H
#define KALVORA_RASTER_RECTANGLE_H

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/raster/PixelBox.h"
#include "kalvora/raster/polygon.h"

namespace kalvora {

/// What a kind of paint does with rectangles in its own way.
struct RectangleHooks {
  /// Fills the device rectangle, rounded to whole pixels; false where that is done as usual.
  bool (*fill)(const PaintJob& job, KVertex2D p, KVertex2D q);
  /// Debugging aid: draws a frame into the box that was painted.
  void (*outline)(const PaintJob& job, bool antiAliased, const PixelBox& box);
};

/// What a rectangle needs beyond a polygon.
struct RectangleJob : RasterJob {
  const KSoftMatrix3D* transform;
  bool antiAlias;               ///< false: edges snap to whole pixels
  const RectangleHooks* hooks;  ///< of the paint's kind, or null
};

/// Fills the user-space rectangle with opposite corners p and q: row by row when the transform
/// keeps its edges axis-parallel and no clip path is set, else as a polygon.
void RasterTRectangle(const RectangleJob& job, KVertex2D p, KVertex2D q);

/// Fills the box solidly. It lies within the target's rows, not necessarily within its columns:
/// the padding of rows may be filled too.
void FillBox(const PaintJob& job, const PixelBox& box);

/// The rectangle that a butt- or square-capped straight line of the given half width covers, when
/// it runs along an axis; false when it does not.
bool LineRectangle(KVertex2D from, KVertex2D to, KFixed halfWidth, bool squareStart, bool squareEnd,
                   KVertex2D& p, KVertex2D& q);

}  // namespace kalvora

#endif
