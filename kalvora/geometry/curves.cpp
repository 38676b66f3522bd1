// Curves: adaptive halving.
#include "kalvora/geometry/curves.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "kalvora/geometry/KStroker.h"

namespace kalvora {
namespace {

constexpr int kMostPending = 10;

// Both forms of a curve decide and halve to the last bit as the other does: in vectors where all
// processors have them, and in words.

#if defined(__x86_64__) || defined(__aarch64__)

// Vectors -----------------------------------------------------------------------------------------

// Both coordinates of two points.
typedef std::int32_t Points __attribute__((vector_size(16)));
typedef std::uint32_t Bits __attribute__((vector_size(16)));
typedef float Floats __attribute__((vector_size(16)));

/// Loaded one by one, as they have been stored: a load of both would have to wait for the stores.
Points TwoOf(const KVertex2D* p) {
  typedef std::uint64_t Words __attribute__((vector_size(16)));
  return reinterpret_cast<Points>(
      Words{std::bit_cast<std::uint64_t>(p[0]), std::bit_cast<std::uint64_t>(p[1])});
}
/// (a + b) / 2, rounded down, without a carry to lose.
Points Middle(Points a, Points b) { return (a & b) + ((a ^ b) >> 1); }
Points Minus(Points a, Points b) {
  return reinterpret_cast<Points>(reinterpret_cast<Bits>(a) - reinterpret_cast<Bits>(b));
}
/// Two of the points of a and b, 0 to 3.
template <int I, int J>
Points Pick(Points a, Points b) {
  return __builtin_shufflevector(a, b, 2 * I, 2 * I + 1, 2 * J, 2 * J + 1);
}
template <int I>
KVertex2D PointOf(Points p) {
  return {KFixed::FromRaw(p[2 * I]), KFixed::FromRaw(p[2 * I + 1])};
}
/// x and y of each point exchanged.
template <typename Vector>
Vector Turned(Vector v) {
  return __builtin_shufflevector(v, v, 1, 0, 3, 2);
}
/// The first two and the last two changed places.
Floats Swapped(Floats v) { return __builtin_shufflevector(v, v, 2, 3, 0, 1); }

/// Decides most of IsFlat by its terms squared, in numbers that are right to 22 bits.
class Judge {
 public:
  Judge(const Flatness& flatness, const KVertex2D*, int) : flatness_(flatness) {}

  /// For a chord as (x, y, -x, -y) and the legs a and b.
  bool IsFlat(Points chord, Points legs) const {
    const Floats c = __builtin_convertvector(Turned(chord), Floats);
    const Floats a = __builtin_convertvector(legs, Floats);
    const Floats squares = c * c, products = a * c;
    const float length = squares[0] + squares[1];
    const Floats rest = squares - a * a, halves = rest + Swapped(rest);
    if (halves[0] + halves[1] > 0 && length <= flatness_.longest) {
      const Floats across = products - Turned(products);
      const float sum = std::abs(across[0]) + std::abs(across[2]), square = sum * sum;
      if (square >= flatness_.most * length) return false;
      if (square < flatness_.least * length) return true;
    }
    return IsSurelyFlat(chord, legs);
  }

 private:
  [[gnu::noinline]] bool IsSurelyFlat(Points chord, Points legs) const {
    return kalvora::IsFlat(PointOf<0>(chord), PointOf<0>(legs), PointOf<1>(legs), flatness_.bound);
  }

  const Flatness& flatness_;
};

/// A curve of ORDER + 1 points: the first and the last two of them.
template <int ORDER>
struct Curve {
  Points head, tail;

  // The two control points are measured each on its own: on opposite sides of the chord their
  // deviations would cancel, and an S would become a line.
  bool IsFlat(const Judge& judge) const {
    const Points ends = Pick<0, 3>(head, tail), controls = Pick<1, 2>(head, tail);
    const Points legs = Minus(controls, ends), chord = Minus(Pick<1, 0>(ends, ends), ends);
    return judge.IsFlat(chord, ORDER == 3 ? legs : Pick<0, 2>(legs, Points{}));
  }
  /// Becomes the half before t = 1/2 and returns the one behind it.
  Curve Split() {
    const Points inner = Pick<1, 2>(head, tail);
    const Points before = Middle(head, ORDER == 3 ? inner : tail);
    const Points behind = ORDER == 3 ? Middle(inner, tail) : before;
    const Points controls = ORDER == 3 ? Middle(before, behind) : before;
    const Points middle = Middle(controls, Pick<1, 0>(controls, controls));
    const Curve later{Pick<0, 3>(middle, controls), Pick<1, 3>(behind, tail)};
    head = Pick<0, 2>(head, before);
    tail = Pick<0, 2>(controls, middle);
    return later;
  }
};

/// The halves that are still to do, the first of them on top.
template <int ORDER>
class Halves {
 public:
  explicit Halves(const KVertex2D* p) : top_{TwoOf(p), TwoOf(p + ORDER - 1)} {}

  bool IsFlat(const Judge& judge) const { return top_.IsFlat(judge); }
  KVertex2D Start() const { return PointOf<0>(top_.head); }
  void Split() { *waiting_++ = top_.Split(); }
  void Drop() { top_ = *--waiting_; }

 private:
  Curve<ORDER> top_, below_[kMostPending], *waiting_ = below_;
};

#else

// Words -------------------------------------------------------------------------------------------

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

/// The halves that are still to do, last to first, the first of them on top. Neighbours share their
/// point.
template <int ORDER>
class Halves {
 public:
  explicit Halves(const KVertex2D* p) { std::reverse_copy(p, p + ORDER + 1, points_); }

  bool IsFlat(const Judge& judge) const { return judge.IsFlat<ORDER>(top_); }
  KVertex2D Start() const { return top_[ORDER]; }
  void Split() {
    Split<&KVertex2D::x>(top_);
    Split<&KVertex2D::y>(top_);
    top_ += ORDER;
  }
  void Drop() { top_ -= ORDER; }

 private:
  /// One coordinate of the halves at t = 1/2, in place of the whole, the later half first.
  template <KFixed KVertex2D::*C>
  static void Split(KVertex2D* p) {
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

  KVertex2D points_[ORDER * (kMostPending + 1) + 1];
  KVertex2D* top_ = points_;
};

#endif

}  // namespace

// A piece is taken as straight when it is flat enough, when too many halves are still to do, or
// when the points left are just enough for them.
template <int ORDER>
int FlattenCurve(const KVertex2D* curve, KVertex2D* out, int stride, const Flatness& flatness) {
  constexpr int kMostPieces = KStroker::kMaxCurvePoints - 1;  // the end point takes the last place
  const Judge judge(flatness, curve, ORDER);
  Halves<ORDER> halves(curve);
  int pending = 0;
  for (int pieces = 1;; ++pieces) {
    while (pending < kMostPending && pieces + pending < kMostPieces && !halves.IsFlat(judge)) {
      halves.Split();
      ++pending;
    }
    *out = halves.Start();
    out += stride;
    if (pending == 0) {
      *out = curve[ORDER];
      return pieces + 1;
    }
    halves.Drop();
    --pending;
  }
}

template int FlattenCurve<2>(const KVertex2D*, KVertex2D*, int, const Flatness&);
template int FlattenCurve<3>(const KVertex2D*, KVertex2D*, int, const Flatness&);

}  // namespace kalvora
