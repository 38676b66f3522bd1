// KMatrix4D: operations against plain products, and the oddities it keeps.
#include <cmath>

#include <gtest/gtest.h>

#include "kalvora/core/KMatrix4D.h"

#include "tests/common/Hash.h"
#include "tests/common/Random.h"
#include "tests/core/matrices.h"

namespace {

constexpr int kCases = 1000;

KMatrix4D AnyMatrix(Random& random) {
  KMatrix4D m;
  for (KFixed& entry : m.e) entry = AnyEntry(random);
  return m;
}

// The identity with a rotation in the coordinates p and q: p' = c p + s q, q' = c q - s p.
void Turn(KFixed* e, int p, int q, KFixed degrees) {
  e[5 * p] = e[5 * q] = KFixed::Cos(degrees);
  e[4 * q + p] = KFixed::Sin(degrees);
  e[4 * p + q] = -e[4 * q + p];
}

using Apply = void (*)(KMatrix4D&, KVertex3D);
const struct Operation {
  const char* name;
  Side side;
  int negated;  // index of an entry -s, or -1
  Apply apply;
  void (*fill)(KFixed* e, KVertex3D);  // makes the identity the elementary matrix
  int slipRow = -1;  // the row whose fourth entry a pre-rotation takes from its third
} kOperations[] = {
    {"Translate", kAfter, -1, [](KMatrix4D& m, KVertex3D v) { m.Translate(v); },
     [](KFixed* e, KVertex3D v) { e[12] = v.x, e[13] = v.y, e[14] = v.z; }},
    {"PreTranslate", kBefore, -1, [](KMatrix4D& m, KVertex3D v) { m.PreTranslate(v); },
     [](KFixed* e, KVertex3D v) { e[12] = v.x, e[13] = v.y, e[14] = v.z; }},
    {"Scale", kAfter, -1, [](KMatrix4D& m, KVertex3D v) { m.Scale(v); },
     [](KFixed* e, KVertex3D v) { e[0] = v.x, e[5] = v.y, e[10] = v.z; }},
    {"PreScale", kBefore, -1, [](KMatrix4D& m, KVertex3D v) { m.PreScale(v); },
     [](KFixed* e, KVertex3D v) { e[0] = v.x, e[5] = v.y, e[10] = v.z; }},
    {"Skew", kAfter, -1, [](KMatrix4D& m, KVertex3D v) { m.Skew(v); },
     [](KFixed* e, KVertex3D v) {
       e[4] = e[8] = Tan(v.x), e[1] = e[9] = Tan(v.y), e[2] = e[6] = Tan(v.z);
     }},
    {"PreSkew", kBefore, -1, [](KMatrix4D& m, KVertex3D v) { m.PreSkew(v); },
     [](KFixed* e, KVertex3D v) {
       e[4] = e[8] = Tan(v.x), e[1] = e[9] = Tan(v.y), e[2] = e[6] = Tan(v.z);
     }},
    {"RotateX", kAfter, 9, [](KMatrix4D& m, KVertex3D v) { m.RotateX(v.x); },
     [](KFixed* e, KVertex3D v) { Turn(e, 2, 1, v.x); }},
    {"RotateY", kAfter, 2, [](KMatrix4D& m, KVertex3D v) { m.RotateY(v.x); },
     [](KFixed* e, KVertex3D v) { Turn(e, 0, 2, v.x); }},
    {"RotateZ", kAfter, 4, [](KMatrix4D& m, KVertex3D v) { m.RotateZ(v.x); },
     [](KFixed* e, KVertex3D v) { Turn(e, 1, 0, v.x); }},
    {"PreRotateX", kBefore, 9, [](KMatrix4D& m, KVertex3D v) { m.PreRotateX(v.x); },
     [](KFixed* e, KVertex3D v) { Turn(e, 2, 1, v.x); }, 1},
    {"PreRotateY", kBefore, 2, [](KMatrix4D& m, KVertex3D v) { m.PreRotateY(v.x); },
     [](KFixed* e, KVertex3D v) { Turn(e, 0, 2, v.x); }, 0},
    {"PreRotateZ", kBefore, 4, [](KMatrix4D& m, KVertex3D v) { m.PreRotateZ(v.x); },
     [](KFixed* e, KVertex3D v) { Turn(e, 1, 0, v.x); }, 0},
};

TEST(Matrix4D, OperationsAreProductsWithElementaryMatrices) {
  Random random(1);
  for (const Operation& operation : kOperations) {
    for (int i = 0; i < kCases; ++i) {
      const KVertex2D xy = AnyAngles(random);
      const KVertex3D v = {xy.x, xy.y, AnyAngle(random)};
      KMatrix4D m = AnyMatrix(random);
      KMatrix4D before = m;
      operation.apply(m, v);

      KMatrix4D elementary;
      operation.fill(elementary.e, v);
      const int slip = 4 * operation.slipRow;
      if (slip >= 0) before.e[slip + 3] = before.e[slip + 2];
      KFixed expected[16];
      Multiply<4>(operation.side, before.e, elementary.e, expected, operation.negated);
      ASSERT_EQ(Distance<16>(m.e, expected), 0) << operation.name;
    }
  }
}

TEST(Matrix4D, RotationsAreExactAtQuarterTurnsOnly) {
  KMatrix4D exact, negative, none;
  exact.RotateX(Raw(270 << 16));
  EXPECT_EQ(exact.e[5], zero);
  EXPECT_EQ(exact.e[6], -one);
  negative.RotateX(Raw(-90 * 65536));
  EXPECT_EQ(negative.e[6].raw, -65543);
  none.PreRotateY(zero);
  EXPECT_EQ(none.e[0].raw, 65543);
}

TEST(Matrix4D, ProductsAndEntrywiseOperations) {
  Random random(2);
  for (int i = 0; i < kCases; ++i) {
    const KMatrix4D a = AnyMatrix(random);
    const KMatrix4D b = AnyMatrix(random);
    KMatrix4D product = a, combined = b, squared = a, sum = a;
    KFixed expected[16];
    product *= &b;
    combined.Combine(&a);
    Multiply<4>(kBefore, a.e, b.e, expected);
    ASSERT_EQ(Distance<16>(product.e, expected), 0);
    ASSERT_EQ(Distance<16>(combined.e, expected), 0);
    squared *= &squared;
    Multiply<4>(kBefore, a.e, a.e, expected);
    ASSERT_EQ(Distance<16>(squared.e, expected), 0);
    sum += &b;
    -sum;
    sum += &a;
    sum *= -one;
    ASSERT_EQ(Distance<16>(sum.e, b.e), 0);
    sum -= &b;
    sum += nullptr;
    ASSERT_EQ(sum.Determinant(), zero);
  }
}

TEST(Matrix4D, DeterminantIsThatOfAProduct) {
  // Unlike the cofactors, products are known to be right: det(L U) is the product of diagonals.
  Random random(3);
  for (int i = 0; i < kCases; ++i) {
    KMatrix4D lower, upper;
    double det = 1;
    for (int row = 0; row < 4; ++row) {
      for (int column = 0; column < 4; ++column) {
        const KFixed entry = Raw(random.Between(-2 << 16, 2 << 16));
        if (column < row) lower.e[4 * row + column] = entry;
        if (column >= row) upper.e[4 * row + column] = entry;
        if (column == row) det *= Real(entry);
      }
    }
    upper *= &lower;
    ASSERT_NEAR(Real(upper.Determinant()), det, 0.05);
  }
}

TEST(Matrix4D, InverseScalesTheAdjugateByAWholeNumber) {
  Random random(4);
  for (int i = 0; i < kCases; ++i) {
    KMatrix4D m = AnyMatrix(random);
    for (KFixed& entry : m.e) entry.raw /= 4;
    const KMatrix4D before = m;
    m.Inverse();
    // M adj(M) = det(M) I, so the product is k det(M) I, with k from the determinant.
    double product[3][3] = {};
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 3; ++column) {
        for (int k = 0; k < 3; ++k) {
          product[row][column] += Real(before.e[4 * row + k]) * Real(m.e[4 * k + column]);
        }
      }
    }
    KMatrix4D block = before;
    for (int k : {3, 7, 11, 12, 13, 14}) block.e[k] = zero;
    block.e[15] = one;
    const double det = Real(block.Determinant());
    if (std::fabs(det - std::round(det) - 0.504) < 0.01) continue;
    if (std::fabs(det - std::round(det) + 0.496) < 0.01) continue;
    const double k = -(std::floor(det + 0.49609) + 1);
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 3; ++column) {
        ASSERT_NEAR(product[row][column], row == column ? k * det : 0, 0.02 * (1 + std::fabs(k)));
      }
    }
    for (int kept : {3, 7, 11, 12, 13, 14, 15}) ASSERT_EQ(m.e[kept], before.e[kept]);
  }
}

// Every bit of every operation: the same on every processor.
TEST(Matrix4D, ExactValues) {
  Random random(5);
  Hash hash;
  for (int i = 0; i < kCases; ++i) {
    for (const Operation& operation : kOperations) {
      KMatrix4D m = AnyMatrix(random);
      const KVertex2D xy = AnyAngles(random);
      operation.apply(m, {xy.x, xy.y, AnyAngle(random)});
      hash.Add(m.Determinant().raw);
      m.Inverse();
      for (KFixed entry : m.e) hash.Add(entry.raw);
    }
  }
  EXPECT_EQ(hash.Value(), 8750913975570965765u);
}

}  // namespace
