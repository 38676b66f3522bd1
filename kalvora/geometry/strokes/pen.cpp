// Pen: tolerances from the matrix.
#include "kalvora/geometry/strokes/pen.h"

#include <algorithm>
#include <bit>

namespace kalvora {
namespace {

// The outline's distance from the true one, in parts of the flatness tolerance: at a circle, at a
// curve, and half of that where either the curve or the pen's turn is judged alone.
constexpr std::int64_t kArcPart = 12;
constexpr std::int64_t kCurvePart = 5;
constexpr KFixed kFinest = KFixed::FromRaw(kOne.raw / 32);
constexpr KFixed kCoarsest = KFixed::FromInt(8);

// Half of a half width's range: products of offsets fit.
constexpr KFixed kWidest = KFixed::FromInt(16384);

// A step along the circle lies between 1/128 and 45 degrees' worth of 1 - cos(step / 2).
constexpr std::int64_t kLeastSagitta = Unit::kOne / 131072;
constexpr std::int64_t kMostSagitta = 81733000;  // 1 - cos(22.5 degrees)

// tan(10 degrees) and 1/1024.
constexpr std::int64_t kMostTurn = 11556;
constexpr std::int64_t kLeastTurn = 64;

// Drawing is exact within +-8000 device pixels, 16.16. A pen there with a radius of the square's
// diagonal shows no rim. One that is an ellipse and twice as long shows only the long sides: their
// normals are so near to the short axis that errors along the long one do not matter.
constexpr std::int64_t kDiagonal = std::int64_t{22628} << 16;
constexpr std::int64_t kUnseen = std::int64_t{256} << 16;

// Products with vectors of 28 bits fit.
constexpr std::int64_t kMostFlatness = std::int64_t{1} << 34;

/// Outlines leave their course by 3/10 of their tolerance, curves by 3/4 of theirs: where curves
/// are the finer ones, outlines only keep up with them.
std::int64_t ToleranceFor(KFixed curves) {
  const std::int64_t flatness = curves.raw;
  return std::clamp<std::int64_t>(
      std::max(flatness, std::min<std::int64_t>(flatness * 5 / 2, kHalf.raw)), kFinest.raw,
      kCoarsest.raw);
}

}  // namespace

// The larger singular value s of the rows (a, b) and (c, d):
//   2 s^2 = S + sqrt((a^2 + b^2 - c^2 - d^2)^2 + 4 (a c + b d)^2),  S = a^2 + b^2 + c^2 + d^2
std::int64_t Stretch(const KSoftMatrix3D& m) {
  if (m.linearIdentity) return kOne.raw;
  std::int64_t a = m.m0.raw, b = m.m1.raw, c = m.m3.raw, d = m.m4.raw;
  const std::int64_t extent = std::max(Extent({a, b}), Extent({c, d}));
  if (extent == 0) return 1;
  // Scaled to 14 bits, so that fourth powers fit.
  const int shift = static_cast<int>(std::bit_width(static_cast<std::uint64_t>(extent))) - 14;
  for (std::int64_t* entry : {&a, &b, &c, &d}) {
    *entry = shift > 0 ? *entry >> shift : *entry * (std::int64_t{1} << -shift);
  }
  const std::int64_t first = a * a + b * b, second = c * c + d * d;
  const std::int64_t difference = first - second, twice = 2 * (a * c + b * d);
  const std::int64_t root =
      Root(static_cast<std::uint64_t>(difference * difference + twice * twice));
  const auto square = static_cast<std::uint64_t>(first + second + root + 1) / 2;
  const std::int64_t stretch = std::int64_t{Root(square << 16)} + 256;  // 8 fraction bits
  return std::max<std::int64_t>(shift > 8 ? stretch << (shift - 8) : stretch >> (8 - shift), 1);
}

// The determinant over the larger factor. Halved entries, so that products fit; not too small.
std::int64_t Squeeze(const KSoftMatrix3D& m, std::int64_t stretch) {
  const auto product = [](KFixed a, KFixed b) { return std::int64_t{a.raw >> 1} * (b.raw >> 1); };
  return Abs(product(m.m0, m.m4) - product(m.m1, m.m3)) / std::max<std::int64_t>(stretch >> 2, 1) +
         4;
}

bool IsInPlane(const KSoftMatrix3D& m, KVertex2D p) {
  const auto fits = [p](KFixed a, KFixed b, KFixed c) {
    const std::int64_t v =
        (std::int64_t{p.x.raw} * a.raw >> 16) + (std::int64_t{p.y.raw} * b.raw >> 16) + c.raw;
    return v == static_cast<std::int32_t>(v);
  };
  return fits(m.m0, m.m3, m.m6) && fits(m.m1, m.m4, m.m7);
}

Pen::Pen(KFixed halfWidth, const KSoftMatrix3D& m, KFixed curves)
    : radius(std::min(halfWidth, kWidest)), stretch(Stretch(m)) {
  // The radius in device pixels.
  const auto radiusBy = [this](std::int64_t factor) {
    return std::max<std::int64_t>(std::int64_t{radius.raw} * factor >> 16, 1);
  };
  std::int64_t seen = stretch;  // by the sides of the pen that show
  std::int64_t reach = radiusBy(seen);
  std::int64_t tolerance = ToleranceFor(curves);
  if (reach > 2 * kDiagonal) {
    seen = std::min(stretch, 2 * Squeeze(m, stretch));
    reach = radiusBy(seen);
    if (reach > 2 * kDiagonal) reach = tolerance = kUnseen;
  }

  // A chord over a step s of a circle of radius r leaves it by e r, e = 1 - cos(s / 2).
  //   cos s = 2 (1 - e)^2 - 1        sin s = 2 (1 - e) sqrt(e (2 - e))
  const std::int64_t e =
      std::clamp((tolerance << Unit::kBits) / (kArcPart * reach), kLeastSagitta, kMostSagitta);
  const std::int64_t cosHalf = Unit::kOne - e;
  const std::int64_t sinHalf =
      Root(static_cast<std::uint64_t>(e * (2 * std::int64_t{Unit::kOne} - e)));
  stepCos = static_cast<std::int32_t>(Mul30(2 * cosHalf, cosHalf) - Unit::kOne);
  stepSin = static_cast<std::int32_t>(Mul30(2 * cosHalf, sinHalf));
  // sqrt(s / sin s) = 1 + s^2 / 12 + ..., and e = s^2 / 8 - ...
  bulge = static_cast<std::int32_t>(e * 2 / 3);

  // The same for a pen that turns by s while it moves: s = sqrt(8 tolerance / r).
  const auto squared = static_cast<std::uint64_t>((8 * tolerance << 32) / (2 * kCurvePart * reach));
  turn =
      static_cast<std::int32_t>(std::clamp<std::int64_t>(Root(squared), kLeastTurn, 2 * kMostTurn));

  flatness = tolerance == kUnseen
                 ? kMostFlatness
                 : std::min(3 * (tolerance << 31) / (kCurvePart * seen), kMostFlatness);
}

}  // namespace kalvora
