// Matrices: operations against plain products, the oddities they keep, and the flags of
// KSoftMatrix3D.
#include <gtest/gtest.h>

#include "tests/common/Hash.h"
#include "tests/core/matrices.h"

namespace {

constexpr int kCases = 2000;

template <typename Matrix>
class Matrices : public testing::Test {};
using Sizes = testing::Types<KMatrix2D, KSoftMatrix3D, KMatrix4D>;
TYPED_TEST_SUITE(Matrices, Sizes);

// Whether an entry is taken to be that of the identity: the third column of an affine matrix.
template <typename Matrix>
bool IsFixed(const Matrix& m, std::size_t i) {
  if constexpr (std::is_same_v<Matrix, KSoftMatrix3D>) return m.affine && i % 3 == 2;
  return false;
}

TYPED_TEST(Matrices, Products) {
  Random random(1);
  for (int i = 0; i < kCases; ++i) {
    const auto a = AnyMatrix<TypeParam>(random), b = AnyMatrix<TypeParam>(random);
    TypeParam product = a, combined = b, squared = a;
    product *= &b;
    combined.Combine(&a);
    squared *= &squared;
    // The receiver decides which entries of the argument count.
    auto factor = Entries(b);
    for (std::size_t k = 0; k < factor.size(); ++k) {
      if (IsFixed(a, k)) factor[k] = Entries(TypeParam())[k];
    }
    ASSERT_EQ(Entries(product), Multiply(kBefore, Entries(a), factor));
    ASSERT_EQ(Entries(combined), Entries(product));
    ASSERT_EQ(Entries(squared), Multiply(kBefore, Entries(a), Entries(a)));
  }
}

TYPED_TEST(Matrices, EntrywiseOperations) {
  Random random(2);
  const TypeParam* const none = nullptr;
  const KFixed factor = Raw(3 << 15);
  for (int i = 0; i < 100; ++i) {
    const auto a = AnyMatrix<TypeParam>(random), b = AnyMatrix<TypeParam>(random);
    TypeParam scaled = a, sum = a, difference = a, negative = a, same = a;
    scaled *= factor;
    sum += &b;
    difference -= &b;
    -negative;
    const auto x = Entries(a), y = Entries(b);
    for (std::size_t k = 0; k < x.size(); ++k) {
      ASSERT_EQ(Entries(scaled)[k], IsFixed(a, k) ? x[k] : x[k] * factor) << k;
      ASSERT_EQ(Entries(sum)[k], x[k] + y[k]) << k;
      ASSERT_EQ(Entries(difference)[k], x[k] - y[k]) << k;
      ASSERT_EQ(Entries(negative)[k], -x[k]) << k;
    }
    same *= none;
    same += none;
    same -= none;
    same.Combine(none);
    ASSERT_EQ(Entries(same), x);
  }
}

TEST(SoftMatrix, OperationsAreProductsWithElementaryMatrices) {
  using Matrix = KSoftMatrix3D;
  enum Oddity { kNone, kKeepsTranslation, kSeesNewM2 };
  constexpr auto translation = [](KFixed* e, KVertex2D v) { e[6] = v.x, e[7] = v.y; };
  constexpr auto scale = [](KFixed* e, KVertex2D v) { e[0] = v.x, e[4] = v.y; };
  constexpr auto skew = [](KFixed* e, KVertex2D v) { e[1] = Tan(v.y), e[3] = Tan(v.x); };
  constexpr auto rotation = [](KFixed* e, KVertex2D v) {
    e[0] = e[4] = KFixed::Cos(v.x);
    e[3] = KFixed::Sin(v.x);
    e[1] = -e[3];
  };
  constexpr int kLinear = 0x100, kTranslation = 0x101;  // flags that an identity is left with
  const struct {
    const char* name;
    void (*apply)(Matrix&, KVertex2D);
    void (*fill)(KFixed* e, KVertex2D);  // makes the identity the elementary matrix
    Side side;
    int flags;
    std::size_t negated = 9;  // index of an entry -s
    Oddity oddity = kNone;
  } table[] = {
      {"Translate", Apply<&Matrix::Translate>, translation, kAfter, kTranslation},
      {"PreTranslate", Apply<&Matrix::PreTranslate>, translation, kBefore, kTranslation},
      {"Scale", Apply<&Matrix::Scale>, scale, kAfter, kLinear},
      {"PreScale", Apply<&Matrix::PreScale>, scale, kAfter, kLinear, 9, kKeepsTranslation},
      {"Rotate", Apply<&Matrix::Rotate>, rotation, kAfter, kLinear, 1},
      {"PreRotate", Apply<&Matrix::PreRotate>, rotation, kBefore, kLinear, 1},
      {"Skew", Apply<&Matrix::Skew>, skew, kAfter, kLinear},
      {"PreSkew", Apply<&Matrix::PreSkew>, skew, kBefore, kLinear, 9, kSeesNewM2},
  };
  Random random(3);
  for (const auto& row : table) {
    Matrix fresh;
    row.apply(fresh, {zero, zero});
    EXPECT_EQ(Flags(fresh), row.flags) << row.name;

    for (int i = 0; i < kCases; ++i) {
      const KVertex2D v = AnyAngles(random);
      const auto before = AnyMatrix<Matrix>(random);
      Matrix m = before;
      row.apply(m, v);

      auto elementary = Entries(Matrix());
      row.fill(elementary.data(), v);
      auto expected = Multiply(row.side, Entries(before), elementary, row.negated);
      if (row.oddity == kKeepsTranslation && before.affine) {
        expected[6] = before.m6, expected[7] = before.m7;
      }
      if (row.oddity == kSeesNewM2 && !before.affine) expected[5] = before.m5 + Tan(v.x) * m.m2;
      ASSERT_EQ(Entries(m), expected) << row.name << int{before.affine};
    }
  }
}

TEST(SoftMatrix, FlagsAndKindAfterProductsAndSums) {
  Random random(4);
  const KSoftMatrix3D unit;
  KSoftMatrix3D move, full, linear;
  move.Translate({one, one});
  full.Set(one, one, one, one, one, one, one, one, one);
  full.kind = 7;
  linear.Set(one, one, one, one, one, one);
  const struct {
    const KSoftMatrix3D &m, &b;
    int flags, kind;  // of m after m *= b
  } table[] = {
      {unit, unit, 0x111, 4},   {unit, full, 0x000, 7},   {unit, move, 0x101, 4},
      {move, unit, 0x101, 4},   {move, move, 0x101, 4},   {move, linear, 0x100, 4},
      {linear, move, 0x100, 4}, {move, full, 0x100, 4},   {full, unit, 0x000, 7},
      {full, move, 0x000, 7},   {linear, unit, 0x100, 4},
  };
  for (const auto& row : table) {
    KSoftMatrix3D m = row.m;
    m *= &row.b;
    EXPECT_EQ(Flags(m), row.flags) << &row - table;
    EXPECT_EQ(m.kind, row.kind) << &row - table;
    if (row.b.identity) {
      EXPECT_EQ(m.GetMatrixData(), row.m.GetMatrixData());
    }
  }
  // A translation that happens to be zero after a product is not known to be the identity.
  KSoftMatrix3D back;
  back.Translate({-one, -one});
  back *= &move;
  EXPECT_EQ(Flags(back), 0x101);
  // Nor is what sums and scalings leave, even of the identity.
  KSoftMatrix3D units[4];
  units[0] *= one;
  units[1] += &unit;
  units[2] -= &unit;
  -units[3];
  for (const KSoftMatrix3D& m : units) EXPECT_EQ(Flags(m), 0x100);
}

// Every bit: the same on every processor.
TEST(Matrices, ExactDeterminantsAndInverses) {
  Random random(6);
  Hash hash;
  const auto add = [&hash](auto m) {
    hash.Add(m.Determinant().raw);
    m.Inverse();
    for (KFixed entry : Entries(m)) hash.Add(entry.raw);
  };
  for (int i = 0; i < kCases; ++i) {
    add(AnyMatrix<KMatrix2D>(random));
    add(AnyMatrix<KSoftMatrix3D>(random));
    add(AnyMatrix<KMatrix4D>(random));
  }
  EXPECT_EQ(hash.Value(), 16675653230525973706u);
}

TEST(SoftMatrix, InverseWithZerosAndExtremes) {
  const KFixed big = Raw(0x40000003);
  const struct {
    Square<2> in, out;
  } table[] = {
      {{zero, one, one, zero}, {zero, one, one, zero}},
      {{zero, -one, one, zero}, {zero, one, -one, zero}},
      {{one, one, zero, one}, {one, -one, zero, one}},
      {{one, zero, zero, zero}, {zero, zero, zero, zero}},
      {{zero, zero, zero, zero}, {zero, zero, zero, zero}},
      // b c / d and b c / a are too large, as their highest bits tell: 30 + 30 - 0.
      {{Raw(1), big, big, Raw(1)}, {zero, Raw(3), Raw(3), zero}},
      // 15 + 16 - 0 is just small enough, although b c / d wraps around; 16 + 16 - 0 is not.
      {{Raw(3), one, Raw(1 << 15), Raw(1)}, {Raw(-2), Raw(2 << 16), one, Raw(-6)}},
      {{Raw(3), one, one, Raw(1)}, {zero, one, one, Raw(-3)}},
  };
  for (const auto& row : table) {
    KSoftMatrix3D m;
    m.Set(row.in[0], row.in[1], row.in[2], row.in[3], zero, zero);
    m.Inverse();
    EXPECT_EQ((Square<2>{m.m0, m.m1, m.m3, m.m4}), row.out) << &row - table;
  }
  // The flag alone decides: a known translation is not looked at further.
  KSoftMatrix3D translation;
  translation.Translate({one, -one});
  translation.m2 = one;
  ~translation;
  EXPECT_EQ(Entries(translation), (Square<3>{one, zero, one, zero, one, zero, -one, one, one}));
}

TEST(Matrices, Orthogonality) {
  const KFixed little = Raw(1023);
  const KFixed more = Raw(1024);
  const struct {
    KFixed a, b, c, d;
    bool orthogonal;
  } table[] = {
      {one, little, -little, one, true},    {one, more, zero, one, false},
      {little, one, one, -little, true},    {-more, one, one, zero, false},
      {KFixed::NaN, zero, zero, one, true}, {zero, one, one, KFixed::NaN, false},
      {zero, zero, zero, zero, true},
  };
  for (const auto& row : table) {
    KSoftMatrix3D m;
    m.Set(row.a, row.b, row.c, row.d, one, one);
    EXPECT_EQ(m.IsOrth(), row.orthogonal) << &row - table;
    KMatrix2D linear;
    linear.Set(row.a, row.b, row.c, row.d);
    EXPECT_EQ(linear.IsOrth(), row.orthogonal) << &row - table;
  }
}

// The identity with a rotation in the coordinates p and q: p' = c p + s q, q' = c q - s p.
template <int p, int q>
void Turn(KFixed* e, KVertex3D degrees) {
  e[5 * p] = e[5 * q] = KFixed::Cos(degrees.x);
  e[4 * q + p] = KFixed::Sin(degrees.x);
  e[4 * p + q] = -e[4 * q + p];
}

TEST(Matrix4D, OperationsAreProductsWithElementaryMatrices) {
  using Matrix = KMatrix4D;
  constexpr auto translation = [](KFixed* e, KVertex3D v) {
    e[12] = v.x, e[13] = v.y, e[14] = v.z;
  };
  constexpr auto scale = [](KFixed* e, KVertex3D v) { e[0] = v.x, e[5] = v.y, e[10] = v.z; };
  constexpr auto skew = [](KFixed* e, KVertex3D v) {
    e[4] = e[8] = Tan(v.x), e[1] = e[9] = Tan(v.y), e[2] = e[6] = Tan(v.z);
  };
  const struct {
    const char* name;
    void (*apply)(Matrix&, KVertex3D);
    void (*fill)(KFixed* e, KVertex3D);  // makes the identity the elementary matrix
    Side side;
    std::size_t negated = 16;  // index of an entry -s
    int slipRow = -1;          // the row whose fourth entry a pre-rotation takes from its third
  } table[] = {
      {"Translate", Apply<&Matrix::Translate>, translation, kAfter},
      {"PreTranslate", Apply<&Matrix::PreTranslate>, translation, kBefore},
      {"Scale", Apply<&Matrix::Scale>, scale, kAfter},
      {"PreScale", Apply<&Matrix::PreScale>, scale, kBefore},
      {"Skew", Apply<&Matrix::Skew>, skew, kAfter},
      {"PreSkew", Apply<&Matrix::PreSkew>, skew, kBefore},
      {"RotateX", Apply<&Matrix::RotateX>, Turn<2, 1>, kAfter, 9},
      {"RotateY", Apply<&Matrix::RotateY>, Turn<0, 2>, kAfter, 2},
      {"RotateZ", Apply<&Matrix::RotateZ>, Turn<1, 0>, kAfter, 4},
      {"PreRotateX", Apply<&Matrix::PreRotateX>, Turn<2, 1>, kBefore, 9, 1},
      {"PreRotateY", Apply<&Matrix::PreRotateY>, Turn<0, 2>, kBefore, 2, 0},
      {"PreRotateZ", Apply<&Matrix::PreRotateZ>, Turn<1, 0>, kBefore, 4, 0},
  };
  Random random(7);
  for (const auto& row : table) {
    for (int i = 0; i < 1000; ++i) {
      const KVertex3D v = {AnyAngle(random), AnyAngle(random), AnyAngle(random)};
      auto m = AnyMatrix<Matrix>(random);
      auto before = Entries(m);
      if (row.slipRow >= 0) {
        const auto slip = static_cast<std::size_t>(4 * row.slipRow);
        before[slip + 3] = before[slip + 2];
      }
      row.apply(m, v);
      auto elementary = Entries(Matrix());
      row.fill(elementary.data(), v);
      ASSERT_EQ(Entries(m), Multiply(row.side, before, elementary, row.negated)) << row.name;
    }
  }
}

}  // namespace
