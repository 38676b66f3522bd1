// KSoftMatrix3D: the operations and what each leaves of the flags.
#include "kalvora/core/KSoftMatrix3D.h"

#include "kalvora/core/circle.h"
#include "kalvora/core/division.h"
#include "kalvora/core/linear.h"

using namespace kalvora;

namespace {

constexpr KSoftMatrix3D::Data Identity = {
    {kOne, kZero, kZero, kZero, kOne, kZero, kZero, kZero, kOne}, 1, 1, 1};

// 1 / (x - p q / r), an entry of an inverse; 0 where r is 0 or p q / r may not fit.
KFixed InverseEntry(KFixed x, KFixed p, KFixed q, KFixed r) {
  if (r == kZero) return kZero;
  const int size =
      HighestBit(Magnitude(p.raw)) + HighestBit(Magnitude(q.raw)) - HighestBit(Magnitude(r.raw));
  if (size >= 32) return kZero;
  return KFixed::Inverse(x - KFixed::MulDiv(p, q, r));
}

// Angles below 0 are raised by whole turns; those above 360 degrees stay.
SinCos RaisedSinCos(KFixed degrees) {
  if (degrees < kZero) degrees.raw %= kTurn.raw;
  if (degrees < kZero) degrees += kTurn;
  return SinCosOf(degrees);
}

}  // namespace

KSoftMatrix3D::KSoftMatrix3D() : kind(4) { Identity(); }

// Whole matrices ----------------------------------------------------------------------------------

void KSoftMatrix3D::Identity() {
  const auto& [m, isAffine, isIdentity, isLinearIdentity] = ::Identity;
  Set(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
  affine = isAffine;
  identity = isIdentity;
  linearIdentity = isLinearIdentity;
}

void KSoftMatrix3D::Set(KFixed a, KFixed b, KFixed c, KFixed d, KFixed e, KFixed f, KFixed g,
                        KFixed h, KFixed i) {
  m0 = a, m1 = b, m2 = c;
  m3 = d, m4 = e, m5 = f;
  m6 = g, m7 = h, m8 = i;
  affine = 0;
  linearIdentity = a == kOne && b == kZero && d == kZero && e == kOne;
  identity = linearIdentity && c == kZero && f == kZero && g == kZero && h == kZero && i == kOne;
}

void KSoftMatrix3D::Set(KFixed a, KFixed b, KFixed c, KFixed d, KFixed tx, KFixed ty) {
  Set(a, b, m2, c, d, m5, tx, ty, m8);
  affine = 1;
}

void KSoftMatrix3D::Get(KFixed& a, KFixed& b, KFixed& c, KFixed& d, KFixed& e, KFixed& f, KFixed& g,
                        KFixed& h, KFixed& i) const {
  a = m0, b = m1, c = m2;
  d = m3, e = m4, f = m5;
  g = m6, h = m7, i = m8;
}

KSoftMatrix3D::Data KSoftMatrix3D::GetMatrixData() const {
  return {{m0, m1, m2, m3, m4, m5, m6, m7, m8}, affine, identity, linearIdentity};
}

// Products ----------------------------------------------------------------------------------------

KSoftMatrix3D& KSoftMatrix3D::operator*=(const KSoftMatrix3D* other) {
  if (other == nullptr || other->identity) return *this;
  if (identity) return *this = *other;

  const KSoftMatrix3D m = *this;
  const KSoftMatrix3D b = *other;
  m0 = b.m0 * m.m0 + b.m1 * m.m3;
  m1 = b.m0 * m.m1 + b.m1 * m.m4;
  m3 = b.m3 * m.m0 + b.m4 * m.m3;
  m4 = b.m3 * m.m1 + b.m4 * m.m4;
  m6 = b.m6 * m.m0 + b.m7 * m.m3;
  m7 = b.m6 * m.m1 + b.m7 * m.m4;
  if (m.affine) {
    // Only the receiver decides: the third column of a projective b is left out.
    m6 += m.m6;
    m7 += m.m7;
    linearIdentity = m.linearIdentity & b.linearIdentity;
    return *this;
  }
  m0 += b.m2 * m.m6;
  m1 += b.m2 * m.m7;
  m3 += b.m5 * m.m6;
  m4 += b.m5 * m.m7;
  m6 += b.m8 * m.m6;
  m7 += b.m8 * m.m7;
  m2 = b.m0 * m.m2 + b.m1 * m.m5 + b.m2 * m.m8;
  m5 = b.m3 * m.m2 + b.m4 * m.m5 + b.m5 * m.m8;
  m8 = b.m6 * m.m2 + b.m7 * m.m5 + b.m8 * m.m8;
  return *this;
}

void KSoftMatrix3D::Combine(const KSoftMatrix3D* b) {
  if (b == nullptr) return;
  if (b->identity && !identity) return;  // as below, without copies
  KSoftMatrix3D product = *b;
  product *= this;
  *this = product;
}

void KSoftMatrix3D::Translate(KVertex2D t) {
  identity = 0;
  if (affine) {
    m6 += t.x;
    m7 += t.y;
    return;
  }
  m0 += m2 * t.x;
  m3 += m5 * t.x;
  m6 += m8 * t.x;
  m1 += m2 * t.y;
  m4 += m5 * t.y;
  m7 += m8 * t.y;
}

void KSoftMatrix3D::PreTranslate(KVertex2D t) {
  identity = 0;
  m6 += t.x * m0 + t.y * m3;
  m7 += t.x * m1 + t.y * m4;
  if (!affine) m8 += t.x * m2 + t.y * m5;
}

void KSoftMatrix3D::Scale(KVertex2D s) {
  identity = linearIdentity = 0;
  m0 *= s.x;
  m3 *= s.x;
  m6 *= s.x;
  m1 *= s.y;
  m4 *= s.y;
  m7 *= s.y;
}

void KSoftMatrix3D::PreScale(KVertex2D s) {
  // Not S M: it scales columns, and an affine matrix keeps its translation. Callers rely on both.
  const KFixed x = m6;
  const KFixed y = m7;
  Scale(s);
  if (!affine) return;
  m6 = x;
  m7 = y;
}

void KSoftMatrix3D::Rotate(KFixed degrees) {
  identity = linearIdentity = 0;
  const auto [s, c] = RaisedSinCos(degrees);
  const auto turn = [s = s, c = c](KFixed& x, KFixed& y) {
    const KFixed turned = x * c + y * s;
    y = y * c - x * s;
    x = turned;
  };
  turn(m0, m1);
  turn(m3, m4);
  turn(m6, m7);
}

void KSoftMatrix3D::PreRotate(KFixed degrees) {
  identity = linearIdentity = 0;
  const auto [s, c] = RaisedSinCos(degrees);
  const auto turn = [s = s, c = c](KFixed& row0, KFixed& row1) {
    const KFixed turned = c * row0 - s * row1;
    row1 = s * row0 + c * row1;
    row0 = turned;
  };
  turn(m0, m3);
  turn(m1, m4);
  if (!affine) turn(m2, m5);
}

void KSoftMatrix3D::Skew(KVertex2D degrees) {
  identity = linearIdentity = 0;
  const auto skew = [kx = Tan(degrees.x), ky = Tan(degrees.y)](KFixed& x, KFixed& y) {
    const KFixed skewed = x + kx * y;
    y += ky * x;
    x = skewed;
  };
  skew(m0, m1);
  skew(m3, m4);
  skew(m6, m7);
}

void KSoftMatrix3D::PreSkew(KVertex2D degrees) {
  identity = linearIdentity = 0;
  const KFixed kx = Tan(degrees.x);
  const KFixed ky = Tan(degrees.y);
  const auto skew = [kx, ky](KFixed& row0, KFixed& row1) {
    const KFixed skewed = row0 + ky * row1;
    row1 += kx * row0;
    row0 = skewed;
  };
  skew(m0, m3);
  skew(m1, m4);
  if (affine) return;
  // Unlike the other columns, this one's second step sees the first one's result: results depend
  // on it.
  m2 += ky * m5;
  m5 += kx * m2;
}

// Entrywise ---------------------------------------------------------------------------------------

KSoftMatrix3D& KSoftMatrix3D::operator*=(KFixed s) {
  identity = linearIdentity = 0;
  m0 *= s, m1 *= s;
  m3 *= s, m4 *= s;
  m6 *= s, m7 *= s;
  if (!affine) m2 *= s, m5 *= s, m8 *= s;
  return *this;
}

KSoftMatrix3D& KSoftMatrix3D::operator+=(const KSoftMatrix3D* b) {
  if (b == nullptr) return *this;
  identity = linearIdentity = 0;
  m0 += b->m0, m1 += b->m1, m2 += b->m2;
  m3 += b->m3, m4 += b->m4, m5 += b->m5;
  m6 += b->m6, m7 += b->m7, m8 += b->m8;
  return *this;
}

KSoftMatrix3D& KSoftMatrix3D::operator-=(const KSoftMatrix3D* b) {
  if (b == nullptr) return *this;
  identity = linearIdentity = 0;
  m0 -= b->m0, m1 -= b->m1, m2 -= b->m2;
  m3 -= b->m3, m4 -= b->m4, m5 -= b->m5;
  m6 -= b->m6, m7 -= b->m7, m8 -= b->m8;
  return *this;
}

KSoftMatrix3D& KSoftMatrix3D::operator-() {
  identity = linearIdentity = 0;
  m0 = -m0, m1 = -m1, m2 = -m2;
  m3 = -m3, m4 = -m4, m5 = -m5;
  m6 = -m6, m7 = -m7, m8 = -m8;
  return *this;
}

// Determinant, inverse, shape ---------------------------------------------------------------------

KFixed KSoftMatrix3D::Determinant() const {
  if (identity) return kOne;
  if (affine) return m0 * m4 - m1 * m3;
  return m0 * (m8 * m4 - m5 * m7) - m3 * (m8 * m1 - m2 * m7) + m6 * (m5 * m1 - m4 * m2);
}

void KSoftMatrix3D::Inverse() {
  if (linearIdentity) {
    m6 = -m6;
    m7 = -m7;
    return;
  }
  if (!affine) return;
  // Without the determinant, which could overflow or vanish where the entries do not.
  const KFixed a = InverseEntry(m0, m3, m1, m4);
  const KFixed b = InverseEntry(m3, m0, m4, m1);
  const KFixed c = InverseEntry(m1, m0, m4, m3);
  const KFixed d = InverseEntry(m4, m3, m1, m0);
  const KFixed x = -(m6 * a + m7 * c);
  const KFixed y = -(m6 * b + m7 * d);
  m0 = a, m1 = b;
  m3 = c, m4 = d;
  m6 = x, m7 = y;
}

bool KSoftMatrix3D::IsOrth() const { return KeepsAxes(m0, m1, m3, m4); }
