// Values that the arithmetic and the matrices are promised to give, in one table.
#include <bit>

#include <gtest/gtest.h>

#include "kalvora/core/KColor32.h"
#include "kalvora/core/KFixed.h"
#include "kalvora/core/KMatrix2D.h"
#include "kalvora/core/KMatrix4D.h"
#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/core/KVertex2D.h"

namespace {

constexpr KFixed Raw(std::int32_t raw) { return KFixed::FromRaw(raw); }
// A decimal constant as KFixed, when it is a multiple of 1 / 65536.
constexpr KFixed F(double value) { return Raw(static_cast<std::int32_t>(value * 65536)); }
constexpr KFixed one = F(1);
constexpr KFixed zero = F(0);

// The matrix after `change`, starting from the identity.
template <typename Matrix, typename Change>
Matrix After(Change change) {
  Matrix m;
  change(m);
  return m;
}
template <typename Change>
KSoftMatrix3D M3(Change change) {
  return After<KSoftMatrix3D>(change);
}

std::int64_t Flags(const KSoftMatrix3D& m) {
  return m.affine << 8 | m.identity << 4 | m.linearIdentity;
}
std::uint32_t Bits(float value) { return std::bit_cast<std::uint32_t>(value); }

struct Stated {
  const char* what;
  std::int64_t got;
  std::int64_t expected;
};

void Check(std::initializer_list<Stated> table) {
  for (const Stated& row : table) EXPECT_EQ(row.got, row.expected) << row.what;
}

TEST(StatedValues, Numbers) {
  const auto& sc = KFixed::KSinCos;
  KFixed r, g, b, a;
  KColor32(255, 128, 1, 0).GetNormalizedColor(r, g, b, a);
  Check({
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
      {"DivMod(-7, 2)", DivMod(-7, 2).quotient, -3},
      {"DivMod(-7, 2)", DivMod(-7, 2).remainder, -1},
      {"DivMod(7, -2)", DivMod(7, -2).quotient, -3},
      {"DivMod(7, -2)", DivMod(7, -2).remainder, 1},
      {"DivMod(1, 5)", DivMod(1, 5).quotient, 0},
      {"DivMod(1, 5)", DivMod(1, 5).remainder, 1},
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
      {"row 0", sc[0][0], 146362},
      {"row 0", sc[0][1], 22},
      {"row 0", sc[0][2], -3193},
      {"row 0", sc[0][3], 8389605},
      {"row 35", sc[35][0], 3193},
      {"row 35", sc[35][1], 8102178},
      {"row 35", sc[35][2], -146362},
      {"row 35", sc[35][3], 13172636},
      {"row 36", sc[36][0], -3193},
      {"row 36", sc[36][1], 8677033},
      {"row 36", sc[36][2], -146362},
      {"row 36", sc[36][3], 13172636},
      {"premultiply 128", KColor32(200, 0, 0, 128).PreMultiply().Word(), 0x80640000},
      {"premultiply 129", KColor32(200, 0, 0, 129).PreMultiply().red, 200 * 130 >> 8},
      {"premultiply 255", KColor32(200, 7, 1, 255).PreMultiply().Word(), 0xFFC80701},
      {"weight 256", KColor32(255, 7, 1, 254).Weight(256).Word(), 0xFEFF0701},
      {"weight 128", KColor32(255, 7, 1, 254).Weight(128).Word(), 0x7F7F0300},
      {"normalised 255", r.raw, 65535},
      {"normalised 128", g.raw, 128 * 257},
      {"normalised 1", b.raw, 257},
      {"normalised 0", a.raw, 0},
  });
}

TEST(StatedValues, Matrices) {
  const auto unit = M3([](auto&) {});
  const auto still = M3([](auto& m) { m.Translate({zero, zero}); });
  const auto moved = M3([](auto& m) { m.Set(one, zero, zero, one, F(5), zero); });
  const auto back = M3([](auto& m) { m.Set(one, zero, zero, one, F(5), zero), m.Inverse(); });
  const auto full = M3([](auto& m) { m.Set(one, zero, zero, zero, one, zero, zero, zero, one); });
  const auto quarter = M3([](auto& m) { m.Rotate(F(90)); });
  const auto minusQuarter = M3([](auto& m) { m.Rotate(F(-90)); });
  const auto threeQuarters = M3([](auto& m) { m.Rotate(F(270)); });
  const auto half = M3([](auto& m) { m.Rotate(F(-540)); });
  const auto none = M3([](auto& m) { m.Rotate(zero); });
  const auto eighth = M3([](auto& m) { m.Rotate(F(45)); });
  const auto scaled = M3([](auto& m) { m.Set(F(2), zero, zero, F(4), F(6), F(8)), m.Inverse(); });
  const auto singular = M3([](auto& m) { m.Set(one, one, one, one, F(3), F(4)), m.Inverse(); });
  const auto prescaled = M3([](auto& m) {
    m.Set(one, F(2), F(3), F(4), F(5), F(6)), m.PreScale({F(2), F(3)});
  });
  const auto turnedByRaw1 =
      M3([](auto& m) { m.Set(Raw(1), zero, zero, Raw(1), zero, zero), m.Rotate(F(30)); });
  auto inverse2 = After<KMatrix2D>([](auto& m) { m.Set(F(2), zero, one, F(4)), m.Inverse(); });
  auto inverse4 = After<KMatrix4D>([](auto& m) { m.Inverse(); });
  auto z4 = After<KMatrix4D>([](auto& m) { m.RotateZ(F(90)); });
  Check({
      {"default flags", Flags(unit), 0x111},
      {"kind", unit.kind, 4},
      {"translated by 0", Flags(still), 0x101},
      {"set to the identity", Flags(full), 0x011},
      {"translation", Flags(moved), 0x101},
      {"inverse translation", back.m6.raw, F(-5).raw},
      {"Rotate 90 m0", quarter.m0.raw, 0},
      {"Rotate 90 m1", quarter.m1.raw, -65536},
      {"Rotate 90 m3", quarter.m3.raw, 65536},
      {"Rotate 90 m4", quarter.m4.raw, 0},
      {"Rotate -90", minusQuarter.GetMatrixData() == threeQuarters.GetMatrixData(), true},
      {"Rotate -540 is 180", half.m0.raw, -65536},
      {"Rotate 0 is inexact", none.m0.raw, 65543},
      {"Rotate 30 subtracts a floor", turnedByRaw1.m1.raw, 0},
      {"Inverse a", scaled.m0.raw, F(0.5).raw},
      {"Inverse d", scaled.m4.raw, F(0.25).raw},
      {"Inverse tx", scaled.m6.raw, F(-3).raw},
      {"Inverse ty", scaled.m7.raw, F(-2).raw},
      {"singular a", singular.m0.raw, 0},
      {"singular b", singular.m1.raw, 0},
      {"singular c", singular.m3.raw, 0},
      {"singular d", singular.m4.raw, 0},
      {"singular tx", singular.m6.raw, 0},
      {"orthogonal quarter", quarter.IsOrth(), true},
      {"orthogonal scale", scaled.IsOrth(), true},
      {"orthogonal eighth", eighth.IsOrth(), false},
      {"PreScale columns m0", prescaled.m0.raw, F(2).raw},
      {"PreScale columns m1", prescaled.m1.raw, F(6).raw},
      {"PreScale columns m3", prescaled.m3.raw, F(6).raw},
      {"PreScale keeps tx", prescaled.m6.raw, F(5).raw},
      {"PreScale keeps ty", prescaled.m7.raw, F(6).raw},
      {"2 x 2 inverse a", inverse2.m[0].raw, F(0.5).raw},
      {"2 x 2 inverse b", inverse2.m[1].raw, 0},
      {"2 x 2 inverse c", inverse2.m[3].raw, F(-0.125).raw},
      {"2 x 2 inverse d", inverse2.m[4].raw, F(0.25).raw},
      {"4 x 4 inverse e0", inverse4.e[0].raw, F(-2).raw},
      {"4 x 4 inverse e10", inverse4.e[10].raw, F(-2).raw},
      {"4 x 4 inverse e15", inverse4.e[15].raw, F(1).raw},
      {"RotateZ turns the other way", z4.e[1].raw, 65536},
      {"RotateZ turns the other way", z4.e[4].raw, -65536},
  });
}

}  // namespace
