// From outlines in doubles to the library's paths in 16.16.
#ifndef EXAMPLES_SVG_FIXEDPATH_H
#define EXAMPLES_SVG_FIXEDPATH_H

#include "kalvora/geometry/KSoftPath.h"

#include "examples/svg/Outline.h"

namespace svg {

/// The nearest 16.16 number; values beyond its range are held to it.
KFixed ToFixed(double value);
inline KVertex2D ToFixed(Point p) { return {ToFixed(p.x), ToFixed(p.y)}; }

/// Appends the outline to the path.
void AppendTo(KSoftPath& path, const Outline& outline);

}  // namespace svg

#endif
