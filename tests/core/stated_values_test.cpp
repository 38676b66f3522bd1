// Values that the arithmetic and the matrices are promised to give, in one table.
#include <bit>

#include <gtest/gtest.h>

#include "kalvora/core/KColor32.h"

#include "tests/core/matrices.h"

namespace {

// A decimal constant as KFixed, when it is a multiple of 1 / 65536.
constexpr KFixed F(double value) { return Raw(static_cast<std::int32_t>(value * 65536)); }
std::uint32_t Bits(float value) { return std::bit_cast<std::uint32_t>(value); }

TEST(StatedValues, Numbers) {
  KFixed r, g, b, a;
  KColor32(255, 128, 1, 0).GetNormalizedColor(r, g, b, a);
  const struct {
    const char* what;
    std::int64_t got, expected;
  } table[] = {
      {"NaN", KFixed::NaN.raw, INT32_MIN},
      {"float NaN", Bits(KFloat::NaN), 0x7FC00000},
      {"from 1.5", KFixed(1.5f).raw, 98304},
      {"from -0.75", KFixed(-0.75f).raw, -49152},
      {"from 1e-6", KFixed(1e-6f).raw, 0},
      {"from -0", KFixed(-0.0f).raw, 0},
      {"from 70000 wraps", KFixed(70000.0f).raw, (70000 - 65536) * 65536},
      {"from infinity", KFixed(std::bit_cast<float>(0x7F800000u)).raw, 0},
      {"from NaN", KFixed(KFloat::NaN).raw, 0},
      {"to -32768", Bits(static_cast<float>(KFixed::NaN)), Bits(-32768.0f)},
      {"to 0", Bits(static_cast<float>(zero)), 0},
      {"to 1.5", Bits(static_cast<float>(F(1.5))), Bits(1.5f)},
      {"1 / 3", (one / F(3)).raw, 21845},
      {"-1 / 3", (F(-1) / F(3)).raw, -21845},
      {"0 / 0", (zero / zero).raw, 0},
      {"below 2^-16", (Raw(1) / F(2)).raw, 0},
      {"2^-16", (Raw(1) / F(1)).raw, 1},
      {"Inverse 2", KFixed::Inverse(F(2)).raw, 32768},
      {"Inverse raw 0", KFixed::Inverse(zero).raw, 0},
      {"Inverse raw 1", KFixed::Inverse(Raw(1)).raw, 0},
      {"Inverse raw -1", KFixed::Inverse(Raw(-1)).raw, 0},
      {"Inverse raw 2", KFixed::Inverse(Raw(2)).raw, INT32_MIN},
      {"Inverse raw -2", KFixed::Inverse(Raw(-2)).raw, INT32_MIN},
      {"Inverse 255", KFixed::Inverse(F(255)).raw, 257},
      {"Inverse -32768", KFixed::Inverse(KFixed::NaN).raw, -2},
      {"MulDiv raw", KFixed::MulDiv(Raw(30000), Raw(30000), Raw(60000)).raw, 15000},
      {"MulDiv", KFixed::MulDiv(F(30000), F(15000), F(30000)).raw, F(15000).raw},
      {"MulDiv truncates", KFixed::MulDiv(Raw(-7), Raw(1), Raw(2)).raw, -3},
      {"DivMod(min, -1)", DivMod(INT32_MIN, -1).quotient, INT32_MIN},
      {"Sin 0", KFixed::Sin(zero).raw, 0},
      {"Sin 90", KFixed::Sin(F(90)).raw, 65543},
      {"Sin 180", KFixed::Sin(F(180)).raw, 0},
      {"Sin 270", KFixed::Sin(F(270)).raw, -65543},
      {"Cos 0", KFixed::Cos(zero).raw, 65543},
      {"Cos 90", KFixed::Cos(F(90)).raw, 0},
      {"Cos 180", KFixed::Cos(F(180)).raw, -65543},
      {"Cos 360", KFixed::Cos(F(360)).raw, 65543},
      {"ArcTan(0, 0)", KFixed::ArcTan(zero, zero).raw, 0},
      {"ArcTan(-1, 0)", KFixed::ArcTan(F(-1), zero).raw, F(180).raw},
      {"ArcTan(0, 1)", KFixed::ArcTan(zero, one).raw, 5898306},
      {"ArcTan(1, 1)", KFixed::ArcTan(one, one).raw, 2949292},
      {"ArcTan(1, -1)", KFixed::ArcTan(one, F(-1)).raw, 20644012},
      {"Norm(3, 4)", KVertex2D{F(3), F(4)}.Norm().raw, 327676},
      {"Norm(-2, 0)", KVertex2D{F(-2), zero}.Norm().raw, F(2).raw},
      {"Norm(1, 1)", KVertex2D{one, one}.Norm().raw, 92680},
      {"Sqrt 0", KFixed::Sqrt(zero).raw, 0},
      {"Sqrt 4", KFixed::Sqrt(F(4)).raw, 131072},
      {"Sqrt 1/4", KFixed::Sqrt(F(0.25)).raw, 32768},
      {"Sqrt 2", KFixed::Sqrt(F(2)).raw, 92681},
      {"Sqrt 2.5", KFixed::Sqrt(F(2.5)).raw, 103621},
      {"Pow2 0", KFixed::Pow2(zero).raw, 65455},
      {"Pow2 16 overflows", KFixed::Pow2(F(16)).raw, -81 * 65536},
      {"Pow2 17", KFixed::Pow2(F(17)).raw, 0},
      {"Pow2 -32", KFixed::Pow2(F(-32)).raw, 0},
      {"Pow2 -3", KFixed::Pow2(F(-3)).raw, 65455 >> 3},
      {"Log2 0", KFixed::Log2(zero).raw, 0},
      {"Log2 1", KFixed::Log2(one).raw, 43},
      {"Log2 1/2", KFixed::Log2(F(0.5)).raw, -65493},
      {"Log2 2", KFixed::Log2(F(2)).raw, -75603},
      {"Log2 3", KFixed::Log2(F(3)).raw, -75603},
      {"Log2 4", KFixed::Log2(F(4)).raw, 131117},
      {"premultiply 128", KColor32(200, 0, 0, 128).PreMultiply().Word(), 0x80640000},
      {"premultiply 129", KColor32(200, 0, 0, 129).PreMultiply().red, 200 * 130 >> 8},
      {"premultiply 255", KColor32(200, 7, 1, 255).PreMultiply().Word(), 0xFFC80701},
      {"weight 256", KColor32(255, 7, 1, 254).Weight(256).Word(), 0xFEFF0701},
      {"weight 128", KColor32(255, 7, 1, 254).Weight(128).Word(), 0x7F7F0300},
      {"normalised 255", r.raw, 65535},
      {"normalised 128", g.raw, 128 * 257},
      {"normalised 1", b.raw, 257},
      {"normalised 0", a.raw, 0},
  };
  for (const auto& row : table) EXPECT_EQ(row.got, row.expected) << row.what;
}

TEST(StatedValues, SineTable) {
  const struct {
    int row;
    std::array<std::int32_t, 4> expected;
  } table[] = {
      {0, {146362, 22, -3193, 8389605}},
      {35, {3193, 8102178, -146362, 13172636}},
      {36, {-3193, 8677033, -146362, 13172636}},
  };
  for (const auto& row : table) EXPECT_EQ(std::to_array(KFixed::KSinCos[row.row]), row.expected);
}

TEST(StatedValues, SoftMatrices) {
  using M = KSoftMatrix3D;
  const double inexact = 65543 / 65536.0;
  const struct {
    const char* what;
    int flags;           // affine, identity, linearIdentity
    void (*change)(M&);  // of the identity
    double a, b, c, d, tx, ty;
  } table[] = {
      {"fresh", 0x111, [](M&) {}, 1, 0, 0, 1, 0, 0},
      {"moved", 0x101, [](M& m) { m.Set(one, zero, zero, one, F(5), zero); }, 1, 0, 0, 1, 5, 0},
      {"the identity", 0x011,
       [](M& m) { m.Set(one, zero, zero, zero, one, zero, zero, zero, one); }, 1, 0, 0, 1, 0, 0},
      {"90 degrees", 0x100, [](M& m) { m.Rotate(F(90)); }, 0, -1, 1, 0, 0, 0},
      {"-90 degrees", 0x100, [](M& m) { m.Rotate(F(-90)); }, 0, 1, -1, 0, 0, 0},
      {"270 degrees", 0x100, [](M& m) { m.Rotate(F(270)); }, 0, 1, -1, 0, 0, 0},
      {"-540 degrees", 0x100, [](M& m) { m.Rotate(F(-540)); }, -1, 0, 0, -1, 0, 0},
      {"0 degrees", 0x100, [](M& m) { m.Rotate(zero); }, inexact, 0, 0, inexact, 0, 0},
      {"inverse", 0x100, [](M& m) { m.Set(F(2), zero, zero, F(4), F(6), F(8)), m.Inverse(); }, 0.5,
       0, 0, 0.25, -3, -2},
      {"singular", 0x100, [](M& m) { m.Set(one, one, one, one, F(3), F(4)), m.Inverse(); }, 0, 0, 0,
       0, 0, 0},
  };
  for (const auto& row : table) {
    M m;
    row.change(m);
    EXPECT_EQ(Entries(m), (Square<3>{F(row.a), F(row.b), zero, F(row.c), F(row.d), zero, F(row.tx),
                                     F(row.ty), one}))
        << row.what;
    EXPECT_EQ(Flags(m), row.flags) << row.what;
  }
}

TEST(StatedValues, OtherMatrices) {
  KMatrix2D inverse;
  inverse.Set(F(2), zero, one, F(4));
  inverse.Inverse();
  EXPECT_EQ(Entries(inverse), (Square<2>{F(0.5), zero, F(-0.125), F(0.25)}));

  using M = KMatrix4D;
  const struct {
    const char* what;
    void (*change)(M&);  // of the identity
    int at;
    std::int32_t expected;  // raw
  } table[] = {
      {"inverse of the identity", [](M& m) { m.Inverse(); }, 0, -2 << 16},
      {"inverse of the identity", [](M& m) { m.Inverse(); }, 10, -2 << 16},
      {"inverse of the identity", [](M& m) { m.Inverse(); }, 15, 1 << 16},
      {"RotateZ turns the other way", [](M& m) { m.RotateZ(F(90)); }, 1, 65536},
      {"RotateZ turns the other way", [](M& m) { m.RotateZ(F(90)); }, 4, -65536},
      {"270 degrees are exact", [](M& m) { m.RotateX(F(270)); }, 6, -65536},
      {"-90 degrees are not", [](M& m) { m.RotateX(F(-90)); }, 6, -65543},
      {"nor are 0", [](M& m) { m.PreRotateY(zero); }, 0, 65543},
  };
  for (const auto& row : table) {
    M m;
    row.change(m);
    EXPECT_EQ(m.e[row.at].raw, row.expected) << row.what;
  }
}

}  // namespace
