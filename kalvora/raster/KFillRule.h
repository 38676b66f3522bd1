// KFillRule: which winding numbers are inside.
#ifndef KALVORA_RASTER_KFILLRULE_H
#define KALVORA_RASTER_KFILLRULE_H

#include <cstdint>

/// A bit mask on the winding number: a point is inside when (winding & rule) != 0.
using KFillRule = std::int32_t;
inline constexpr KFillRule KFillNonZero = -1;
inline constexpr KFillRule KFillEvenOdd = 1;

#endif
