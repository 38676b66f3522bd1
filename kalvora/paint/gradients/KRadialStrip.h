// KRadialStrip: the span fillers of a radial gradient.
#ifndef KALVORA_PAINT_GRADIENTS_KRADIALSTRIP_H
#define KALVORA_PAINT_GRADIENTS_KRADIALSTRIP_H

#include "kalvora/raster/PaintJob.h"

namespace kalvora {

/// The fillers themselves, the same for both pixel layouts. AA weighs each pixel by its coverage;
/// Blend says that colours must be composited. With coverage they are, whatever Blend says.
template <bool AA, bool Blend>
struct RadialSpan {
  static void Draw(const KStyleContext2D* style);
};

/// Prepares the paint words of `style` for a draw. False when there is nothing to draw.
bool PrepareRadial(KStyleContext2D* style);

}  // namespace kalvora

/// The radial gradient fillers of layout F.
template <typename F, bool AA, bool Blend>
struct KRadialStrip : kalvora::RadialSpan<AA, Blend> {};

#endif
