// Courses: the steps of a curve, as the solid and the dashed strokes take them.
#ifndef KALVORA_GEOMETRY_COURSE_H
#define KALVORA_GEOMETRY_COURSE_H

#include "kalvora/geometry/KIntercept.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/bezier.h"

namespace kalvora {

/// Turns to the direction of a curve's leg, which begins at the current point; inside a curve
/// (`smooth`) with a round join.
void Turn(KStroker& stroker, KIntercept* k, Span leg, bool smooth);
/// Follows a piece that turns so little that its sides are straight lines.
template <int ORDER>
void Glide(KStroker& stroker, KIntercept* k, const Bezier<ORDER>& piece);
/// Follows one leg of the control polygon of a piece that is too small, or turns too sharply, to be
/// followed otherwise.
void FollowLeg(KStroker& stroker, KIntercept* k, Span leg, KVertex2D end);

}  // namespace kalvora

#endif
