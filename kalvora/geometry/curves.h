// Curves into straight pieces, cut finely enough for a tolerance.
#ifndef KALVORA_GEOMETRY_CURVES_H
#define KALVORA_GEOMETRY_CURVES_H

#include "kalvora/geometry/flatness.h"

namespace kalvora {

/// Flattens the curve from `start` through the ORDER points `rest`, 2 or 3: writes the start of
/// every straight piece and then the end point, and returns the number of points, at most
/// KStroker::kMaxCurvePoints.
template <int ORDER>
int FlattenCurve(const KVertex2D& start, const KVertex2D* rest, KVertex2D* out,
                 const Flatness& flatness);

}  // namespace kalvora

#endif
