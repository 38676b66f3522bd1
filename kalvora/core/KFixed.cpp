// KFixed: conversions, division, roots, logarithms and angles.
#include "kalvora/core/KFixed.h"

#include <bit>

#include "kalvora/core/circle.h"
#include "kalvora/core/division.h"
#include "kalvora/core/roots.h"

using namespace kalvora;

const float KFloat::NaN = std::bit_cast<float>(0x7FC00000u);

namespace {

// floor(a b / 2^16) without a KFixed around it.
constexpr std::int32_t Mul(std::int32_t a, std::int32_t b) {
  return (KFixed::FromRaw(a) * KFixed::FromRaw(b)).raw;
}

}  // namespace

// Conversions -------------------------------------------------------------------------------------

KFixed& KFixed::operator=(float value) {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  raw = 0;
  if (bits << 1 == 0) return *this;
  const std::uint32_t significand = (bits & 0x7FFFFF) | 0x800000;
  const int shift = static_cast<int>(bits >> 23 & 0xFF) - 134;
  const std::uint32_t magnitude =
      shift > 0 ? ShiftLeft(significand, shift) : ShiftRight(significand, -shift);
  raw = WithSign(magnitude, bits >> 31 != 0);
  return *this;
}

KFixed::operator float() const {
  if (raw == 0) return 0.0f;
  const std::uint32_t magnitude = Magnitude(raw);
  const int top = HighestBit(magnitude);
  const std::uint32_t significand = top <= 23 ? magnitude << (23 - top) : magnitude >> (top - 23);
  const std::uint32_t exponent = static_cast<std::uint32_t>(top) + 111;
  return std::bit_cast<float>((Bits() & 0x80000000u) | exponent << 23 | (significand & 0x7FFFFF));
}

// Division ----------------------------------------------------------------------------------------

KFixed KFixed::operator/(KFixed b) const {
  if (raw == 0) return kZero;
  constexpr auto quotient = kHasDivider32 ? QuotientDivider : QuotientLoop;
  return FromRaw(WithSign(quotient(Magnitude(raw), Magnitude(b.raw)), (raw ^ b.raw) < 0));
}

KFixed KFixed::Inverse(KFixed x) {
  constexpr auto reciprocal = kHasDivider32 ? ReciprocalDivider : ReciprocalLoop;
  return FromRaw(WithSign(reciprocal(Magnitude(x.raw)), x.raw < 0));
}

KFixed KFixed::MulDiv(KFixed a, KFixed b, KFixed c) {
  constexpr auto mulDiv = kHasDivider32 ? MulDivDivider : MulDivLoop;
  return FromRaw(WithSign(mulDiv(Magnitude(a.raw), Magnitude(b.raw), Magnitude(c.raw)),
                          (a.raw ^ b.raw ^ c.raw) < 0));
}

KDivMod DivMod(int a, int b) {
  constexpr auto divMod = kHasDivider32 ? DivModDivider : DivModLoop;
  const auto [quotient, remainder] = divMod(Magnitude(a), Magnitude(b));
  return {WithSign(quotient, (a ^ b) < 0), WithSign(remainder, a < 0)};
}

// Roots and logarithms ----------------------------------------------------------------------------

KFixed KFixed::Sqrt(KFixed x) {
  if (x.raw == 0) return kZero;
  std::uint32_t rest = x.Bits();
  const std::uint32_t root = Root(rest);
  rest -= root * root;
  // Eight more bits, of the first-order correction rest / (2 root).
  std::uint32_t result = root << 8;
  rest <<= 8;
  if (rest == 0) return FromBits(result);
  for (int k = 0; k <= 7; ++k) {
    const std::uint32_t trial = result >> k;
    if (trial <= rest) {
      rest -= trial;
      result |= 0x80u >> k;
    }
  }
  return FromBits(result);
}

KFixed KFixed::Log2(KFixed x) {
  if (x.raw == 0) return kZero;
  const int top = HighestBit(x.Bits());
  int exponent = top - 16;
  std::int32_t m = 0;
  if (top < 17) {
    m = static_cast<std::int32_t>(x.Bits() << (16 - top));
  } else if (top > 17) {
    // The normalisation fits only x < 2.0, and stays as it is because clients have its values: in
    // [2, 4) the mantissa is 0, above it lies in [2, 4), where only its lower end is right.
    exponent = top - 17;
    m = x.raw >> exponent;
  }
  const std::int32_t cubic = Mul(Mul(Mul(m, 10371) - 68935, m) + 199746, m) - 141139;
  return FromRaw(cubic + exponent * kOne.raw);
}

KFixed KFixed::Pow2(KFixed x) {
  const std::int32_t n = Ceil(x);
  if (n > 16 || n <= -32) return kZero;
  const std::int32_t f = x.raw - n * kOne.raw;
  const auto p = static_cast<std::uint32_t>(Mul(Mul(f, 11272) + 43878, f) + 65455);
  return FromBits(n >= 0 ? p << n : p >> -n);
}

// Angles ------------------------------------------------------------------------------------------

namespace {

enum Column { kSine = 0, kCosine = 2 };

// The table's line at u in [0, 90] degrees.
std::int32_t Line(KFixed u, Column column) {
  // 26214 / 65536 lies just below 1 / 2.5, so that 90 degrees finds row 35.
  const std::int64_t row = std::int64_t{u.raw} * 26214 >> 32;
  const std::int32_t* entry = &KFixed::KSinCos[row][column];
  return (Mul(u.raw, entry[0]) + entry[1]) >> 7;
}

// The angle itself in [0, 360] degrees; others are brought there by whole turns.
KFixed Reduce(KFixed degrees) {
  if (degrees >= kZero && degrees <= kTurn) return degrees;
  const std::int32_t rest = degrees.raw % kTurn.raw;
  return KFixed::FromRaw(rest < 0 ? rest + kTurn.raw : rest);
}

}  // namespace

KFixed KFixed::Sin(KFixed degrees) {
  KFixed t = Reduce(degrees);
  const bool negative = t >= kHalfTurn;
  if (negative) t -= kHalfTurn;
  const std::int32_t value = Line(t <= kQuarterTurn ? t : kHalfTurn - t, kSine);
  return FromRaw(negative ? -value : value);
}

KFixed KFixed::Cos(KFixed degrees) {
  KFixed t = Reduce(degrees);
  if (t > kHalfTurn) t = kTurn - t;
  if (t > kQuarterTurn) return FromRaw(-Line(kHalfTurn - t, kCosine));
  return FromRaw(Line(t, kCosine));
}

KFixed KFixed::ArcTan(KFixed x, KFixed y) {
  if (y.raw == 0) return x.raw < 0 ? kHalfTurn : kZero;
  KFixed angle = kZero;
  if (x.raw < 0) {
    x = -x;
    y = -y;
    angle = kHalfTurn;
  }
  // Every x but 0 is scaled down, however small: it costs two low bits, and results depend on it.
  if (x.raw != 0 || Magnitude(y.raw) >= 1u << 30) {
    x.raw >>= 2;
    y.raw >>= 2;
  }
  for (int i = 0; i < 23; ++i) {
    // Turned back where y is below 0, without a jump: nobody foresees that.
    const std::int32_t back = y.raw >> 31;
    const auto turned = [back](std::int32_t v) { return FromRaw((v ^ back) - back); };
    const KFixed dx = turned(y.raw >> i);
    y -= turned(x.raw >> i);
    x += dx;
    angle += turned(KATan[i]);
  }
  return angle.raw < 0 ? angle + kTurn : angle;
}
