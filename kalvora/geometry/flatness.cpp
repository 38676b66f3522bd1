// Flatness: the deviation by the table, and by cross products.
#include "kalvora/geometry/flatness.h"

#include <algorithm>
#include <bit>

#include "kalvora/core/division.h"
#include "kalvora/core/roots.h"

namespace kalvora {

namespace {

// In 32-bit words, whose products one instruction forms.

constexpr std::uint64_t Reach(KVertex2D v) {
  return std::uint64_t{Magnitude(v.x.raw)} + Magnitude(v.y.raw);
}

/// |a x b|
constexpr std::uint64_t Area(KVertex2D a, KVertex2D b) {
  return static_cast<std::uint64_t>(
      Abs(std::int64_t{a.x.raw} * b.y.raw - std::int64_t{a.y.raw} * b.x.raw));
}

/// Bounds of a vector's length below 2^32.
struct Rough {
  std::uint32_t least, most;
};

/// The sides of a regular 16-gon: 2 % lie between the bounds.
Rough RoughLength(KVertex2D v) {
  const std::uint32_t x = Magnitude(v.x.raw), y = Magnitude(v.y.raw);
  const std::uint32_t longer = std::max(x, y), shorter = std::min(x, y);
  const auto side = [=](std::uint32_t a, std::uint32_t b) {
    return static_cast<std::uint32_t>((std::uint64_t{longer} * a + std::uint64_t{shorter} * b) >>
                                      16);
  };
  const std::uint32_t least = std::max({longer, side(60547, 25079), side(46340, 46340)});
  return {least, least + (least >> 6) + (least >> 8) + (least >> 10) + 4};
}

/// Measures distances from a chord along its normal (-sin, cos).
class Chord {
 public:
  explicit Chord(KVertex2D d) : point_(d == KVertex2D::Origin) {
    // Axis-parallel chords take exact values instead of the table's.
    if (d.y.raw == 0) {
      sin_ = kZero;
      cos_ = kOne;
    } else if (d.x.raw == 0) {
      sin_ = kOne;
      cos_ = kZero;
    } else {
      const KFixed angle = KFixed::ArcTan(d.x, d.y);
      sin_ = KFixed::Sin(angle);
      cos_ = KFixed::Cos(angle);
    }
  }

  /// Length of v across the chord. A chord of no length has no normal: the whole vector counts.
  std::int64_t Across(KVertex2D v) const {
    if (point_) return static_cast<std::int64_t>(Reach(v));
    return Abs(((std::int64_t{v.y.raw} * cos_.raw) >> 16) -
               ((std::int64_t{v.x.raw} * sin_.raw) >> 16));
  }

 private:
  KFixed sin_, cos_;
  bool point_;
};

}  // namespace

bool IsFlatByTable(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound) {
  const Chord measure(chord);
  return measure.Across(a) + measure.Across(b) < bound;
}

// |a x chord| / |chord| is how far a reaches across the chord. The table's measure differs from it
// by no more than
// - 1/4096 of the legs, for the sines (1/8400) and for the angle's 23 roundings to 1/65536 degree,
// - 176 / |chord| of the legs, for the angle's 23 steps in whole units of 4 raw ones,
// - 2 for rounding the products;
// all of this is multiplied by the chord's length here.
bool IsFlat(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound) {
  constexpr std::uint32_t kRoom = 1u << 30;
  const Rough length = RoughLength(chord);
  const std::uint64_t legs = Reach(a) + Reach(b);
  if (legs < kRoom && length.most < kRoom) {
    const std::uint64_t across = Area(a, chord) + Area(b, chord);
    const std::uint64_t hair = legs * ((length.most >> 12) + 176) + 4 * std::uint64_t{length.most};
    if (across + hair < std::uint64_t{bound} * length.least) return true;
    if (across >= std::uint64_t{bound} * length.most + hair) return false;
  }
  return IsFlatByTable(chord, a, b, bound);
}

}  // namespace kalvora
