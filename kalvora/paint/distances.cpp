// Lengths of evenly spaced vectors.
//
// The distance of a radial gradient is KVertex2D::Norm, whose rounding leaves the true length by up
// to 2^-18 of it: no other root gives the same colours. But its ten steps have no need of branches,
// so that pixels take them side by side.
#include "kalvora/paint/distances.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "kalvora/paint/lanes.h"

namespace kalvora {
namespace {

[[maybe_unused]] constexpr int kLastStep = 9;
[[maybe_unused]] constexpr std::uint32_t kInverseGain = 39797;  // of the ten steps, 16.16

std::uint32_t Bits(std::int32_t v) { return static_cast<std::uint32_t>(v); }

std::uint64_t SquaredLength(std::int64_t x, std::int64_t y) {
  return static_cast<std::uint64_t>(x * x) + static_cast<std::uint64_t>(y * y);
}

KVertex2D At(KVertex2D g, KVertex2D step, int i) {
  const auto after = [i](KFixed from, KFixed by) {
    return KFixed::FromRaw(static_cast<std::int32_t>(Bits(from.raw) + Bits(by.raw) * Bits(i)));
  };
  return {after(g.x, step.x), after(g.y, step.y)};
}

#if KALVORA_LANES

Words4 Unsigned(Ints4 v) { return reinterpret_cast<Words4>(v); }
Ints4 Signed(Words4 v) { return reinterpret_cast<Ints4>(v); }

/// v with its sign turned where `sign` is -1, kept where it is 0.
Words4 Turned(Words4 v, Ints4 sign) { return (v ^ Unsigned(sign)) - Unsigned(sign); }

/// Step K of Norm: turns (x, y) towards the x axis.
template <int K>
void Turn(Words4& x, Ints4& y) {
  const Ints4 sign = y >> 31;
  const Words4 dx = Turned(Unsigned(y >> K), sign);
  const Words4 dy = Turned(x >> K, sign);
  x += dx;
  y = Signed(Unsigned(y) - dy);
}

template <int... K>
void TurnAll(Words4& x, Ints4& y, std::integer_sequence<int, K...>) {
  (Turn<K>(x, y), ...);
}

/// KVertex2D::Norm of four vectors, none of which lies along an axis.
Ints4 Norms(Words4 gx, Words4 gy) {
  const Ints4 left = Signed(gx) >> 31;
  Words4 x = Turned(gx, left) >> 2;
  Ints4 y = Signed(Turned(gy, left)) >> 2;
  TurnAll(x, y, std::make_integer_sequence<int, kLastStep>());
  const Words4 length = x + Turned(Unsigned(y >> kLastStep), y >> 31);
  // length x kInverseGain >> 16 without a 64-bit product
  const Words4 scaled = (length >> 16) * kInverseGain + ((length & 0xFFFF) * kInverseGain >> 16);
  return Signed(scaled << 2);
}

#endif

}  // namespace

void Distances(KVertex2D g, KVertex2D step, std::int32_t* out) {
#if KALVORA_LANES
  Ints4 special{};  // vectors along an axis take another way through Norm
  for (int i = 0; i < kDistances; i += 4) {
    const KVertex2D v = At(g, step, i);
    const Words4 gx = Series(Bits(v.x.raw), Bits(step.x.raw));
    const Words4 gy = Series(Bits(v.y.raw), Bits(step.y.raw));
    const Ints4 norms = Norms(gx, gy);
    std::memcpy(out + i, &norms, sizeof norms);
    special |= (Signed(gx) == 0) | (Signed(gy) == 0);
  }
  if (!(special[0] | special[1] | special[2] | special[3])) return;
  for (int i = 0; i < kDistances; ++i) {
    const KVertex2D v = At(g, step, i);
    if (v.x.raw == 0 || v.y.raw == 0) out[i] = v.Norm().raw;
  }
#else
  for (int i = 0; i < kDistances; ++i) out[i] = At(g, step, i).Norm().raw;
#endif
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
