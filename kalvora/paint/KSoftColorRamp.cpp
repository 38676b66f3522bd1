// KSoftColorRamp: making ramps from points, matrices and stops.
#include "kalvora/paint/KSoftColorRamp.h"

#include <algorithm>
#include <cstdlib>

#include "kalvora/core/roots.h"

namespace {

constexpr unsigned kMostStops = 1u << 24;

KFixed Saturated(std::int64_t raw) {
  return KFixed::FromRaw(
      static_cast<std::int32_t>(std::clamp<std::int64_t>(raw, -INT32_MAX, INT32_MAX)));
}

/// v without its part across the direction n: n (v . n) / (n . n).
KVertex2D Along(KVertex2D v, KVertex2D n) {
  std::int64_t nx = n.x.raw, ny = n.y.raw;
  // 15 bits of n leave room for all products.
  while (kalvora::Abs(nx) >= 0x8000 || kalvora::Abs(ny) >= 0x8000) {
    nx >>= 1;
    ny >>= 1;
  }
  const std::int64_t norm = nx * nx + ny * ny;
  if (norm == 0) return KVertex2D::Origin;
  const std::int64_t dot = v.x.raw * nx + v.y.raw * ny;
  return {Saturated(nx * dot / norm), Saturated(ny * dot / norm)};
}

KVertex2D MapVector(const KSoftMatrix3D& m, KVertex2D v) {
  return {v.x * m.m0 + v.y * m.m3, v.x * m.m1 + v.y * m.m4};
}

}  // namespace

KSoftColorRamp::~KSoftColorRamp() { std::free(ownedStops_); }

bool KSoftColorRamp::SetLinear(KVertex2D start, KVertex2D end, const KColorStop* stops,
                               unsigned stopCount, KSpread mode) {
  if (!SetStops(stops, stopCount, kalvora::kOne, mode)) return false;
  const KVertex2D d = end - start;
  axis.Identity();
  axis.Set(d.x, d.y, -d.y, d.x, start.x, start.y);
  axis.identity = axis.linearIdentity = 0;
  return true;
}

bool KSoftColorRamp::SetLinear(KVertex2D start, KVertex2D end, const KSoftMatrix3D& m,
                               const KColorStop* stops, unsigned stopCount, KSpread mode) {
  const KVertex2D d = end - start;
  const KVertex2D from = m.Map(start);
  // Lines of equal colour stay lines of equal colour; the axis on the device is at right angles to
  // them.
  const KVertex2D across = MapVector(m, {-d.y, d.x});
  const KVertex2D along = Along(m.Map(end) - from, {-across.y, across.x});
  return SetLinear(from, from + along, stops, stopCount, mode);
}

bool KSoftColorRamp::SetRadial(KVertex2D centre, KFixed radius, const KColorStop* stops,
                               unsigned stopCount, KSpread mode) {
  // Distances are measured in pixels: more exact than in radii.
  if (!SetStops(stops, stopCount, radius, mode)) return false;
  axis.Identity();
  axis.Translate(centre);
  if (radius.raw <= 0) ShowLastOnly();
  return true;
}

bool KSoftColorRamp::SetRadial(KVertex2D centre, KFixed radius, const KSoftMatrix3D& m,
                               const KColorStop* stops, unsigned stopCount, KSpread mode) {
  // With A the linear part of m, and s = sqrt(|det A|), a pixel's offset is mapped back by s A^-1 =
  // adj A / s, so that the entries are about 1.0, and distances count in 1 / s.
  std::int64_t a = m.m0.raw, b = m.m1.raw, c = m.m3.raw, d = m.m4.raw;
  if (m.identity || m.linearIdentity) {
    a = d = kalvora::kOne.raw;
    b = c = 0;
  }
  int shift = 0;
  while (std::max({kalvora::Abs(a), kalvora::Abs(b), kalvora::Abs(c), kalvora::Abs(d)}) >=
         1 << 30) {
    a >>= 1, b >>= 1, c >>= 1, d >>= 1, ++shift;
  }
  const std::int64_t s = kalvora::Root(static_cast<std::uint64_t>(kalvora::Abs(a * d - b * c)));
  const KFixed scale = Saturated((radius.raw * s >> 16) << shift);
  if (!SetStops(stops, stopCount, scale, mode)) return false;
  const auto entry = [s](std::int64_t v) { return Saturated(s == 0 ? 0 : v * 0x10000 / s); };
  const KVertex2D at = m.Map(centre);
  axis.Identity();
  axis.Set(entry(d), entry(-b), entry(-c), entry(a), at.x, at.y);
  axis.identity = axis.linearIdentity = 0;
  if (scale.raw <= 0) ShowLastOnly();
  return true;
}

bool KSoftColorRamp::NeedRoom(unsigned stopCount) {
  if (stopCount <= ownedRoom_) return true;
  void* memory = std::malloc(stopCount * 2 * sizeof(std::uint32_t));
  if (!memory) return false;
  std::free(ownedStops_);
  ownedStops_ = static_cast<std::uint32_t*>(memory);
  ownedRoom_ = stopCount;
  return true;
}

bool KSoftColorRamp::SetStops(const KColorStop* stops, unsigned stopCount, KFixed scale,
                              KSpread mode) {
  if (!stops || stopCount == 0 || stopCount > kMostStops) return false;
  if (!NeedRoom(stopCount)) return false;
  std::uint32_t* memory = ownedStops_;
  auto* at = reinterpret_cast<std::int32_t*>(memory + stopCount);
  rampAlpha = 0;
  KFixed highest = KFixed::FromRaw(INT32_MIN);
  for (unsigned i = 0; i < stopCount; ++i) {
    highest = std::max(highest, stops[i].position);
    at[i] = (highest * scale).raw;
    memory[i] = stops[i].color.PreMultiply().Word();
    if (stops[i].color.alpha != 255) rampAlpha = 1;
  }
  colors = memory;
  positions = at;
  count = stopCount;
  spread = mode;
  return true;
}

void KSoftColorRamp::ShowLastOnly() {
  colors += count - 1;
  positions += count - 1;
  count = 1;
}
