// From SVG gradients to the library's ramps.
#ifndef EXAMPLES_SVG_RAMP_H
#define EXAMPLES_SVG_RAMP_H

#include "kalvora/paint/KSoftColorRamp.h"

#include "examples/svg/Gradient.h"

namespace svg {

/// Places the gradient on the picture. False when it cannot be drawn as a gradient: it has no
/// extent, or lies beyond the range of 16.16 coordinates.
bool SetRamp(KSoftColorRamp& ramp, const Gradient& gradient, const Affine& toPixels);

}  // namespace svg

#endif
