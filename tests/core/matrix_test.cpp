// KSoftMatrix3D and KMatrix2D: operations against plain products, and the flags each leaves.
#include <cmath>

#include <gtest/gtest.h>

#include "kalvora/core/KMatrix2D.h"
#include "kalvora/core/KSoftMatrix3D.h"

#include "tests/common/Hash.h"
#include "tests/common/Random.h"
#include "tests/core/matrices.h"

namespace {

constexpr int kCases = 2000;

KSoftMatrix3D AnyMatrix(Random& random, bool affine) {
  KFixed e[9];
  for (KFixed& entry : e) entry = AnyEntry(random);
  KSoftMatrix3D m;
  if (affine) {
    m.Set(e[0], e[1], e[2], e[3], e[4], e[5]);
  } else {
    m.Set(e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8]);
  }
  return m;
}

KSoftMatrix3D Translation(KFixed x, KFixed y) {
  KSoftMatrix3D m;
  m.Translate({x, y});
  return m;
}

int Flags(const KSoftMatrix3D& m) { return m.affine << 8 | m.identity << 4 | m.linearIdentity; }

TEST(SoftMatrix, OperationsAreProductsWithElementaryMatrices) {
  using Matrix = KSoftMatrix3D;
  enum Oddity { kNone, kKeepsTranslation, kSeesNewM2 };
  struct Case {
    const char* name;
    Side side;
    int negated;       // index of an entry -s, or -1
    bool keepsLinear;  // keeps the flag linearIdentity
    void (*apply)(Matrix&, KVertex2D);
    void (*fill)(KFixed* e, KVertex2D);  // makes the identity the elementary matrix
    Oddity oddity = kNone;
  };
  constexpr auto translation = [](KFixed* e, KVertex2D v) { e[6] = v.x, e[7] = v.y; };
  constexpr auto scale = [](KFixed* e, KVertex2D v) { e[0] = v.x, e[4] = v.y; };
  constexpr auto skew = [](KFixed* e, KVertex2D v) { e[1] = Tan(v.y), e[3] = Tan(v.x); };
  constexpr auto rotation = [](KFixed* e, KVertex2D v) {
    e[0] = e[4] = KFixed::Cos(v.x);
    e[3] = KFixed::Sin(v.x);
    e[1] = -e[3];
  };
  const Case table[] = {
      {"Translate", kAfter, -1, true, [](Matrix& m, KVertex2D v) { m.Translate(v); }, translation},
      {"PreTranslate", kBefore, -1, true, [](Matrix& m, KVertex2D v) { m.PreTranslate(v); },
       translation},
      {"Scale", kAfter, -1, false, [](Matrix& m, KVertex2D v) { m.Scale(v); }, scale},
      {"PreScale", kAfter, -1, false, [](Matrix& m, KVertex2D v) { m.PreScale(v); }, scale,
       kKeepsTranslation},
      {"Rotate", kAfter, 1, false, [](Matrix& m, KVertex2D v) { m.Rotate(v.x); }, rotation},
      {"PreRotate", kBefore, 1, false, [](Matrix& m, KVertex2D v) { m.PreRotate(v.x); }, rotation},
      {"Skew", kAfter, -1, false, [](Matrix& m, KVertex2D v) { m.Skew(v); }, skew},
      {"PreSkew", kBefore, -1, false, [](Matrix& m, KVertex2D v) { m.PreSkew(v); }, skew,
       kSeesNewM2},
  };
  Random random(1);
  for (const Case& c : table) {
    Matrix fresh;
    c.apply(fresh, {zero, zero});
    EXPECT_EQ(Flags(fresh), c.keepsLinear ? 0x101 : 0x100) << c.name;

    for (int i = 0; i < kCases; ++i) {
      const bool affine = random.OneIn(2);
      const KVertex2D v = AnyAngles(random);
      Matrix m = AnyMatrix(random, affine);
      const Matrix before = m;
      c.apply(m, v);

      KFixed elementary[9] = {one, zero, zero, zero, one, zero, zero, zero, one};
      c.fill(elementary, v);
      KFixed expected[9];
      Multiply<3>(c.side, before.GetMatrixData().m, elementary, expected, c.negated);
      if (affine && c.oddity == kKeepsTranslation) expected[6] = before.m6, expected[7] = before.m7;
      if (!affine && c.oddity == kSeesNewM2) expected[5] = before.m5 + Tan(v.x) * m.m2;
      ASSERT_EQ(Distance<9>(m.GetMatrixData().m, expected), 0) << c.name << affine;
    }
  }
}

TEST(SoftMatrix, Products) {
  Random random(2);
  for (int i = 0; i < kCases; ++i) {
    const KSoftMatrix3D a = AnyMatrix(random, random.OneIn(2));
    KSoftMatrix3D b = AnyMatrix(random, random.OneIn(2));
    KSoftMatrix3D m = a;
    m *= &b;
    KSoftMatrix3D combined = b;
    combined.Combine(&a);
    ASSERT_EQ(m.GetMatrixData(), combined.GetMatrixData());

    // An affine receiver leaves out the argument's third column.
    KSoftMatrix3D plain = b;
    if (a.affine) plain.m2 = plain.m5 = zero, plain.m8 = one;
    KFixed expected[9];
    Multiply<3>(kBefore, a.GetMatrixData().m, plain.GetMatrixData().m, expected);
    ASSERT_EQ(Distance<9>(m.GetMatrixData().m, expected), 0) << int{a.affine} << int{b.affine};

    KSoftMatrix3D squared = a;
    squared *= &squared;
    Multiply<3>(kBefore, a.GetMatrixData().m, a.GetMatrixData().m, expected);
    ASSERT_EQ(Distance<9>(squared.GetMatrixData().m, expected), 0);
  }
}

TEST(SoftMatrix, ProductsAndFlags) {
  Random random(3);
  const KSoftMatrix3D unit;
  const KSoftMatrix3D move = Translation(one, one);
  KSoftMatrix3D full = AnyMatrix(random, false);
  full.kind = 7;
  KSoftMatrix3D linear = AnyMatrix(random, true);

  // The receiver, the argument, and the receiver's flags and kind after *=.
  const struct {
    const KSoftMatrix3D &m, &b;
    int flags, kind;
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
  KSoftMatrix3D back = Translation(one, zero);
  const KSoftMatrix3D forth = Translation(-one, zero);
  back *= &forth;
  EXPECT_EQ(Flags(back), 0x101);

  KSoftMatrix3D same = full;
  same *= static_cast<KSoftMatrix3D*>(nullptr);
  same.Combine(nullptr);
  same += nullptr;
  same -= nullptr;
  EXPECT_EQ(same.GetMatrixData(), full.GetMatrixData());
}

TEST(SoftMatrix, EntrywiseOperations) {
  Random random(4);
  for (bool affine : {false, true}) {
    const KSoftMatrix3D a = AnyMatrix(random, affine);
    const KSoftMatrix3D b = AnyMatrix(random, false);
    KSoftMatrix3D scaled = a, sum = a, difference = a, negative = a;
    scaled *= Raw(3 << 15);
    sum += &b;
    difference -= &b;
    -negative;
    const auto x = a.GetMatrixData();
    const auto y = b.GetMatrixData();
    for (int i = 0; i < 9; ++i) {
      const bool kept = affine && i % 3 == 2;
      EXPECT_EQ(scaled.GetMatrixData().m[i], kept ? x.m[i] : x.m[i] * Raw(3 << 15)) << i;
      EXPECT_EQ(sum.GetMatrixData().m[i], x.m[i] + y.m[i]) << i;
      EXPECT_EQ(difference.GetMatrixData().m[i], x.m[i] - y.m[i]) << i;
      EXPECT_EQ(negative.GetMatrixData().m[i], -x.m[i]) << i;
    }
  }
  KSoftMatrix3D units[4];
  const KSoftMatrix3D other;
  units[0] *= one;
  units[1] += &other;
  units[2] -= &other;
  -units[3];
  for (const KSoftMatrix3D& m : units) EXPECT_EQ(Flags(m), 0x100);
}

TEST(SoftMatrix, DeterminantAndInverse) {
  Random random(5);
  Hash hash;  // of every bit: the same on every processor
  for (int i = 0; i < kCases; ++i) {
    const bool affine = random.OneIn(2);
    KSoftMatrix3D m = AnyMatrix(random, affine);
    const KSoftMatrix3D before = m;
    double e[9];
    for (int k = 0; k < 9; ++k) e[k] = Real(before.GetMatrixData().m[k]);
    const double det = e[0] * (e[4] * e[8] - e[5] * e[7]) - e[1] * (e[3] * e[8] - e[5] * e[6]) +
                       e[2] * (e[3] * e[7] - e[4] * e[6]);
    ASSERT_NEAR(Real(m.Determinant()), det, 50 / 65536.0);

    m.Inverse();
    hash.Add(before.Determinant().raw);
    for (KFixed entry : m.GetMatrixData().m) hash.Add(entry.raw);
    ASSERT_EQ(Flags(m), Flags(before));
    if (!affine) {
      ASSERT_EQ(m.GetMatrixData(), before.GetMatrixData());
      continue;
    }
    if (std::fabs(det) < 1 || std::fabs(e[0]) < 0.1 || std::fabs(e[1]) < 0.1 ||
        std::fabs(e[3]) < 0.1 || std::fabs(e[4]) < 0.1) {
      continue;
    }
    KSoftMatrix3D product = before;
    product *= &m;
    const KSoftMatrix3D unit;
    ASSERT_LE(Distance<9>(product.GetMatrixData().m, unit.GetMatrixData().m), 600);
  }
  EXPECT_EQ(KSoftMatrix3D().Determinant(), one);
  EXPECT_EQ(hash.Value(), 8451576485166812484u);
}

TEST(SoftMatrix, InverseWithZerosAndExtremes) {
  const KFixed big = Raw(0x40000003);
  const struct {
    KFixed in[4];
    KFixed out[4];
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
    const KFixed got[4] = {m.m0, m.m1, m.m3, m.m4};
    EXPECT_EQ(Distance<4>(got, row.out), 0) << &row - table;
  }
  // The flag alone decides: a known translation is not looked at further.
  KSoftMatrix3D translation = Translation(one, -one);
  translation.m2 = one;
  ~translation;
  EXPECT_EQ(translation.m6, -one);
  EXPECT_EQ(translation.m7, one);
  EXPECT_EQ(translation.m2, one);
}

TEST(SoftMatrix, Orthogonality) {
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

TEST(Matrix2D, ProductsAndInverse) {
  Random random(6);
  for (int i = 0; i < kCases; ++i) {
    KFixed e[8];
    for (KFixed& entry : e) entry = AnyEntry(random);
    KMatrix2D a, b;
    a.Set(e[0], e[1], e[2], e[3]);
    b.Set(e[4], e[5], e[6], e[7]);
    KFixed expected[4];
    Multiply<2>(kBefore, e, e + 4, expected);
    KMatrix2D product = a, combined = b;
    product *= &b;
    combined.Combine(&a);
    KFixed got[4], other[4];
    product.Get(got[0], got[1], got[2], got[3]);
    combined.Get(other[0], other[1], other[2], other[3]);
    ASSERT_EQ(Distance<4>(got, expected), 0);
    ASSERT_EQ(Distance<4>(other, expected), 0);

    const double det = Real(e[0]) * Real(e[3]) - Real(e[1]) * Real(e[2]);
    ASSERT_NEAR(Real(a.Determinant()), det, 2 / 65536.0);
    if (std::fabs(det) < 1) continue;
    KMatrix2D inverse = a;
    inverse.Inverse();
    inverse *= &a;
    const KFixed unit[4] = {one, zero, zero, one};
    inverse.Get(got[0], got[1], got[2], got[3]);
    ASSERT_LE(Distance<4>(got, unit), 120);
  }
  KMatrix2D m;
  const KMatrix2D unit;
  -m;
  m += &unit;
  m += &unit;
  m -= &m;
  EXPECT_EQ(m.Determinant(), zero);
}

}  // namespace
