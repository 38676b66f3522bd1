// Axis-parallel rectangles: the path past polygon scan conversion.
#ifndef KALVORA_RASTER_RECTANGLE_H
#define KALVORA_RASTER_RECTANGLE_H

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/raster/polygon.h"

namespace kalvora {

/// What a rectangle needs beyond a polygon.
struct RectangleJob {
  RasterJob raster;
  const KSoftMatrix3D* transform;
  bool antiAlias;  ///< false: edges snap to whole pixels
  /// Fills the device rectangle with a pattern that is turned by 90, 180 or 270 degrees and not
  /// scaled.
  void (*turnedPattern)(const RasterJob& job, KVertex2D p, KVertex2D q, unsigned degrees);
};

/// Fills the user-space rectangle with opposite corners p and q: row by row when the transform
/// keeps its edges axis-parallel and no clip path is set, else as a polygon.
void RasterTRectangle(const RectangleJob& job, KVertex2D p, KVertex2D q);

/// The rectangle that a butt- or square-capped straight line of the given half width covers, when
/// it runs along an axis; false when it does not.
bool LineRectangle(KVertex2D from, KVertex2D to, KFixed halfWidth, bool squareStart, bool squareEnd,
                   KVertex2D& p, KVertex2D& q);

}  // namespace kalvora

#endif
