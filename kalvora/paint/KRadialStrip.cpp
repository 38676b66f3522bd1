// The span fillers of a radial gradient.
#include "kalvora/paint/KRadialStrip.h"

#include <algorithm>

#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/composite.h"
#include "kalvora/paint/distances.h"
#include "kalvora/paint/ramp.h"

namespace kalvora {
namespace {

/// A walk along the row. g, the pixel's offset from the centre in the gradient's own space, grows
/// by a constant vector per pixel.
class RadialWalk {
 public:
  explicit RadialWalk(const KStyleContext2D* style) : ramp_(style) {
    const KSoftMatrix3D& m = style->inverse;
    const KVertex2D d{KFixed::FromInt(style->x0) - m.m6, KFixed::FromInt(style->y) - m.m7};
    g_ = {m.m0 * d.x + m.m3 * d.y, m.m1 * d.x + m.m4 * d.y};
    step_ = {m.m0, m.m1};
  }

  /// Steps over the next pixels, of n, that are known to lie beyond a padded ramp.
  int SkipBeyond(int n) {
    if (ramp_.Repeats()) return 0;
    const int run = PixelsBeyond(g_, step_, ramp_.Last(), n);
    Advance(run);
    return run;
  }
  std::uint32_t EndColor() const { return ramp_.LastColor(); }
  /// Writes the next n colours, at most kDistances. In the target itself an end colour of 0 leaves
  /// the pixel.
  template <bool InTarget>
  void Write(std::uint32_t* to, int n) {
    std::int32_t d[kDistances];
    Distances(g_, step_, d);
    for (int i = 0; i < n; ++i) to[i] = ColorAt(d[i], InTarget ? to[i] : 0);
    Advance(n);
  }

 private:
  std::uint32_t ColorAt(std::int32_t d, std::uint32_t under);
  void Advance(int n) {
    const auto after = [n](KFixed from, KFixed by) {
      return from + KFixed::FromRaw(static_cast<std::int32_t>(static_cast<std::uint32_t>(by.raw) *
                                                              static_cast<std::uint32_t>(n)));
    };
    g_ = {after(g_.x, step_.x), after(g_.y, step_.y)};
  }

  RampReader ramp_;
  KVertex2D g_;
  KVertex2D step_;
};

std::uint32_t RadialWalk::ColorAt(std::int32_t d, std::uint32_t under) {
  if (d <= ramp_.First() || d >= ramp_.Last()) {
    if (!ramp_.Repeats()) {
      const std::uint32_t end = d <= ramp_.First() ? ramp_.FirstColor() : ramp_.LastColor();
      return end == 0 ? under : end;
    }
    d = ramp_.Wrap(d);
    if (d <= ramp_.First()) return ramp_.FirstColor();
  }
  const StopPair& pair = ramp_.Seek(d);
  const KFixed k = (KFixed::FromRaw(d) - KFixed::FromRaw(pair.p0)) * pair.r;
  return PackChannels(pair.Channel(0, k), pair.Channel(1, k), pair.Channel(2, k),
                      pair.Channel(3, k));
}

}  // namespace

bool PrepareRadial(KStyleContext2D* style) {
  const KPaint& paint = *style->paint;
  const KSoftColorRamp* ramp = paint.radialRamp;
  if (!ramp) return false;
  const std::int32_t opacity = style->PaintOpacity();
  style->inverse = ramp->axis;
  // The paint's flag, where linear gradients ask the ramp: an old difference that pictures rely on.
  style->blend = opacity != 256 || paint.translucent;
  return PrepareRamp(style, ramp, opacity, kOne);
}

template <bool AA, bool Blend>
void RadialSpan<AA, Blend>::Draw(const KStyleContext2D* style) {
  RadialWalk walk(style);
  const std::int32_t* const coverage = style->lineBuffer;
  for (std::int32_t x = style->x0; x < style->x1;) {
    std::uint32_t* const to = style->row + x;
    const int left = style->x1 - x;
    const int beyond = walk.SkipBeyond(left);
    if (beyond > 0) {
      // A colour of 0 paints nothing there.
      if (walk.EndColor() != 0) {
        PutColor<AA, Blend>(to, AA ? coverage + x : nullptr, beyond, walk.EndColor());
      }
      x += beyond;
      continue;
    }
    const int n = std::min(left, kDistances);
    if constexpr (!AA && !Blend) {
      walk.Write<true>(to, n);
    } else {
      std::uint32_t block[kDistances];
      walk.Write<false>(block, n);
      OverPixels<AA ? Weight::kCoverage : Weight::kFull>(to, block, AA ? coverage + x : nullptr, n,
                                                         256);
    }
    x += n;
  }
}

template struct RadialSpan<false, false>;
template struct RadialSpan<false, true>;
template struct RadialSpan<true, false>;
template struct RadialSpan<true, true>;

}  // namespace kalvora
