// Fillers of whole blocks with a pixmap pattern that is stretched along its rows, and mixed.
#ifndef KALVORA_PAINT_PATTERNS_STRETCHBLOCK_H
#define KALVORA_PAINT_PATTERNS_STRETCHBLOCK_H

#include "kalvora/raster/PaintJob.h"

namespace kalvora {

/// The filler of blocks, with edges or without, for the pattern and the opacity in the style
/// record, bilinear or bicubic, whose rows run along the pixmap's. Null for others, which rows
/// serve.
KBlockFiller SelectStretchBlock(const KStyleContext2D* style);

}  // namespace kalvora

#endif
