// Roots, logarithms, angles and conversions against real arithmetic, and their exact values in one
// hash.
#include <cmath>

#include <gtest/gtest.h>

#include "kalvora/core/KFixed.h"
#include "kalvora/core/KVertex2D.h"

#include "tests/common/Hash.h"
#include "tests/common/Random.h"

namespace {

constexpr int kCases = 100000;
const double kDegree = std::acos(-1.0) / 180;

constexpr KFixed Raw(std::int32_t raw) { return KFixed::FromRaw(raw); }
KFixed AnyFixed(Random& random) { return Raw(static_cast<std::int32_t>(random.Word())); }
double Real(KFixed v) { return v.raw / 65536.0; }

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

TEST(Functions, TablesFollowTheirRule) {
  // A line through the chord's ends, raised by half its largest error.
  const auto line = [](auto f, double a, double b) {
    const double slope = (f(b) - f(a)) / (b - a);
    double low = a, high = b;
    const auto above = [&](double x) { return f(x) - f(a) - slope * (x - a); };
    for (int i = 0; i < 100; ++i) {  // the error has one peak
      const double third = (high - low) / 3;
      if (above(low + third) < above(high - third)) {
        low += third;
      } else {
        high -= third;
      }
    }
    return std::pair(std::trunc(slope * 8388608),
                     std::trunc((f(a) - slope * a + above(low) / 2) * 8388608));
  };
  for (int i = 0; i <= 36; ++i) {
    const double a = 2.5 * i;
    const auto sine = line([](double x) { return std::sin(x * kDegree); }, a, a + 2.5);
    EXPECT_EQ(KFixed::KSinCos[i][0], sine.first) << i;
    EXPECT_EQ(KFixed::KSinCos[i][1], sine.second) << i;
    if (i == 36) break;  // the guard row's cosine is a copy
    const auto cosine = line([](double x) { return std::cos(x * kDegree); }, a, a + 2.5);
    EXPECT_EQ(KFixed::KSinCos[i][2], cosine.first) << i;
    EXPECT_EQ(KFixed::KSinCos[i][3], cosine.second) << i;
  }
  for (int i = 0; i < 23; ++i) {
    const double angle = std::atan(std::ldexp(1.0, -i)) / kDegree;
    EXPECT_EQ(KFixed::KATan[i], std::lround(angle * 65536)) << i;
  }
}

TEST(Functions, SineAndCosineStayWithinTheirLines) {
  for (std::int32_t raw = 0; raw <= 360 * 65536; raw += 97) {
    const double angle = raw / 65536.0 * kDegree;
    ASSERT_NEAR(Real(KFixed::Sin(Raw(raw))), std::sin(angle), 10 / 65536.0) << raw;
    ASSERT_NEAR(Real(KFixed::Cos(Raw(raw))), std::cos(angle), 10 / 65536.0) << raw;
  }
}

TEST(Functions, AnglesOutOfRangeAreTurnedBack) {
  Random random(2);
  for (int i = 0; i < kCases; ++i) {
    const KFixed any = AnyFixed(random);
    const double angle = Real(any) * kDegree;
    ASSERT_NEAR(Real(KFixed::Sin(any)), std::sin(angle), 10 / 65536.0) << any.raw;
    ASSERT_NEAR(Real(KFixed::Cos(any)), std::cos(angle), 10 / 65536.0) << any.raw;
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
  }
  for (int i = 0; i < kCases; ++i) {
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
