// Lengths of evenly spaced vectors.
//
// The distance of a radial gradient is KVertex2D::Norm, whose rounding leaves the true length by up
// to 2^-18 of it: no other root gives the same colours. But its ten steps have no need of branches,
// so that a block of pixels takes them side by side, in whatever registers the compiler has for it.
#include "kalvora/paint/distances.h"

#include <algorithm>

namespace kalvora {
namespace {

constexpr int kLastStep = 9;
constexpr std::uint32_t kInverseGain = 39797;  // of the ten steps, 16.16

std::uint32_t Bits(std::int32_t v) { return static_cast<std::uint32_t>(v); }

/// v with its sign turned where `sign` is -1, kept where it is 0.
std::uint32_t Turned(std::uint32_t v, std::int32_t sign) { return (v ^ Bits(sign)) - Bits(sign); }

std::uint64_t SquaredLength(std::int64_t x, std::int64_t y) {
  return static_cast<std::uint64_t>(x * x) + static_cast<std::uint64_t>(y * y);
}

}  // namespace

void Distances(KVertex2D g, KVertex2D step, std::int32_t* out) {
  const auto at = [&](int i) {
    return KVertex2D{
        KFixed::FromRaw(static_cast<std::int32_t>(Bits(g.x.raw) + Bits(step.x.raw) * Bits(i))),
        KFixed::FromRaw(static_cast<std::int32_t>(Bits(g.y.raw) + Bits(step.y.raw) * Bits(i)))};
  };
  std::uint32_t x[kDistances];
  std::int32_t y[kDistances];
  bool special = false;  // vectors along an axis take another way through Norm
  for (int i = 0; i < kDistances; ++i) {
    const KVertex2D v = at(i);
    const std::int32_t left = v.x.raw >> 31;
    x[i] = Turned(Bits(v.x.raw), left) >> 2;
    y[i] = static_cast<std::int32_t>(Turned(Bits(v.y.raw), left)) >> 2;
    special |= (v.x.raw == 0) | (v.y.raw == 0);
  }
  for (int k = 0; k < kLastStep; ++k) {
    for (int i = 0; i < kDistances; ++i) {
      const std::int32_t sign = y[i] >> 31;
      const std::uint32_t dx = Turned(Bits(y[i] >> k), sign);
      const std::uint32_t dy = Turned(x[i] >> k, sign);
      x[i] += dx;
      y[i] = static_cast<std::int32_t>(Bits(y[i]) - dy);
    }
  }
  for (int i = 0; i < kDistances; ++i) {
    const std::uint32_t length = x[i] + Turned(Bits(y[i] >> kLastStep), y[i] >> 31);
    // length x kInverseGain >> 16 without a 64-bit product
    const std::uint32_t scaled =
        (length >> 16) * kInverseGain + ((length & 0xFFFF) * kInverseGain >> 16);
    out[i] = static_cast<std::int32_t>(scaled << 2);
  }
  if (!special) return;
  for (int i = 0; i < kDistances; ++i) {
    const KVertex2D v = at(i);
    if (v.x.raw == 0 || v.y.raw == 0) out[i] = v.Norm().raw;
  }
}

int PixelsBeyond(KVertex2D g, KVertex2D step, std::int32_t radius, int n) {
  constexpr std::int64_t kLimit = 1 << 30;  // below this nothing wraps and Norm is sound
  if (radius < 0 || radius >= kLimit) return 0;
  const std::int64_t sx = step.x.raw, sy = step.y.raw;
  const auto at = [&](int i) { return SquaredLength(g.x.raw + sx * i, g.y.raw + sy * i); };
  const auto sound = [&](std::int64_t first, std::int64_t by) {
    const std::int64_t end = first + by * (n - 1);
    return std::min(first, end) > -kLimit && std::max(first, end) < kLimit;
  };
  // More than Norm falls short of the true length.
  const std::int64_t margin = 64 + (radius >> 14);
  const std::uint64_t limit = static_cast<std::uint64_t>((radius + margin) * (radius + margin));
  if (!sound(g.x.raw, sx) || !sound(g.y.raw, sy) || at(0) < limit) return 0;

  // |g + i step|^2 falls up to the vertex of its parabola and rises from there on.
  const std::uint64_t curve = SquaredLength(sx, sy);
  const std::int64_t fall = -(g.x.raw * sx + g.y.raw * sy);
  if (curve == 0 || fall <= 0) return n;
  const auto lowest = static_cast<int>(std::min<std::uint64_t>(
      static_cast<std::uint64_t>(fall) / curve, static_cast<std::uint64_t>(n - 1)));
  const int low = lowest + 1 < n && at(lowest + 1) < at(lowest) ? lowest + 1 : lowest;
  if (at(low) >= limit) return n;
  int beyond = 0, inside = low;
  while (inside - beyond > 1) {
    const int middle = (beyond + inside) / 2;
    (at(middle) < limit ? inside : beyond) = middle;
  }
  return inside;
}

}  // namespace kalvora
