// The strip initialisers: they choose a paint's fillers, once per draw.
#include "kalvora/paint/KStrips.h"

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KColorStrip.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/gradients/KLinearStrip.h"
#include "kalvora/paint/gradients/KRadialStrip.h"
#include "kalvora/paint/patterns/KPatternStrip.h"
#include "kalvora/paint/patterns/patternblock.h"
#include "kalvora/paint/patterns/stretchblock.h"
#include "kalvora/paint/picking.h"
#include "kalvora/support/KFlags.h"

namespace {

void DrawNothing(const KStyleContext2D*) {}

/// Prepares the colour, weighted by the opacity, and tells whether it must be blended.
bool PrepareColor(KStyleContext2D* style) {
  const KPaint& paint = *style->paint;
  const std::int32_t opacity = style->PaintOpacity();
  style->color = opacity == 256 ? paint.color : paint.color.Weight(static_cast<unsigned>(opacity));
  style->blend = opacity != 256 || paint.translucent;
  return style->blend != 0;
}

bool IsSampling(KSampling quality) {
  return quality == KSamplingNearest || quality == KSamplingBilinear || quality == KSamplingBicubic;
}

}  // namespace

template <typename F>
void KStrips<F>::InitColor(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  const bool blend = PrepareColor(style);
  solid = blend ? KColorStrip<F, false, true>::Draw : KColorStrip<F, false, false>::Draw;
  coverage = blend ? KColorStrip<F, true, true>::Draw : KColorStrip<F, true, false>::Draw;
  style->block = blend ? kalvora::BlendColorBlock : kalvora::FillColorBlock;
  style->edged = kalvora::FillEdgedColorBlock;
  style->differences = kalvora::FillColorDifferences;
  style->steps = kalvora::ColorSteps(style);
  style->straight = kalvora::ColorStraight(style);
}

template <typename F>
void KStrips<F>::InitColorWithAaChecks(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  const bool blend = PrepareColor(style);
  solid = blend ? KColorStrip<F, false, true>::DrawWithAaChecks
                : KColorStrip<F, false, false>::DrawWithAaChecks;
  coverage = blend ? KColorStrip<F, true, true>::DrawWithAaChecks
                   : KColorStrip<F, true, false>::DrawWithAaChecks;
  style->block = kalvora::FillMaskedBlock;
}

template <typename F>
void KStrips<F>::InitLinear(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  solid = coverage = DrawNothing;
  if (!kalvora::PrepareLinear(style)) return;
  const bool blend = style->blend != 0;
  solid = blend ? KLinearStrip<F, false, true>::Draw : KLinearStrip<F, false, false>::Draw;
  coverage = blend ? KLinearStrip<F, true, true>::Draw : KLinearStrip<F, true, false>::Draw;
}

template <typename F>
void KStrips<F>::InitRadial(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  solid = coverage = DrawNothing;
  if (!kalvora::PrepareRadial(style)) return;
  const bool blend = style->blend != 0;
  solid = blend ? KRadialStrip<F, false, true>::Draw : KRadialStrip<F, false, false>::Draw;
  coverage = blend ? KRadialStrip<F, true, true>::Draw : KRadialStrip<F, true, false>::Draw;
}

template <typename F>
void KStrips<F>::InitPattern(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  const KSoftPixmap* pixmap = style->paint->pixmap;
  style->source = pixmap;
  style->opacity = style->PaintOpacity();
  if (!pixmap || kalvora::PatternPixels(*pixmap).width == 0) {
    solid = coverage = DrawNothing;
    return;
  }
  // A quality that is no sampling leaves the fillers as they were.
  const bool copy = pixmap->transform.linearIdentity;
  if (!copy && !IsSampling(pixmap->quality)) return;
  const kalvora::FillerPair pair =
      kalvora::SelectPatternFillers<F>(style, copy ? KSamplingCopy : pixmap->quality);
  solid = pair.solid;
  coverage = pair.coverage;
  kalvora::SelectPatternBlock(style);
  if (style->block) return;
  style->sampleAlpha = pixmap->hasAlpha && !Flags.IgnoreAlpha ? kalvora::kSampleAlpha<F, true>
                                                              : kalvora::kSampleAlpha<F, false>;
  style->block = style->edged = kalvora::SelectStretchBlock(style);
}

template <typename F>
void KStrips<F>::InitPicking(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  style->pickX = style->paint->pickPoint.x;
  style->pickY = style->paint->pickPoint.y;
  style->pickHit = style->paint->pickHit;
  solid = DrawPick<false>;
  coverage = DrawPick<true>;
}

template <typename F>
constinit const KStripTable KStrips<F>::VTable = {
    {InitColor, InitLinear, InitRadial, InitPattern, InitPicking}};

template struct KStrips<KColor_0888_PM>;
template struct KStrips<KColor_8888_PM>;
