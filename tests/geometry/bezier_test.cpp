// Curves of the stroker: what is decided in real numbers against what integers say.
#include <cmath>

#include <gtest/gtest.h>

#include "kalvora/geometry/strokes/heights.h"
#include "kalvora/geometry/strokes/subdivide.h"

#include "tests/common/Random.h"

namespace {

using namespace kalvora;

/// A curve whose legs are about 2^size units of its last fraction bit long and turn by `bend`.
template <int ORDER>
Bezier<ORDER> RandomCurve(Random& random, int size, double bend) {
  const auto real = [&random](double low, double high) {
    return low + (high - low) * random.Between(0, 1 << 30) / (1 << 30);
  };
  Bezier<ORDER> curve{};
  curve.p[0] = {random.Between(-1 << 20, 1 << 20), random.Between(-1 << 20, 1 << 20)};
  double angle = real(0, 7);
  for (int i = 0; i < ORDER; ++i, angle += real(-bend, bend)) {
    const double length = std::ldexp(random.Between(0, 7) == 0 ? real(0, 1) : real(0.5, 1), size);
    const bool level = random.Between(0, 15) == 0;
    curve.p[i + 1] = curve.p[i] + Vector{std::llround(length * std::cos(angle)),
                                         level ? 0 : std::llround(length * std::sin(angle))};
  }
  return curve;
}

template <int ORDER>
void Compare(std::uint64_t seed) {
  Random random(seed);
  for (int n = 0; n < 200000; ++n) {
    const int size = random.Between(6, 44);
    const auto curve = RandomCurve<ORDER>(random, size, random.Between(1, 16) / 8.0);
    KSoftMatrix3D matrix;
    const KFixed scale = KFixed::FromRaw(1 << random.Between(8, 20));
    matrix.Set(scale, kZero, kZero, scale, kZero, kZero);
    const Pen pen(KFixed::FromRaw(random.Between(1, 1 << random.Between(8, 24))), matrix, kHalf);
    ASSERT_EQ(CourseOf(curve, pen), ExactCourse(curve, pen)) << n;
    QuickVector to[ORDER];
    for (int i = 0; i < ORDER; ++i) to[i] = QuickVector::Of(curve.p[i + 1] - curve.p[0]);
    ASSERT_EQ(RoundedHeight(curve, to), static_cast<std::int32_t>(MeanHeight(curve) >> 16)) << n;
  }
}

}  // namespace

TEST(Bezier, QuickMeasuresAreTheExactOnes) {
  Compare<2>(1);
  Compare<3>(2);
}
