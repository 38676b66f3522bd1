// The span fillers of a linear gradient.
#include "kalvora/paint/KLinearStrip.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "kalvora/core/division.h"
#include "kalvora/core/roots.h"
#include "kalvora/paint/KPaint.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/composite.h"
#include "kalvora/paint/ramp.h"

namespace kalvora {
namespace {

/// Fraction bits of distances along the axis, in pixels: enough for the widest target.
constexpr int kBits = 30;
/// Repeated more often than this, a ramp shows nothing but its last colour.
constexpr std::int64_t kLeastPeriod = std::int64_t{1} << (kBits - 4);

/// Where position 1.0 of the ramp lies, seen from where it starts.
KVertex2D AxisVector(const KSoftMatrix3D& axis) {
  if (axis.identity || axis.linearIdentity) return {kOne, kZero};
  return {axis.m0, axis.m1};
}

/// The line and the scale of an axis, t being the distance along it.
struct Axis {
  RampLine line;
  RampScale scale;

  Axis(KVertex2D start, KVertex2D d) {
    // The larger component is scaled to 30 bits, so that every axis is measured equally well.
    const std::uint32_t extent = std::max(Magnitude(d.x.raw), Magnitude(d.y.raw));
    const int shift = std::countl_zero(extent) - 2;
    const auto scaled = [shift](KFixed v) {
      return shift < 0 ? std::int64_t{v.raw} >> -shift : std::int64_t{v.raw} << shift;
    };
    const std::int64_t x = scaled(d.x), y = scaled(d.y);
    const std::int64_t length = Length(x, y);
    scale = {length, 32 + shift - kBits};
    line.stepX = Part(x, length);
    line.stepY = Part(y, length);
    line.origin =
        -((std::int64_t{start.x.raw} * line.stepX + std::int64_t{start.y.raw} * line.stepY) >> 16);
  }

 private:
  static std::int64_t Length(std::int64_t x, std::int64_t y) {
    if (x == 0 || y == 0) return std::abs(x + y);  // as below, but at once
    return Root(static_cast<std::uint64_t>(x * x + y * y));
  }
  static std::int32_t Part(std::int64_t v, std::int64_t length) {
    if (v == 0 || length == 0) return 0;
    if (v == length || v == -length) return v < 0 ? -(1 << kBits) : 1 << kBits;
    return static_cast<std::int32_t>(v * (std::int64_t{1} << kBits) / length);
  }
};

}  // namespace

bool PrepareLinear(KStyleContext2D* style) {
  const KSoftColorRamp* source = style->paint->linearRamp;
  if (!source) return false;
  const Axis axis({source->axis.m6, source->axis.m7}, AxisVector(source->axis));
  const std::int32_t opacity = style->PaintOpacity();
  style->blend = opacity != 256 ? 1 : source->rampAlpha;
  PreparedRamp* ramp = PrepareRamp(style, source, opacity, axis.scale, kLeastPeriod);
  if (!ramp) return false;
  ramp->SetLine(axis.line);
  return true;
}

template <bool AA, bool Blend>
void LinearSpan<AA, Blend>::Draw(const KStyleContext2D* style) {
  RampWalk walk(*static_cast<const PreparedRamp*>(style->table1), style->x0, style->y);
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
