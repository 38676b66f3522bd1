// Roots, logarithms, angles and conversions against real arithmetic, and their exact values in one
// hash.
#include <cmath>

#include <gtest/gtest.h>

#include "tests/common/Hash.h"
#include "tests/core/matrices.h"

namespace {

constexpr int kCases = 100000;
const double kDegree = std::acos(-1.0) / 180;

// The low 32 bits of a whole number, as a signed one.
std::int32_t Wrap(double whole) {
  const double rest = std::fmod(whole, 4294967296.0);
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::int64_t>(rest)));
}

TEST(Functions, FloatConversionsTruncate) {
  Random random(1);
  for (int i = 0; i < kCases; ++i) {
    const float value = std::ldexp(static_cast<float>(random.Between(-0xFFFFFF, 0xFFFFFF)),
                                   random.Between(-60, 30));
    // The low bits of a number from 2^33 on have left the 32-bit significand: nothing remains.
    if (std::fabs(value) < 8589934592.0f) {
      ASSERT_EQ(KFixed(value).raw, Wrap(std::trunc(double{value} * 65536))) << value;
    }

    const KFixed fixed = AnyFixed(random);
    const float back = static_cast<float>(fixed);
    const double lost = std::fabs(Real(fixed)) - std::fabs(double{back});
    ASSERT_GE(lost, 0) << fixed.raw;
    ASSERT_LE(lost, std::fabs(Real(fixed)) * std::ldexp(1.0, -23)) << fixed.raw;
    ASSERT_EQ(std::signbit(back), fixed.raw < 0);
    if (std::abs(std::int64_t{fixed.raw}) < 1 << 24) {
      ASSERT_EQ(KFixed(back), fixed);
    }
  }
}

// In [0, 360] degrees and beyond, where angles are turned back.
TEST(Functions, SineAndCosineStayWithinTheirLines) {
  Random random(2);
  for (int i = 0; i < kCases; ++i) {
    const KFixed degrees = i % 2 ? AnyAngle(random) : AnyFixed(random);
    const double angle = Real(degrees) * kDegree;
    ASSERT_NEAR(Real(KFixed::Sin(degrees)), std::sin(angle), 10 / 65536.0) << degrees.raw;
    ASSERT_NEAR(Real(KFixed::Cos(degrees)), std::cos(angle), 10 / 65536.0) << degrees.raw;
  }
}

TEST(Functions, DirectionAndLength) {
  Random random(3);
  for (int i = 0; i < kCases; ++i) {
    const int range = 1 << random.Between(12, 29);
    const KVertex2D v = {Raw(random.Between(-range, range)), Raw(random.Between(-range, range))};
    const double length = std::hypot(Real(v.x), Real(v.y));
    if (length < 0.01) continue;
    // Two low bits are lost before ten (23) steps that each may lose one more.
    ASSERT_NEAR(Real(v.Norm()), length, length * 3e-5 + 60 / 65536.0);
    const double error = std::remainder(
        Real(KFixed::ArcTan(v.x, v.y)) - std::atan2(Real(v.y), Real(v.x)) / kDegree, 360);
    ASSERT_NEAR(error, 0, 0.003 + 0.03 / length) << v.x.raw << ' ' << v.y.raw;
    const KFixed angle = KFixed::ArcTan(AnyFixed(random), AnyFixed(random));
    ASSERT_GE(angle.raw, 0);
    ASSERT_LT(angle.raw, 360 * 65536);
  }
}

TEST(Functions, RootsAndLogarithms) {
  Random random(4);
  for (int i = 0; i < kCases; ++i) {
    const std::uint32_t x = random.Word() | 1;
    // The correction is the tangent's: it lies above by at most 1 / (8 R) for a root R of the raw
    // number.
    const double root = std::sqrt(static_cast<double>(x));
    const double got = KFixed::Sqrt(Raw(static_cast<std::int32_t>(x))).raw / 256.0;
    ASSERT_NEAR(got, root, 1 / (8 * std::floor(root)) + 8 / 256.0) << x;

    const std::int32_t y = random.Between(1, 0x1FFFF);
    ASSERT_NEAR(Real(KFixed::Log2(Raw(y))), std::log2(y / 65536.0), 0.0013) << y;
    const std::int32_t z = random.Between(-15 << 16, (15 << 16) - 1);
    const double power = std::exp2(z / 65536.0);
    ASSERT_NEAR(Real(KFixed::Pow2(Raw(z))), power, power * 0.004 + 1 / 65536.0) << z;
  }
}

// Every bit of every function, over numbers of all sizes: the same on every processor.
TEST(Functions, ExactValues) {
  Random random(5);
  Hash hash;
  for (int i = 0; i < kCases; ++i) {
    const KFixed a = AnyFixed(random);
    const KFixed b = AnyFixed(random);
    const KFixed c = AnyFixed(random);
    const auto [quotient, remainder] = DivMod(a.raw, b.raw);
    for (KFixed value :
         {a * b, a / b, KFixed::Inverse(a), KFixed::MulDiv(a, b, c), KFixed::Sqrt(a),
          KFixed::Log2(a), KFixed::Pow2(a), KFixed::Sin(a), KFixed::Cos(a), KFixed::ArcTan(a, b),
          KVertex2D{a, b}.Norm(), Raw(quotient), Raw(remainder), KFixed(static_cast<float>(a))}) {
      hash.Add(value.raw);
    }
  }
  EXPECT_EQ(hash.Value(), 17130613754054274139u);
}

}  // namespace
