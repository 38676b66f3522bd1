// Fillers of whole blocks with a pixmap pattern that is neither turned nor mixed.
#ifndef KALVORA_PAINT_PATTERNS_PATTERNBLOCK_H
#define KALVORA_PAINT_PATTERNS_PATTERNBLOCK_H

#include "kalvora/raster/PaintJob.h"

namespace kalvora {

/// Sets the fillers of blocks for the pattern and the opacity in the style record: for copies, and
/// for nearest sampling whose rows run along the pixmap's.
void SelectPatternBlock(KStyleContext2D* style);

}  // namespace kalvora

#endif
