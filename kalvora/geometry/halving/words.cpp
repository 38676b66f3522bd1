// Halving in words.
#include <algorithm>
#include <bit>

#include "kalvora/geometry/halving/halve.h"

namespace kalvora::words {
namespace {

// (a + b) / 2, rounded down, without a carry to lose.
KFixed Middle(KFixed a, KFixed b) {
  return KFixed::FromRaw((a.raw & b.raw) + ((a.raw ^ b.raw) >> 1));
}

class Judge {
 public:
  Judge(const Flatness& flatness, const KVertex2D* curve, int order)
      : quick_(WidthOf(curve, order), flatness.bound), bound_(flatness.bound) {}

  /// A curve of ORDER + 1 points, last to first. The two control points are measured each on its
  /// own: on opposite sides of the chord their deviations would cancel, and an S would become a
  /// line.
  template <int ORDER>
  bool IsFlat(const KVertex2D* p) const {
    const QuickTest::Verdict verdict = Ask<ORDER>(p, quick_);
    return verdict == QuickTest::kUnsure ? IsSurelyFlat<ORDER>(p) : verdict == QuickTest::kFlat;
  }

 private:
  template <int ORDER, typename Test>
  static auto Ask(const KVertex2D* p, const Test& test) {
    return test(p[0] - p[ORDER], p[ORDER - 1] - p[ORDER],
                ORDER == 3 ? p[1] - p[0] : KVertex2D::Origin);
  }
  template <int ORDER>
  [[gnu::noinline]] bool IsSurelyFlat(const KVertex2D* p) const {
    return Ask<ORDER>(p, [this](KVertex2D chord, KVertex2D a, KVertex2D b) {
      return kalvora::IsFlat(chord, a, b, bound_);
    });
  }
  /// How many bits distances between points of the curve have at the most, if it lies where none
  /// wraps around; else 32.
  static int WidthOf(const KVertex2D* p, int order) {
    const auto bits = [](KVertex2D v) {
      return static_cast<std::uint32_t>((v.x.raw ^ v.x.raw >> 31) | (v.y.raw ^ v.y.raw >> 31));
    };
    std::uint32_t farthest = bits(p[0]), longest = 0;
    for (int i = 1; i <= order; ++i) {
      farthest |= bits(p[i]);
      longest |= bits(p[i] - p[0]);
    }
    return farthest >> 30 ? 32 : static_cast<int>(std::bit_width(longest)) + 1;
  }

  const QuickTest quick_;
  const std::uint32_t bound_;
};

/// A curve of ORDER + 1 points, last to first, which its halves take the place of: the later one
/// and then the earlier one, which share a point.
template <int ORDER>
struct Curve {
  KVertex2D* p;

  void PutStart(KVertex2D* out) const { *out = p[ORDER]; }
  void PutEnd(KVertex2D* out) const { *out = p[0]; }
  bool IsFlat(const Judge& judge) const { return judge.IsFlat<ORDER>(p); }
  Curve Split() {
    Split<&KVertex2D::x>();
    Split<&KVertex2D::y>();
    const Curve later{p};
    p += ORDER;
    return later;
  }

 private:
  template <KFixed KVertex2D::*C>
  void Split() {
    const KFixed first = p[ORDER].*C, last = p[0].*C;
    const KFixed p01 = Middle(first, p[ORDER - 1].*C),
                 p12 = Middle(p[ORDER - 1].*C, p[ORDER - 2].*C);
    p[2 * ORDER].*C = first;
    p[2 * ORDER - 1].*C = p01;
    if constexpr (ORDER == 2) {
      p[2].*C = Middle(p01, p12);
      p[1].*C = p12;
    } else {
      const KFixed p23 = Middle(p[1].*C, last), p012 = Middle(p01, p12), p123 = Middle(p12, p23);
      p[4].*C = p012;
      p[3].*C = Middle(p012, p123);
      p[2].*C = p123;
      p[1].*C = p23;
    }
  }
};

}  // namespace

template <int ORDER>
int FlattenCurve(const KVertex2D& start, const KVertex2D* rest, KVertex2D* out,
                 const Flatness& flatness) {
  KVertex2D points[ORDER * (kMostPending + 1) + 1];
  std::reverse_copy(rest, rest + ORDER, points);
  points[ORDER] = start;
  const Judge judge(flatness, points, ORDER);
  return Halve(Curve<ORDER>{points}, judge, out);
}

template int FlattenCurve<2>(const KVertex2D&, const KVertex2D*, KVertex2D*, const Flatness&);
template int FlattenCurve<3>(const KVertex2D&, const KVertex2D*, KVertex2D*, const Flatness&);

}  // namespace kalvora::words
