// KMatrix2D: products, inverse, shape.
#include "kalvora/core/KMatrix2D.h"

#include "kalvora/core/linear.h"

using namespace kalvora;

KMatrix2D::KMatrix2D() : m{}, kind(4) { Identity(); }

void KMatrix2D::Identity() { Set(kOne, kZero, kZero, kOne); }

void KMatrix2D::Set(KFixed a, KFixed b, KFixed c, KFixed d) {
  m[0] = a, m[1] = b;
  m[3] = c, m[4] = d;
}

void KMatrix2D::Get(KFixed& a, KFixed& b, KFixed& c, KFixed& d) const {
  a = m[0], b = m[1];
  c = m[3], d = m[4];
}

KMatrix2D& KMatrix2D::operator*=(const KMatrix2D* other) {
  if (other == nullptr) return *this;
  KFixed a, b, c, d, p, q, r, s;
  Get(a, b, c, d);
  other->Get(p, q, r, s);
  Set(p * a + q * c, p * b + q * d, r * a + s * c, r * b + s * d);
  return *this;
}

void KMatrix2D::Combine(const KMatrix2D* b) {
  if (b == nullptr) return;
  KMatrix2D product = *b;
  product *= this;
  *this = product;
}

KMatrix2D& KMatrix2D::operator*=(KFixed s) {
  Set(m[0] * s, m[1] * s, m[3] * s, m[4] * s);
  return *this;
}

KMatrix2D& KMatrix2D::operator+=(const KMatrix2D* b) {
  if (b != nullptr) Set(m[0] + b->m[0], m[1] + b->m[1], m[3] + b->m[3], m[4] + b->m[4]);
  return *this;
}

KMatrix2D& KMatrix2D::operator-=(const KMatrix2D* b) {
  if (b != nullptr) Set(m[0] - b->m[0], m[1] - b->m[1], m[3] - b->m[3], m[4] - b->m[4]);
  return *this;
}

KMatrix2D& KMatrix2D::operator-() {
  Set(-m[0], -m[1], -m[3], -m[4]);
  return *this;
}

KFixed KMatrix2D::Determinant() const { return m[0] * m[4] - m[1] * m[3]; }

void KMatrix2D::Inverse() {
  const KFixed k = kOne / Determinant();
  Set(m[4] * k, -m[1] * k, -m[3] * k, m[0] * k);
}

bool KMatrix2D::IsOrth() const { return KeepsAxes(m[0], m[1], m[3], m[4]); }
