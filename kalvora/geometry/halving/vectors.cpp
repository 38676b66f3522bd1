// Halving in vectors of two points.
#include "kalvora/geometry/halving/halve.h"

#if KALVORA_POINT_VECTORS && !defined(__ARM_NEON)

#include <bit>

namespace kalvora::vectors {
namespace {

// Both coordinates of two points.
typedef std::int32_t Points __attribute__((vector_size(16)));
typedef std::uint32_t Bits __attribute__((vector_size(16)));
typedef float Floats __attribute__((vector_size(16)));

Points TwoOf(const KVertex2D& a, const KVertex2D& b) {
  // One by one, as they have been stored: a load of both would have to wait for the stores.
  typedef std::uint64_t Words __attribute__((vector_size(16)));
  return reinterpret_cast<Points>(
      Words{std::bit_cast<std::uint64_t>(a), std::bit_cast<std::uint64_t>(b)});
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

Floats Magnitudes(Floats v) {
  return reinterpret_cast<Floats>(reinterpret_cast<Bits>(v) & 0x7FFFFFFF);
}

/// Decides most of IsFlat by its terms squared, in numbers that are right to 22 bits.
class Judge {
 public:
  explicit Judge(const Flatness& flatness) : flatness_(flatness) {}

  /// For a chord as (x, y, -x, -y) and the legs a and b.
  bool IsFlat(Points chord, Points legs) const {
    const Floats c = __builtin_convertvector(Turned(chord), Floats);
    const Floats a = __builtin_convertvector(legs, Floats);
    // Sums are formed in vectors, of which the first element costs nothing.
    const Floats squares = c * c, products = a * c;
    const Floats rest = squares - a * a, halves = rest + Swapped(rest);
    const float length = (squares + Turned(squares))[0];
    if ((halves + Turned(halves))[0] > 0 && length <= flatness_.longest) {
      const Floats across = Magnitudes(products - Turned(products));
      const float sum = (across + Swapped(across))[0], square = sum * sum;
      if (square >= flatness_.bounds[1] * length) return false;
      if (square < flatness_.bounds[0] * length) return true;
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

  void PutStart(KVertex2D* out) const { *out = PointOf<0>(head); }
  void PutEnd(KVertex2D* out) const { *out = PointOf<1>(tail); }
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

}  // namespace

template <int ORDER>
int FlattenCurve(const KVertex2D& start, const KVertex2D* rest, KVertex2D* out,
                 const Flatness& flatness) {
  const Curve<ORDER> whole{TwoOf(start, rest[0]), TwoOf(rest[ORDER - 2], rest[ORDER - 1])};
  return Halve(whole, Judge(flatness), out);
}

template int FlattenCurve<2>(const KVertex2D&, const KVertex2D*, KVertex2D*, const Flatness&);
template int FlattenCurve<3>(const KVertex2D&, const KVertex2D*, KVertex2D*, const Flatness&);

}  // namespace kalvora::vectors

#endif
