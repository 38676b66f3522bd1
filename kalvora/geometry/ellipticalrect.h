// The outline of a rectangle with elliptical corners.
#ifndef KALVORA_GEOMETRY_ELLIPTICALRECT_H
#define KALVORA_GEOMETRY_ELLIPTICALRECT_H

#include <array>
#include <cstdint>

#include "kalvora/geometry/KSoftPath.h"

namespace kalvora {

/// Appends one closed subpath: four quarter arcs around the corner centres, joined by straight
/// lines. `circle` holds the unit circle as four cubic arcs of four (x, y) points, 16.16. Radii
/// beyond the half extents are held to them; signs of extents and radii do not matter. False when
/// memory runs out.
bool AddEllipticalRect(KSoftPath* path, KVertex2D centre, KVertex2D half, KVertex2D radii,
                       const std::array<std::int32_t, 32>& circle);

}  // namespace kalvora

#endif
