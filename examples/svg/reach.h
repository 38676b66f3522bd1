// Keeps outlines within the range of 16.16 coordinates.
#ifndef EXAMPLES_SVG_REACH_H
#define EXAMPLES_SVG_REACH_H

#include "examples/svg/Outline.h"

namespace svg {

/// The library draws exactly within +-8000 pixels.
constexpr double kReach = 8000;

/// True when no point lies beyond the reach.
bool WithinReach(const Outline& outline);

/// The same area, cut off at the reach: curves become short lines, and each subpath is clipped as a
/// polygon. For filling only: the cuts run along the border of the reach.
Outline CutToReach(const Outline& outline);

/// The same lines without what lies beyond the reach. For stroking: subpaths break into pieces
/// where they leave the reach.
Outline CutLinesToReach(const Outline& outline);

}  // namespace svg

#endif
