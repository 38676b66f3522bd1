// KLinearStrip: the span fillers of a linear gradient.
#ifndef KALVORA_PAINT_GRADIENTS_KLINEARSTRIP_H
#define KALVORA_PAINT_GRADIENTS_KLINEARSTRIP_H

#include "kalvora/raster/PaintJob.h"

namespace kalvora {

/// The fillers themselves, the same for both pixel layouts. AA weighs each pixel by its coverage;
/// Blend says that some colour is not opaque. With coverage the colours are composited whatever
/// Blend says.
template <bool AA, bool Blend>
struct LinearSpan {
  static void Draw(const KStyleContext2D* style);
};

/// Prepares the paint words of `style` for a draw. False when there is nothing to draw.
bool PrepareLinear(KStyleContext2D* style);

}  // namespace kalvora

/// The linear gradient fillers of layout F.
template <typename F, bool AA, bool Blend>
struct KLinearStrip : kalvora::LinearSpan<AA, Blend> {};

#endif
