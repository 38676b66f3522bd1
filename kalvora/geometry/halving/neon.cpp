// Halving in vectors of NEON, one for each point.
#include "kalvora/geometry/halving/halve.h"

#if defined(__ARM_NEON)

#include <bit>

#include <arm_neon.h>

namespace kalvora::vectors {
namespace {

/// Decides most of IsFlat by its terms squared, in numbers that are right to 22 bits.
class Judge {
 public:
  explicit Judge(const Flatness& flatness)
      : bounds_(vld1_f32(flatness.bounds)),
        longest_(std::bit_cast<std::uint32_t>(flatness.longest)),
        bound_(flatness.bound) {}

  bool IsFlat(int32x2_t chord, int32x2_t a, int32x2_t b) const {
    const float32x2_t c = vcvt_f32_s32(chord), first = vcvt_f32_s32(a), second = vcvt_f32_s32(b);
    // The squares of the chord, which must be above 0, and of the legs, together less than twice
    // that. The bits of numbers that are not negative compare like the numbers.
    constexpr std::int32_t kTwice = 1 << 23;
    const float32x2_t squares =
        vpadd_f32(vmul_f32(c, c), vmla_f32(vmul_f32(first, first), second, second));
    const std::int32_t length = Bits<0>(squares);
    if (Bits<1>(squares) - kTwice < length && static_cast<std::uint32_t>(length) - 1 < longest_) {
      const float32x2_t normal = vmul_f32(vrev64_f32(c), float32x2_t{1, -1});
      float32x2_t across = vabs_f32(vpadd_f32(vmul_f32(first, normal), vmul_f32(second, normal)));
      across = vpadd_f32(across, across);
      const std::int32_t square = Bits<0>(vmul_f32(across, across));
      const float32x2_t bounds = vmul_lane_f32(bounds_, squares, 0);
      if (square >= Bits<1>(bounds)) return false;
      if (square < Bits<0>(bounds)) return true;
    }
    return IsSurelyFlat(chord, a, b, bound_);
  }

 private:
  template <int I>
  static std::int32_t Bits(float32x2_t v) {
    return vget_lane_s32(vreinterpret_s32_f32(v), I);
  }
  [[gnu::noinline]] static bool IsSurelyFlat(int32x2_t chord, int32x2_t a, int32x2_t b,
                                             std::uint32_t bound) {
    const auto point = [](int32x2_t v) {
      return KVertex2D{KFixed::FromRaw(vget_lane_s32(v, 0)), KFixed::FromRaw(vget_lane_s32(v, 1))};
    };
    return kalvora::IsFlat(point(chord), point(a), point(b), bound);
  }

  const float32x2_t bounds_;
  const std::uint32_t longest_;
  const std::uint32_t bound_;
};

int32x2_t Load(const KVertex2D& p) { return vld1_s32(&p.x.raw); }

/// From the first to the last point, by way of one or two.
template <int ORDER>
struct Curve {
  int32x2_t start, first, second, end;

  void PutStart(KVertex2D* out) const { vst1_s32(&out->x.raw, start); }
  void PutEnd(KVertex2D* out) const { vst1_s32(&out->x.raw, end); }
  // The two control points are measured each on its own: on opposite sides of the chord their
  // deviations would cancel, and an S would become a line.
  bool IsFlat(const Judge& judge) const {
    return judge.IsFlat(vsub_s32(end, start), vsub_s32(first, start),
                        ORDER == 3 ? vsub_s32(second, end) : vdup_n_s32(0));
  }
  /// Becomes the half before t = 1/2 and returns the one behind it. Middles are rounded down.
  Curve Split() {
    const int32x2_t before = vhadd_s32(start, first);
    if constexpr (ORDER == 2) {
      const int32x2_t behind = vhadd_s32(first, end), middle = vhadd_s32(before, behind);
      const Curve later{middle, behind, behind, end};
      *this = {start, before, before, middle};
      return later;
    }
    const int32x2_t inner = vhadd_s32(first, second), behind = vhadd_s32(second, end);
    const int32x2_t left = vhadd_s32(before, inner), right = vhadd_s32(inner, behind);
    const int32x2_t middle = vhadd_s32(left, right);
    const Curve later{middle, right, behind, end};
    *this = {start, before, left, middle};
    return later;
  }
};

}  // namespace

template <int ORDER>
int FlattenCurve(const KVertex2D& start, const KVertex2D* rest, KVertex2D* out,
                 const Flatness& flatness) {
  const Curve<ORDER> whole{Load(start), Load(rest[0]), Load(rest[ORDER - 2]),
                           Load(rest[ORDER - 1])};
  return Halve(whole, Judge(flatness), out);
}

template int FlattenCurve<2>(const KVertex2D&, const KVertex2D*, KVertex2D*, const Flatness&);
template int FlattenCurve<3>(const KVertex2D&, const KVertex2D*, KVertex2D*, const Flatness&);

}  // namespace kalvora::vectors

#endif
