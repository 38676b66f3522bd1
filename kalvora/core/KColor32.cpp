// KColor32: channels scaled by alpha or by a weight, and as fixed-point numbers.
#include "kalvora/core/KColor32.h"

#include "kalvora/core/division.h"

KColor32 KColor32::PreMultiply() const {
  if (alpha == 255) return *this;
  const unsigned weight = alpha > 128 ? alpha + 1u : alpha;
  return {red * weight >> 8, green * weight >> 8, blue * weight >> 8, alpha};
}

KColor32 KColor32::Weight(unsigned w) const {
  return {red * w >> 8, green * w >> 8, blue * w >> 8, alpha * w >> 8};
}

void KColor32::GetColor(KFixed& r, KFixed& g, KFixed& b, KFixed& a) const {
  GetColor(r, g, b);
  a = KFixed::FromInt(alpha);
}

void KColor32::GetColor(KFixed& r, KFixed& g, KFixed& b) const {
  r = KFixed::FromInt(red);
  g = KFixed::FromInt(green);
  b = KFixed::FromInt(blue);
}

void KColor32::GetNormalizedColor(KFixed& r, KFixed& g, KFixed& b, KFixed& a) const {
  // 1 / 255.0, which is 257; worked out by the compiler.
  static constexpr KFixed Normalizer =
      KFixed::FromRaw(static_cast<std::int32_t>(kalvora::ReciprocalLoop(255 << 16)));
  GetColor(r, g, b, a);
  r *= Normalizer;
  g *= Normalizer;
  b *= Normalizer;
  a *= Normalizer;
}
