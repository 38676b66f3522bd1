// Curves into straight pieces, cut finely enough for a tolerance.
#ifndef KALVORA_GEOMETRY_CURVES_H
#define KALVORA_GEOMETRY_CURVES_H

#include "kalvora/geometry/flatness.h"

namespace kalvora {

/// Flattens the curve of ORDER + 1 points, 3 or 4: writes the start of every straight piece and
/// then the end point, `stride` entries apart, and returns the number of points, at most
/// KStroker::kMaxCurvePoints.
template <int ORDER>
int FlattenCurve(const KVertex2D* curve, KVertex2D* out, int stride, const Flatness& flatness);

}  // namespace kalvora

#endif
