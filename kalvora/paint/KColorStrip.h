// KColorStrip: the span fillers of a solid colour.
#ifndef KALVORA_PAINT_KCOLORSTRIP_H
#define KALVORA_PAINT_KCOLORSTRIP_H

#include "kalvora/raster/PaintJob.h"

namespace kalvora {

/// The fillers themselves, which are the same for both pixel layouts: the top byte is a channel
/// like any other, and in opaque targets nobody reads it. AA weighs each pixel by its coverage;
/// Blend says that the colour is not opaque.
template <bool AA, bool Blend>
struct ColorSpan {
  /// Coverage from lineBuffer.
  static void Draw(const KStyleContext2D* style);
  /// Coverage from maskRow.
  static void DrawWithAaChecks(const KStyleContext2D* style);
};

// The fillers of blocks.

/// Of colours that are not blended, and of those that are.
void FillColorBlock(const KStyleContext2D* style, const KRowBlock& block);
void BlendColorBlock(const KStyleContext2D* style, const KRowBlock& block);

// These read the style record's `blend`.

void FillEdgedColorBlock(const KStyleContext2D* style, const KRowBlock& block);
void FillColorDifferences(const KStyleContext2D* style, const KRowDifferences& row);
/// Null where the inner loops have none of steps.
KStepFiller ColorSteps(const KStyleContext2D* style);
/// The same of straight edges, which they have for colours that are not blended alone.
KStraightFiller ColorStraight(const KStyleContext2D* style);
/// By the bytes of block.mask.
void FillMaskedBlock(const KStyleContext2D* style, const KRowBlock& block);

}  // namespace kalvora

/// The solid colour fillers of layout F.
template <typename F, bool AA, bool Blend>
struct KColorStrip : kalvora::ColorSpan<AA, Blend> {};

#endif
