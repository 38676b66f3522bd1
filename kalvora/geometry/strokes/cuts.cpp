// Cuts in vectors of NEON.
#include "kalvora/geometry/strokes/cuts.h"

#if KALVORA_CURVE_VECTORS

#include <arm_neon.h>

namespace kalvora::vectors {
namespace {

/// Bezier::Cut.
template <int ORDER, typename Between>
void CutCurve(const Bezier<ORDER>& whole, Bezier<ORDER>& before, Bezier<ORDER>& after,
              Between between) {
  const auto store = [](Vector& to, int64x2_t v) { vst1q_s64(&to.x, v); };
  int64x2_t p[ORDER + 1], legs[ORDER];
#pragma GCC unroll 4
  for (int i = 0; i <= ORDER; ++i) p[i] = vld1q_s64(&whole.p[i].x);
#pragma GCC unroll 3
  for (int i = 0; i < ORDER; ++i) legs[i] = between(p[i], p[i + 1]);
  store(before.p[0], p[0]);
  store(before.p[1], legs[0]);
  store(after.p[ORDER - 1], legs[ORDER - 1]);
  store(after.p[ORDER], p[ORDER]);
  int64x2_t left = legs[0], right = legs[ORDER - 1];
  if constexpr (ORDER == 3) {
    left = between(left, legs[1]);
    right = between(legs[1], right);
    store(before.p[2], left);
    store(after.p[1], right);
  }
  const int64x2_t at = between(left, right);
  store(before.p[ORDER], at);
  store(after.p[0], at);
}

}  // namespace

template <int ORDER>
void Halve(const Bezier<ORDER>& whole, Bezier<ORDER>& before, Bezier<ORDER>& after) {
  CutCurve(whole, before, after,
           [](int64x2_t a, int64x2_t b) { return vshrq_n_s64(vaddq_s64(a, b), 1); });
}

template <int ORDER>
void Cut(const Bezier<ORDER>& whole, Bezier<ORDER>& before, Bezier<ORDER>& after, std::int32_t t,
         bool hasShortLegs) {
  const int32x2_t part = vdup_n_s32(t);
  if (hasShortLegs) {
    CutCurve(whole, before, after, [part](int64x2_t a, int64x2_t b) {
      return vsraq_n_s64(a, vmull_s32(vmovn_s64(vsubq_s64(b, a)), part), Unit::kBits);
    });
    return;
  }
  // Part of a component is 2 (v / 2) t + (v & 1) t below 2^32, and of its upper bits else.
  CutCurve(whole, before, after, [part](int64x2_t a, int64x2_t b) {
    const int64x2_t v = vsubq_s64(b, a);
    const int32x2_t odd = vand_s32(vmovn_s64(v), vdup_n_s32(1));
    const int64x2_t near = vmlal_s32(vqdmull_s32(vshrn_n_s64(v, 1), part), odd, part);
    const int64x2_t far = vmull_s32(vshrn_n_s64(v, 18), part);
    const int32x2_t high = vshrn_n_s64(v, 32);
    const int64x2_t isNear = vmovl_s32(vreinterpret_s32_u32(vceq_s32(high, vshr_n_s32(high, 31))));
    return vaddq_s64(a, vbslq_s64(vreinterpretq_u64_s64(isNear), vshrq_n_s64(near, Unit::kBits),
                                  vshrq_n_s64(far, Unit::kBits - 18)));
  });
}

template void Halve(const Bezier<2>&, Bezier<2>&, Bezier<2>&);
template void Halve(const Bezier<3>&, Bezier<3>&, Bezier<3>&);
template void Cut(const Bezier<2>&, Bezier<2>&, Bezier<2>&, std::int32_t, bool);
template void Cut(const Bezier<3>&, Bezier<3>&, Bezier<3>&, std::int32_t, bool);

}  // namespace kalvora::vectors

#endif
