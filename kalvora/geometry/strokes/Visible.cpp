// Visible: sides of points, and lines clipped to the rectangle.
#include "kalvora/geometry/strokes/Visible.h"

#include <algorithm>

namespace kalvora {
namespace {

constexpr std::int64_t Pixels(std::int64_t n) { return n * kOne.raw; }

/// What reaches farther than this beyond the plane may wrap around, and show elsewhere.
constexpr std::int64_t kFarthestReach = Pixels(8192);

/// The part of 0..1, 30 fraction bits, over which a + t d lies in least..most.
struct Part01 {
  std::int64_t begin = 0, end = Unit::kOne;

  void Clip(std::int64_t a, std::int64_t d, std::int64_t least, std::int64_t most) {
    if (d < 0) {
      a = -a;
      d = -d;
      std::swap(least, most);
      least = -least;
      most = -most;
    }
    const std::int64_t in = least - a, out = most - a;
    if (out < 0 || in > d) {
      end = -1;
      return;
    }
    if (in > 0) begin = std::max(begin, Ratio(in, d));
    if (out < d) end = std::min(end, Ratio(out, d));
  }
};

}  // namespace

Visible::Visible(const KRect* clip, const KSoftMatrix3D& m, std::int64_t reach,
                 std::int64_t longestDash)
    : matrix_(m),
      reach_(reach),
      all_(!clip || reach >= kFarthestReach),
      short_(reach + longestDash < kFarthestReach) {
  if (all_) return;
  least_ = {Pixels(clip->left) - reach, Pixels(clip->top) - reach};
  most_ = {Pixels(clip->right) + reach, Pixels(clip->bottom) + reach};
}

// What KSoftMatrix3D::Map gives, without wrapping around.
Vector Visible::Map(KVertex2D p) const {
  const auto sum = [p](KFixed a, KFixed b, KFixed c) {
    return (std::int64_t{p.x.raw} * a.raw >> 16) + (std::int64_t{p.y.raw} * b.raw >> 16) + c.raw;
  };
  return {sum(matrix_.m0, matrix_.m3, matrix_.m6), sum(matrix_.m1, matrix_.m4, matrix_.m7)};
}

unsigned Visible::SidesOf(KVertex2D p) const {
  if (all_) return 0;
  const Vector v = Map(p);
  return (v.x < least_.x ? 1u : 0u) | (v.x > most_.x ? 2u : 0u) | (v.y < least_.y ? 4u : 0u) |
         (v.y > most_.y ? 8u : 0u);
}

bool Visible::IsInPlane(KVertex2D p) const { return Extent(Map(p)) + reach_ <= INT32_MAX; }

bool Visible::Hides(const Subpath& subpath) const {
  const auto sidesOf = [this](KVertex2D p) { return IsInPlane(p) ? SidesOf(p) : 0; };
  unsigned sides = all_ ? 0 : sidesOf(subpath.start);
  subpath.ForEach([&](unsigned order, const KVertex2D* points, unsigned pieces) {
    const std::uint64_t count = std::uint64_t{pieces} * order;
    for (std::uint64_t i = 0; sides != 0 && i < count; ++i) sides &= sidesOf(points[i]);
  });
  return sides != 0;
}

Seen Visible::Of(KVertex2D from, KVertex2D to, std::int64_t length) const {
  if ((SidesOf(from) | SidesOf(to)) == 0) return {};
  if (!short_ && !(IsInPlane(from) && IsInPlane(to))) return {};
  const Vector a = Map(from), d = Map(to) - a;
  Part01 part;
  part.Clip(a.x, d.x, least_.x, most_.x);
  part.Clip(a.y, d.y, least_.y, most_.y);
  if (part.begin > part.end) return {INT64_MAX, INT64_MAX};
  // Roundings are far smaller than the pixels that the reach has to spare.
  const std::int64_t slack = (length >> 28) + (1 << 20);
  return {Part(length, part.begin) - slack, Part(length, part.end) + slack};
}

}  // namespace kalvora
