// Joins: how the outline goes from the end of one stretch to the beginning of the next.
#include <algorithm>

#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/strokes/KStrokeBuilder.h"

using namespace kalvora;

namespace {

std::int64_t Dot(KVertex2D a, KVertex2D b) {
  return (std::int64_t{a.x.raw} * b.x.raw + std::int64_t{a.y.raw} * b.y.raw) >> 16;
}
/// Sine of the angle from a to b, which grows clockwise on the screen.
std::int64_t Cross(KVertex2D a, KVertex2D b) {
  return (std::int64_t{a.x.raw} * b.y.raw - std::int64_t{a.y.raw} * b.x.raw) >> 16;
}

/// The vector of this length in a direction.
KVertex2D Along(KVertex2D direction, KFixed length) {
  return {direction.x * length, direction.y * length};
}

}  // namespace

// tan(a / 2) = sin a / (1 + cos a) = (1 - cos a) / sin a, of which the one with the larger divisor
// is taken.
KFixed KIntercept::GetIntercept(KVertex2D from, KVertex2D to) const {
  // Sines between these bounds are taken for errors of a reversal of 180 degrees.
  static constexpr KFixed PosError = KFixed::FromRaw(16);
  static constexpr KFixed NegError = -PosError;
  const auto cosine = KFixed::FromRaw(static_cast<std::int32_t>(Dot(from, to)));
  const auto sine = KFixed::FromRaw(static_cast<std::int32_t>(Cross(from, to)));
  const KFixed magnitude = sine < kZero ? -sine : sine;
  if (cosine >= kZero) return KFixed::MulDiv(radius, magnitude, kOne + cosine);
  if (sine > NegError && sine < PosError) return KFixed::NaN;
  const std::int64_t product = std::int64_t{radius.raw} * (kOne - cosine).raw;
  if (product >= std::int64_t{magnitude.raw} << 31) return KFixed::NaN;
  return KFixed::MulDiv(radius, kOne - cosine, magnitude);
}

// The outer side takes the miter's tip, an arc, or the straight line of a bevel. The inner side
// takes the crossing of the two sides where both lines reach well beyond it, and the vertex itself
// where they do not. With `smooth` the join stands inside a curve and is round in any case.
void KStrokeBuilder::ComputeJoin(bool smooth) {
  const KVertex2D p = k_.point;
  const KVertex2D d = k_.before.direction;
  const KStretch& next = k_.next;
  const std::int64_t sine = Cross(d, next.direction);
  const bool clockwise = sine >= 0;
  const Side outer = clockwise ? Side::kLeft : Side::kRight;
  const Side inner = Opposite(outer);
  const KVertex2D a = clockwise ? k_.before.offset : -k_.before.offset;
  const KVertex2D b = clockwise ? next.offset : -next.offset;

  const KFixed beyond = smooth ? KFixed::NaN : k_.GetIntercept(d, next.direction);
  const KVertex2D tip = beyond == KFixed::NaN ? a : a + Along(d, beyond);
  const bool straight = k_.before.length > 0 && next.length > 0;

  bool mitered = false;
  if (style_.join == kMiterJoin && beyond != KFixed::NaN) {
    // The tip's distance from the vertex is to the half width as the miter's length to the width. A
    // limit that is just met is met.
    const std::int64_t h = pen_.radius.raw, t = beyond.raw;
    const std::int64_t bound = std::int64_t{style_.limitWidth.raw} + (style_.limitWidth.raw >> 12);
    mitered = style_.limitWidth > kZero && h * h + t * t <= bound * bound;
  }
  if (mitered && straight) {
    // The ends of both lines' sides lie on the lines through the tip.
    out_.Add(outer, p + tip);
  } else {
    if (k_.pending) out_.Add(outer, p + a);
    if (mitered) {
      out_.Add(outer, p + tip);
    } else if (smooth || style_.join == kRoundJoin) {
      GetArcPts(outer, a, b, clockwise);
    }
    out_.Add(outer, p + b);
  }

  // How far the two lines' pieces overlap along each of them.
  const std::int64_t reach =
      std::max<std::int64_t>(beyond.raw, std::int64_t{pen_.radius.raw} * Abs(sine) >> 16);
  inner_ = inner;
  crossed_ =
      straight && beyond != KFixed::NaN && 2 * reach <= std::min(k_.before.length, next.length);
  if (crossed_) {
    out_.Add(inner, p - tip);
  } else {
    if (k_.pending) out_.Add(inner, p - a);
    out_.Add(inner, p);
    out_.Add(inner, p - b);
  }
  k_.pending = false;
}
