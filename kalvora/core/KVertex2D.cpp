// KVertex2D: the length of a vector.
#include "kalvora/core/KVertex2D.h"

#include "kalvora/core/division.h"

KFixed KVertex2D::Norm() const {
  constexpr std::uint64_t kInverseGain = 39797;  // 65536 / 1.64676, the gain of ten CORDIC steps

  std::uint32_t u = kalvora::Magnitude(x.raw);
  if (y.raw == 0) return KFixed::FromRaw(static_cast<std::int32_t>(u));
  std::int32_t v = x.raw < 0 ? (-y).raw : y.raw;
  // Every x but 0 is scaled down, however small, as in KFixed::ArcTan.
  int shift = 0;
  if (u != 0 || kalvora::Magnitude(v) >= 1u << 30) {
    u >>= 2;
    v >>= 2;
    shift = 2;
  }
  // Turn the vector onto the x axis; the last step needs no new v.
  for (int i = 0; i < 10; ++i) {
    const auto du = static_cast<std::uint32_t>(v >> i);
    const auto dv = static_cast<std::int32_t>(u >> i);
    if (v >= 0) {
      u += du;
      v -= dv;
    } else {
      u -= du;
      v += dv;
    }
  }
  const auto length = static_cast<std::uint32_t>(u * kInverseGain >> 16);
  return KFixed::FromRaw(static_cast<std::int32_t>(length << shift));
}
