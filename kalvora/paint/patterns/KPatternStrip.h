// KPatternStrip: the span fillers of a pixmap pattern, 128 of them, and the bicubic sample.
#ifndef KALVORA_PAINT_PATTERNS_KPATTERNSTRIP_H
#define KALVORA_PAINT_PATTERNS_KPATTERNSTRIP_H

#include <type_traits>

#include "kalvora/core/KFormat.h"
#include "kalvora/core/KVertex2D.h"
#include "kalvora/paint/patterns/samplers.h"
#include "kalvora/raster/PaintJob.h"

class KSoftPixmap;

namespace kalvora {

/// What a bicubic sample's top byte is in the layout F. Opaque pixmaps need none in a target that
/// has none.
template <typename F, bool Alpha>
inline constexpr SampleAlpha kSampleAlpha =
    Alpha                               ? SampleAlpha::kBound
    : std::is_same_v<F, KColor_8888_PM> ? SampleAlpha::kPlain
                                        : SampleAlpha::kNone;

/// The fillers themselves. Only bicubic ones depend on the layout, through SA.
template <bool AA, bool Opacity, bool Alpha, KSampling S, KRepeatRule R, SampleAlpha SA>
struct PatternSpan {
  static void Draw(const KStyleContext2D* style);
};
template <bool AA, bool Opacity, bool Alpha, KRepeatRule R, SampleAlpha SA>
struct PatternSpan<AA, Opacity, Alpha, KSamplingCopy, R, SA> {
  static void DrawCopy(const KStyleContext2D* style);
};

/// The solid and the coverage filler of one draw.
struct FillerPair {
  KFiller solid;
  KFiller coverage;
};

/// The fillers of layout F for the pattern and the opacity in the style context, sampled by `s`,
/// which is one of the four samplings.
template <typename F>
FillerPair SelectPatternFillers(const KStyleContext2D* style, KSampling s);

}  // namespace kalvora

/// The pattern fillers of layout F. AA weighs each pixel by its coverage; Opacity says that the
/// paint's opacity is below 256, Alpha that the pixmap has alpha.
template <typename F, bool AA, bool Opacity, bool Alpha, KSampling S, KRepeatRule R>
struct KPatternStrip : kalvora::PatternSpan<AA, Opacity, Alpha, S, R,
                                            S == KSamplingBicubic ? kalvora::kSampleAlpha<F, Alpha>
                                                                  : kalvora::SampleAlpha::kNone> {};

/// Bicubic sampling for a pattern filler.
template <typename F, bool AA, bool Opacity, bool Alpha, KRepeatRule R>
struct KPatternSampling {
  /// The pixmap at `position`, whole numbers meaning the centres of pixels; 0 when it has no 32-bit
  /// pixels.
  static std::uint32_t BicubicSample(const KSoftPixmap* pixmap, KVertex2D& position) {
    const kalvora::PatternPixels source(*pixmap);
    if (source.width == 0) return 0;
    return kalvora::SampleBicubic<R>(source, position.x.raw, position.y.raw,
                                     kalvora::kSampleAlpha<F, Alpha>);
  }
};

#endif
