// Curves: the choice of a form.
#include "kalvora/geometry/curves.h"

#include "kalvora/geometry/halving/forms.h"
#include "kalvora/support/processor.h"

namespace kalvora {
namespace {

#if defined(__x86_64__) || defined(__aarch64__)
constexpr bool kHasVectors = true;
#elif KALVORA_POINT_VECTORS
const bool kHasVectors = WidestVectors() != Vectors::kNone;
#endif

}  // namespace

template <int ORDER>
int FlattenCurve(const KVertex2D& start, const KVertex2D* rest, KVertex2D* out,
                 const Flatness& flatness) {
#if KALVORA_POINT_VECTORS
  if (kHasVectors) return vectors::FlattenCurve<ORDER>(start, rest, out, flatness);
#endif
  return words::FlattenCurve<ORDER>(start, rest, out, flatness);
}

template int FlattenCurve<2>(const KVertex2D&, const KVertex2D*, KVertex2D*, const Flatness&);
template int FlattenCurve<3>(const KVertex2D&, const KVertex2D*, KVertex2D*, const Flatness&);

}  // namespace kalvora
