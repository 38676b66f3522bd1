// The table of a width. Included once by the file of each width, which sets KALVORA_WIDTH, its
// namespace, and KALVORA_LANES, the pixels of a vector.
#ifndef KALVORA_PAINT_LOOPS_TABLE_H
#define KALVORA_PAINT_LOOPS_TABLE_H

#include "kalvora/paint/loops/color.h"
#include "kalvora/paint/loops/differences.h"
#include "kalvora/paint/loops/gradient.h"
#include "kalvora/paint/loops/loops.h"
#include "kalvora/paint/loops/pixels.h"
#include "kalvora/paint/loops/radial.h"
#include "kalvora/paint/loops/steps.h"
#include "kalvora/paint/loops/straight.h"
#include "kalvora/paint/loops/stretch.h"
#include "kalvora/paint/loops/turn.h"

#define KALVORA_NAME(word) #word
#define KALVORA_NAME_OF(macro) KALVORA_NAME(macro)

namespace kalvora::KALVORA_WIDTH {

extern const Loops kLoops;
constinit const Loops kLoops = {
    .name = KALVORA_NAME_OF(KALVORA_WIDTH),
    .color = {.fill = Fill,
              .over = OverColor,
              .edged = Edged,
              .cover = Cover,
              .lerp = LerpColor,
              .coverMasked = CoverMasked,
              .lerpMasked = LerpMasked,
              .differences = MixDifferences,
              .steps = kMixSteps,
              .straight = kMixStraight},
    .pixels = {.over = {OverPixels<Weight::kFull>, OverPixels<Weight::kOpacity>,
                        OverPixels<Weight::kCoverage>, OverPixels<Weight::kCoverageOpacity>,
                        OverPixels<Weight::kOpacityThenCoverage>},
               .lerp = {nullptr, LerpPixels<Weight::kOpacity>, LerpPixels<Weight::kCoverage>,
                        LerpPixels<Weight::kCoverageOpacity>, nullptr},
               .copyBlock = CopyBlock,
               .overBlock = OverBlock,
               .pick = Pick},
    .stretch = {.mixAcross = MixAcross,
                .mixDown = MixDown,
                .cubicAcross = CubicAcross,
                .cubicDown = CubicDown},
    .turn = {.place = Place, .mix = MixTurned, .cubic = CubicTurned},
    .gradient = {.series = SeriesRow, .radial = Radial},
};

}  // namespace kalvora::KALVORA_WIDTH

#endif
