// The span fillers of a pixmap pattern.
#include "kalvora/paint/patterns/KPatternStrip.h"

#include <algorithm>
#include <array>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/composite.h"
#include "kalvora/support/KFlags.h"

namespace kalvora {
namespace {

template <KSampling S, KRepeatRule R, SampleAlpha SA>
struct SamplerOf;
template <KRepeatRule R, SampleAlpha SA>
struct SamplerOf<KSamplingNearest, R, SA> : std::type_identity<NearestSampler<R>> {};
template <KRepeatRule R, SampleAlpha SA>
struct SamplerOf<KSamplingBilinear, R, SA> : std::type_identity<BilinearSampler<R>> {};
template <KRepeatRule R, SampleAlpha SA>
struct SamplerOf<KSamplingBicubic, R, SA> : std::type_identity<BicubicSampler<R, SA>> {};
template <KRepeatRule R, SampleAlpha SA>
struct SamplerOf<KSamplingCopy, R, SA> : std::type_identity<CopySampler<R>> {};

/// How samples are weighed. Copies with alpha are scaled twice, everything else once.
template <bool AA, bool Opacity, bool Alpha, KSampling S>
constexpr Weight WeightFor() {
  if (!AA) return Opacity ? Weight::kOpacity : Weight::kFull;
  if (!Opacity) return Weight::kCoverage;
  return Alpha && S == KSamplingCopy ? Weight::kOpacityThenCoverage : Weight::kCoverageOpacity;
}

/// Reads the span, and puts it in the target by `loop`, or as it is where that is null.
template <KSampling S, KRepeatRule R, SampleAlpha SA>
void DrawSampled(const KStyleContext2D* style, PixelLoop loop) {
  typename SamplerOf<S, R, SA>::type sampler(style);
  int n = style->x1 - style->x0;
  std::uint32_t* to = style->row + style->x0;
  if (!loop) return sampler.Read(to, n);
  const std::int32_t* coverage = style->lineBuffer + style->x0;
  std::uint32_t block[kBlock];
  while (n > 0) {
    const int count = std::min(n, kBlock);
    sampler.Read(block, count);
    loop(to, block, coverage, count, style->opacity);
    to += count;
    coverage += count;
    n -= count;
  }
}

template <bool AA, bool Opacity, bool Alpha, KSampling S, KRepeatRule R, SampleAlpha SA>
void DrawPattern(const KStyleContext2D* style) {
  if (style->x0 >= style->x1) return;
  constexpr int kIndex = static_cast<int>(WeightFor<AA, Opacity, Alpha, S>());
  const PixelLoops& loops = style->loops->pixels;
  DrawSampled<S, R, SA>(style, !AA && !Opacity && !Alpha ? nullptr
                               : Alpha                   ? loops.over[kIndex]
                                                         : loops.lerp[kIndex]);
}

// The table of one layout: samplings, edge rules, and then opacity and alpha as in an index of two
// bits.
constexpr std::array kSamplings = {KSamplingNearest, KSamplingBilinear, KSamplingBicubic,
                                   KSamplingCopy};
constexpr std::size_t kRules = 2;
constexpr std::size_t kVariants = 4;
using PatternTable = std::array<FillerPair, kSamplings.size() * kRules * kVariants>;

template <typename F, bool AA, std::size_t I>
constexpr KFiller FillerAt() {
  constexpr KSampling s = kSamplings[I / (kRules * kVariants)];
  constexpr KRepeatRule r = I / kVariants % kRules ? KRepeatTile : KRepeatClamp;
  using Strip = KPatternStrip<F, AA, (I & 2) != 0, (I & 1) != 0, s, r>;
  if constexpr (s == KSamplingCopy) {
    return Strip::DrawCopy;
  } else {
    return Strip::Draw;
  }
}

template <typename F, std::size_t... I>
constexpr PatternTable MakeTable(std::index_sequence<I...>) {
  static_assert(sizeof...(I) == PatternTable{}.size());
  return {{{FillerAt<F, false, I>(), FillerAt<F, true, I>()}...}};
}

template <typename F>
constexpr PatternTable kTable = MakeTable<F>(std::make_index_sequence<PatternTable{}.size()>());

// Each entry is a function of its own name, so that none can be missing.
static_assert(2 * (kTable<KColor_0888_PM>.size() + kTable<KColor_8888_PM>.size()) == 128);

}  // namespace

template <bool AA, bool Opacity, bool Alpha, KSampling S, KRepeatRule R, SampleAlpha SA>
void PatternSpan<AA, Opacity, Alpha, S, R, SA>::Draw(const KStyleContext2D* style) {
  DrawPattern<AA, Opacity, Alpha, S, R, SA>(style);
}

template <bool AA, bool Opacity, bool Alpha, KRepeatRule R, SampleAlpha SA>
void PatternSpan<AA, Opacity, Alpha, KSamplingCopy, R, SA>::DrawCopy(const KStyleContext2D* style) {
  DrawPattern<AA, Opacity, Alpha, KSamplingCopy, R, SA>(style);
}

template <typename F>
FillerPair SelectPatternFillers(const KStyleContext2D* style, KSampling s) {
  const auto sampling = std::find(kSamplings.begin(), kSamplings.end(), s) - kSamplings.begin();
  const std::size_t tile = style->source->repeatRule ? 1 : 0;
  const bool plain = Flags.IgnoreAlpha;
  const std::size_t opacity = !plain && style->opacity != 256 ? 2 : 0;
  const std::size_t alpha = !plain && style->source->hasAlpha ? 1 : 0;
  return kTable<F>[(static_cast<std::size_t>(sampling) * kRules + tile) * kVariants + opacity +
                   alpha];
}

template FillerPair SelectPatternFillers<KColor_0888_PM>(const KStyleContext2D*, KSampling);
template FillerPair SelectPatternFillers<KColor_8888_PM>(const KStyleContext2D*, KSampling);

}  // namespace kalvora
