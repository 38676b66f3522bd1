// Curves into straight pieces, cut finely enough for a tolerance.
#ifndef KALVORA_GEOMETRY_CURVES_H
#define KALVORA_GEOMETRY_CURVES_H

#include <cstdint>

#include "kalvora/core/KVertex2D.h"

namespace kalvora {

/// Write the start of every straight piece and then the end point, `stride` entries apart, and
/// return the number of points, at most KStroker::kMaxCurvePoints. A piece is straight when its
/// deviation is below twice the tolerance.
int FlattenCubic(KVertex2D* out, const KVertex2D (&points)[4], int stride, KFixed tolerance);
int FlattenQuadratic(KVertex2D* out, const KVertex2D (&points)[3], int stride, KFixed tolerance);

/// Whether the deviation of a curve, which is how far the legs a and b from its ends to its control
/// points reach across its chord together, is below `bound`.
///
/// The measure is the one of the table: the chord's angle by ArcTan, its sine and cosine. IsFlat
/// decides the same by cross products, and asks the table only within a hair of the bound.
bool IsFlat(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound);
bool IsFlatByTable(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound);

}  // namespace kalvora

#endif
