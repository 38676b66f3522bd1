// The forms of halving: a curve into straight pieces, in words, and in vectors of two points where
// the processor has them. Both give the same points to the last bit.
#ifndef KALVORA_GEOMETRY_HALVING_FORMS_H
#define KALVORA_GEOMETRY_HALVING_FORMS_H

#include "kalvora/geometry/flatness.h"

// On ARMv7 the file is compiled for NEON, and used where the kernel reports it.
#if defined(__x86_64__) || defined(__aarch64__) || (defined(__arm__) && __ARM_ARCH >= 7)
#define KALVORA_POINT_VECTORS 1
#else
#define KALVORA_POINT_VECTORS 0
#endif

#define KALVORA_DECLARE_FORM(form)                                                    \
  namespace form {                                                                    \
  template <int ORDER>                                                                \
  int FlattenCurve(const KVertex2D& start, const KVertex2D* rest, KVertex2D* out,     \
                   const Flatness& flatness);                                         \
  extern template int FlattenCurve<2>(const KVertex2D&, const KVertex2D*, KVertex2D*, \
                                      const Flatness&);                               \
  extern template int FlattenCurve<3>(const KVertex2D&, const KVertex2D*, KVertex2D*, \
                                      const Flatness&);                               \
  }
namespace kalvora {
KALVORA_DECLARE_FORM(words)
#if KALVORA_POINT_VECTORS
KALVORA_DECLARE_FORM(vectors)
#endif
}  // namespace kalvora
#undef KALVORA_DECLARE_FORM

#endif
