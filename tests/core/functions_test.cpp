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

TEST(Functions, StayNearTheRealOnes) {
  const struct {
    const char* name;
    KFixed (*function)(KFixed);
    double (*real)(double);
    std::int32_t low, high;
    double error, relativeError;
  } table[] = {
      {"Sin", KFixed::Sin, [](double x) { return std::sin(x * kDegree); }, INT32_MIN, INT32_MAX,
       10 / 65536.0, 0},
      {"Cos", KFixed::Cos, [](double x) { return std::cos(x * kDegree); }, INT32_MIN, INT32_MAX,
       10 / 65536.0, 0},
      // Two low bits are lost before the steps of these two, which may lose one more each.
      {"ArcTan", [](KFixed x) { return KFixed::ArcTan(x, one); },
       [](double x) { return std::atan2(1, x) / kDegree; }, -1 << 29, 1 << 29, 0.01, 0},
      {"Norm",
       [](KFixed x) {
         return KVertex2D{x, one}.Norm();
       },
       [](double x) { return std::hypot(x, 1); }, -1 << 29, 1 << 29, 60 / 65536.0, 3e-5},
      {"Sqrt", KFixed::Sqrt, [](double x) { return std::sqrt(x); }, 1, INT32_MAX, 0.0006, 0},
      {"Log2", KFixed::Log2, [](double x) { return std::log2(x); }, 1, 0x1FFFF, 0.0013, 0},
      {"Pow2", KFixed::Pow2, [](double x) { return std::exp2(x); }, -15 << 16, (15 << 16) - 1,
       1 / 65536.0, 0.004},
  };
  Random random(4);
  for (const auto& row : table) {
    for (int i = 0; i < kCases; ++i) {
      const KFixed x = Raw(random.Between(row.low, row.high));
      const double real = row.real(Real(x));
      ASSERT_NEAR(Real(row.function(x)), real, row.error + real * row.relativeError)
          << row.name << ' ' << x.raw;
    }
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
