// KMatrix4D: products, elementary transforms, determinant and adjugate.
#include "kalvora/core/KMatrix4D.h"

#include <algorithm>
#include <iterator>

#include "kalvora/core/linear.h"

using namespace kalvora;

namespace {

// One step of a rotation: (p, q) = (c p + s q, c q - s p). Senses are chosen by the order of p and
// q, never by negating s: -(s p) and (-s) p round differently.
struct Turn {
  KFixed s;
  KFixed c;

  explicit Turn(KFixed degrees) : s(SinCosOf(degrees).sin), c(SinCosOf(degrees).cos) {}

  void operator()(KFixed& p, KFixed& q) const {
    const KFixed turned = c * p + s * q;
    q = c * q - s * p;
    p = turned;
  }
  // Columns p and q of all four rows.
  void Columns(KFixed* e, int p, int q) const {
    for (int row = 0; row < 16; row += 4) (*this)(e[row + p], e[row + q]);
  }
  // Rows p and q. In the fourth column the upper row contributes the entry of its third column:
  // results have always been so, and clients depend on them.
  void Rows(KFixed* e, int p, int q) const {
    KFixed* upper = e + 4 * std::min(p, q);
    upper[3] = upper[2];
    for (int column = 3; column >= 0; --column) (*this)(e[4 * p + column], e[4 * q + column]);
  }
};

// The determinant of the 3 x 3 matrix with these rows, along the first one.
KFixed Determinant3(KFixed a, KFixed b, KFixed c, KFixed d, KFixed e, KFixed f, KFixed g, KFixed h,
                    KFixed i) {
  return a * (e * i - f * h) - b * (d * i - f * g) + c * (d * h - e * g);
}

}  // namespace

KMatrix4D::KMatrix4D() { Identity(); }

void KMatrix4D::Identity() {
  std::fill(std::begin(e), std::end(e), kZero);
  e[0] = e[5] = e[10] = e[15] = kOne;
}

// Products and entrywise --------------------------------------------------------------------------

KMatrix4D& KMatrix4D::operator*=(const KMatrix4D* other) {
  if (other == nullptr) return *this;
  const KMatrix4D m = *this;
  const KMatrix4D b = *other;
  for (int row = 0; row < 16; row += 4) {
    for (int column = 0; column < 4; ++column) {
      KFixed sum = kZero;
      for (int k = 0; k < 4; ++k) sum += b.e[row + k] * m.e[4 * k + column];
      e[row + column] = sum;
    }
  }
  return *this;
}

void KMatrix4D::Combine(const KMatrix4D* b) {
  if (b == nullptr) return;
  KMatrix4D product = *b;
  product *= this;
  *this = product;
}

KMatrix4D& KMatrix4D::operator*=(KFixed s) {
  for (KFixed& entry : e) entry *= s;
  return *this;
}

KMatrix4D& KMatrix4D::operator+=(const KMatrix4D* b) {
  if (b == nullptr) return *this;
  for (int i = 0; i < 16; ++i) e[i] += b->e[i];
  return *this;
}

KMatrix4D& KMatrix4D::operator-=(const KMatrix4D* b) {
  if (b == nullptr) return *this;
  for (int i = 0; i < 16; ++i) e[i] -= b->e[i];
  return *this;
}

KMatrix4D& KMatrix4D::operator-() {
  for (KFixed& entry : e) entry = -entry;
  return *this;
}

// Elementary transforms ---------------------------------------------------------------------------

void KMatrix4D::Translate(KVertex3D t) {
  for (int row = 0; row < 16; row += 4) {
    const KFixed w = e[row + 3];
    e[row] += t.x * w;
    e[row + 1] += t.y * w;
    e[row + 2] += t.z * w;
  }
}

void KMatrix4D::PreTranslate(KVertex3D t) {
  for (int column = 0; column < 4; ++column) {
    e[12 + column] += t.x * e[column] + t.y * e[4 + column] + t.z * e[8 + column];
  }
}

void KMatrix4D::Scale(KVertex3D s) {
  for (int row = 0; row < 16; row += 4) {
    e[row] *= s.x;
    e[row + 1] *= s.y;
    e[row + 2] *= s.z;
  }
}

void KMatrix4D::PreScale(KVertex3D s) {
  for (int column = 0; column < 4; ++column) {
    e[column] *= s.x;
    e[4 + column] *= s.y;
    e[8 + column] *= s.z;
  }
}

void KMatrix4D::Skew(KVertex3D degrees) {
  const KVertex3D k = {Tan(degrees.x), Tan(degrees.y), Tan(degrees.z)};
  for (int row = 0; row < 16; row += 4) {
    const KFixed x = e[row];
    const KFixed y = e[row + 1];
    const KFixed z = e[row + 2];
    e[row] += k.x * y + k.x * z;
    e[row + 1] += k.y * x + k.y * z;
    e[row + 2] += k.z * x + k.z * y;
  }
}

void KMatrix4D::PreSkew(KVertex3D degrees) {
  const KVertex3D k = {Tan(degrees.x), Tan(degrees.y), Tan(degrees.z)};
  for (int column = 0; column < 4; ++column) {
    const KFixed row0 = e[column];
    const KFixed row1 = e[4 + column];
    const KFixed row2 = e[8 + column];
    e[column] += k.y * row1 + k.z * row2;
    e[4 + column] += k.x * row0 + k.z * row2;
    e[8 + column] += k.x * row0 + k.y * row1;
  }
}

void KMatrix4D::RotateX(KFixed degrees) { Turn(degrees).Columns(e, 2, 1); }

void KMatrix4D::RotateY(KFixed degrees) { Turn(degrees).Columns(e, 0, 2); }

// The opposite sense to KSoftMatrix3D::Rotate, and so it stays.
void KMatrix4D::RotateZ(KFixed degrees) { Turn(degrees).Columns(e, 1, 0); }

void KMatrix4D::PreRotateX(KFixed degrees) { Turn(degrees).Rows(e, 1, 2); }

void KMatrix4D::PreRotateY(KFixed degrees) { Turn(degrees).Rows(e, 2, 0); }

void KMatrix4D::PreRotateZ(KFixed degrees) { Turn(degrees).Rows(e, 0, 1); }

// Determinant and inverse -------------------------------------------------------------------------

KFixed KMatrix4D::Determinant() const {
  // The minor of rows 0 to 2 with three of the columns.
  const auto minor = [this](int a, int b, int c) {
    return Determinant3(e[a], e[b], e[c], e[4 + a], e[4 + b], e[4 + c], e[8 + a], e[8 + b],
                        e[8 + c]);
  };
  return e[15] * minor(0, 1, 2) - e[14] * minor(0, 1, 3) + e[13] * minor(0, 2, 3) -
         e[12] * minor(1, 2, 3);
}

void KMatrix4D::Inverse() {
  const KFixed a = e[0], b = e[1], c = e[2];
  const KFixed d = e[4], f = e[5], g = e[6];
  const KFixed h = e[8], i = e[9], j = e[10];
  // Not a reciprocal: the complement of the rounded determinant, as a whole number. Clients have
  // compensated for it, so it stays.
  const KFixed k = KFixed::FromInt(~RoundPixel(Determinant3(a, b, c, d, f, g, h, i, j)));
  e[0] = k * (f * j - g * i), e[1] = k * (c * i - b * j), e[2] = k * (b * g - c * f);
  e[4] = k * (g * h - d * j), e[5] = k * (a * j - c * h), e[6] = k * (c * d - a * g);
  e[8] = k * (d * i - f * h), e[9] = k * (b * h - a * i), e[10] = k * (a * f - b * d);
}
