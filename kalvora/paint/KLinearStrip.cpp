// The span fillers of a linear gradient.
#include "kalvora/paint/KLinearStrip.h"

#include <algorithm>

#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/composite.h"
#include "kalvora/paint/lanes.h"
#include "kalvora/paint/ramp.h"

namespace kalvora {
namespace {

/// Where position 1.0 of the ramp lies.
KVertex2D AxisEnd(const KSoftMatrix3D& axis) {
  if (axis.identity) return {kOne, kZero};
  if (axis.linearIdentity) return {axis.m6 + kOne, axis.m7};
  return {axis.m0 + axis.m6, axis.m1 + axis.m7};
}

/// How many of n pixels, the first of which lies in [low, high], stay there in steps of `step`.
int PixelsWithin(std::int32_t t, std::int32_t step, std::int32_t low, std::int32_t high, int n) {
  const std::int64_t end = t + std::int64_t{step} * (n - 1);
  if (end >= low && end <= high) return n;
  const std::int64_t room = step > 0 ? std::int64_t{high} - t : std::int64_t{t} - low;
  const std::int64_t size = step > 0 ? step : -std::int64_t{step};
  return static_cast<int>(static_cast<std::uint32_t>(room) / static_cast<std::uint32_t>(size)) + 1;
}

/// A walk along the row: a run of pixels of one colour, or between the same two stops, after the
/// other. t grows by the x of the unit axis per pixel; where it leaves 32 bits it wraps, as all
/// coordinates do.
class LinearWalk {
 public:
  explicit LinearWalk(const KStyleContext2D* style) : ramp_(style), step_(style->axisUnit.x.raw) {
    const KVertex2D p{KFixed::FromInt(style->x0), KFixed::FromInt(style->y)};
    const KVertex2D d = p - style->axisStart;
    t_ = (d.y * style->axisUnit.y + d.x * style->axisUnit.x).raw;
  }

  /// Starts the next run and returns its length, 1 to n.
  int Next(int n) {
    ended_ = false;
    if (ramp_.Repeats()) return NextRepeated(n);
    if (t_ > ramp_.First() && t_ < ramp_.Last()) return Slope(n);
    ended_ = true;
    if (t_ <= ramp_.First()) return Flat(ramp_.FirstColor(), INT32_MIN, ramp_.First(), n);
    return Flat(ramp_.LastColor(), ramp_.Last(), INT32_MAX, n);
  }
  /// The run has one colour.
  bool IsFlat() const { return flat_; }
  /// The run lies beyond an end of a padded ramp, where a colour of 0 paints nothing.
  bool IsEnd() const { return ended_; }
  std::uint32_t Color() const { return color_; }
  /// Writes the next n pixels of a run that is not flat.
  void Write(std::uint32_t* to, int n);

 private:
  int NextRepeated(int n) {
    if (t_ <= ramp_.First() || t_ >= ramp_.Last()) t_ = ramp_.Wrap(t_);
    if (t_ > ramp_.First()) return Slope(n);
    return Flat(ramp_.FirstColor(), 0, ramp_.First(), n);
  }
  int Flat(std::uint32_t color, std::int32_t low, std::int32_t high, int n) {
    flat_ = true;
    color_ = color;
    return Advance(low, high, n);
  }
  int Slope(int n);
  int Advance(std::int32_t low, std::int32_t high, int n) {
    const bool within = t_ >= low && t_ <= high;  // not so where positions descend
    const int run = within ? PixelsWithin(t_, step_, low, high, n) : 1;
    t_ = static_cast<std::int32_t>(static_cast<std::uint32_t>(t_) +
                                   static_cast<std::uint32_t>(step_) *
                                       static_cast<std::uint32_t>(run));
    return run;
  }

  RampReader ramp_;
  std::int32_t t_;
  std::int32_t step_;
  bool flat_ = false;
  bool ended_ = false;
  std::uint32_t color_ = 0;
  std::uint32_t value_[4];  // channels, signed 16.16
  std::uint32_t grow_[4];   // and what they grow by per pixel
};

/// The pixel of four channels, 16.16, each within 0..255.
template <typename V>
V PackInRange(V b, V g, V r, V a) {
  return (a & 0xFF0000) << 8 | (r & 0xFF0000) | (g >> 8 & 0xFF00) | b >> 16;
}

/// n pixels whose channels start at v and grow by `grow`, within 0..255 all the way.
void WriteInRange(std::uint32_t* to, int n, std::uint32_t (&v)[4], const std::uint32_t (&grow)[4]) {
  int i = 0;
#if KALVORA_LANES
  Words4 b = Series(v[0], grow[0]), g = Series(v[1], grow[1]);
  Words4 r = Series(v[2], grow[2]), a = Series(v[3], grow[3]);
  const Words4 db = All<Words4>(4 * grow[0]), dg = All<Words4>(4 * grow[1]);
  const Words4 dr = All<Words4>(4 * grow[2]), da = All<Words4>(4 * grow[3]);
  for (; i + 4 <= n; i += 4) {
    Store(to + i, PackInRange(b, g, r, a));
    b += db, g += dg, r += dr, a += da;
  }
  for (int c = 0; c < 4; ++c) v[c] += grow[c] * static_cast<std::uint32_t>(i);
#endif
  for (; i < n; ++i) {
    to[i] = PackInRange(v[0], v[1], v[2], v[3]);
    for (int c = 0; c < 4; ++c) v[c] += grow[c];
  }
}

/// The same, with channels held to 0..255.
void WriteHeld(std::uint32_t* to, int n, std::uint32_t (&v)[4], const std::uint32_t (&grow)[4]) {
  const auto whole = [&](int c) { return static_cast<std::int32_t>(v[c]); };
  for (int i = 0; i < n; ++i) {
    to[i] = PackChannels(whole(0), whole(1), whole(2), whole(3));
    for (int c = 0; c < 4; ++c) v[c] += grow[c];
  }
}

int LinearWalk::Slope(int n) {
  const StopPair& pair = ramp_.Seek(t_);
  const KFixed k = (KFixed::FromRaw(t_) - KFixed::FromRaw(pair.p0)) * pair.r;
  const KFixed dk = KFixed::FromRaw(step_) * pair.r;
  bool level = true;
  for (int c = 0; c < 4; ++c) {
    value_[c] = static_cast<std::uint32_t>(pair.Channel(c, k));
    grow_[c] = static_cast<std::uint32_t>(dk.raw) * static_cast<std::uint32_t>(pair.dc[c]);
    level = level && grow_[c] == 0;
  }
  flat_ = level;
  if (level) WriteHeld(&color_, 1, value_, grow_);
  return Advance(pair.p0 == INT32_MAX ? pair.p0 : pair.p0 + 1, std::min(pair.p1, ramp_.Last() - 1),
                 n);
}

void LinearWalk::Write(std::uint32_t* to, int n) {
  // Whether a channel leaves its range within the run shows at the ends.
  bool held = false;
  for (int c = 0; c < 4; ++c) {
    const auto first = static_cast<std::int32_t>(value_[c]);
    const std::int64_t last = first + std::int64_t{static_cast<std::int32_t>(grow_[c])} * (n - 1);
    held = held || std::min<std::int64_t>(first, last) < 0 ||
           std::max<std::int64_t>(first, last) >= 0x1000000;
  }
  (held ? WriteHeld : WriteInRange)(to, n, value_, grow_);
}

}  // namespace

bool PrepareLinear(KStyleContext2D* style) {
  const KPaint& paint = *style->paint;
  const KSoftColorRamp* ramp = paint.linearRamp;
  if (!ramp) return false;
  const std::int32_t opacity = style->PaintOpacity();
  const KVertex2D start{ramp->axis.m6, ramp->axis.m7};
  const KVertex2D d = AxisEnd(ramp->axis) - start;
  const KFixed length = d.Norm();
  const KFixed inverse = length.raw > 0 ? KFixed::Inverse(length) : kZero;
  style->axisStart = start;
  style->axisUnit = {d.x * inverse, d.y * inverse};
  style->blend = opacity != 256 ? 1 : ramp->rampAlpha;
  return PrepareRamp(style, ramp, opacity, length);
}

template <bool AA, bool Blend>
void LinearSpan<AA, Blend>::Draw(const KStyleContext2D* style) {
  LinearWalk walk(style);
  for (std::int32_t x = style->x0; x < style->x1;) {
    const int n = walk.Next(style->x1 - x);
    const std::int32_t* coverage = AA ? style->lineBuffer + x : nullptr;
    std::uint32_t* to = style->row + x;
    x += n;
    if (walk.IsFlat()) {
      if (walk.IsEnd() && walk.Color() == 0) continue;
      PutColor<AA, Blend>(to, coverage, n, walk.Color());
    } else if constexpr (!AA && !Blend) {
      walk.Write(to, n);
    } else {
      std::uint32_t block[kBlock];
      for (int done = 0; done < n; done += kBlock) {
        const int count = std::min(n - done, kBlock);
        walk.Write(block, count);
        OverPixels<AA ? Weight::kCoverage : Weight::kFull>(
            to + done, block, AA ? coverage + done : nullptr, count, 256);
      }
    }
  }
}

template struct LinearSpan<false, false>;
template struct LinearSpan<false, true>;
template struct LinearSpan<true, false>;
template struct LinearSpan<true, true>;

}  // namespace kalvora
