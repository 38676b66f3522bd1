// Curves into straight pieces, cut finely enough for a tolerance.
#ifndef KALVORA_GEOMETRY_CURVES_H
#define KALVORA_GEOMETRY_CURVES_H

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "kalvora/core/KVertex2D.h"

namespace kalvora {

/// Write the start of every straight piece and then the end point, `stride` entries apart, and
/// return the number of points, at most KStroker::kMaxCurvePoints. A piece is straight when its
/// deviation is below twice the tolerance.
int FlattenCubic(KVertex2D* out, const KVertex2D (&points)[4], int stride, KFixed tolerance);
int FlattenQuadratic(KVertex2D* out, const KVertex2D (&points)[3], int stride, KFixed tolerance);

/// Whether the deviation of a curve, which is how far the legs a and b from its ends to its control
/// points reach across its chord together, is below `bound`.
///
/// The measure is the one of the table: the chord's angle by ArcTan, its sine and cosine. IsFlat
/// decides the same by cross products, and asks the table only within a hair of the bound.
bool IsFlat(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound);
bool IsFlatByTable(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound);

/// Decides most of IsFlat for the pieces of a curve, in products of single words: where these have
/// 32 bits, of vectors scaled down to 15.
template <typename Signed>
class QuickTestIn {
 public:
  enum Verdict { kFlat, kBent, kUnsure };

  /// Distances between points of the curve have `width` bits at the most.
  QuickTestIn(int width, std::uint32_t bound)
      : shift_(std::max(width - kBits, 0)),
        fits_(width <= 30 && bound >> shift_ <= Word{1} << (kBits - 1)),
        least_(bound >> shift_),
        most_(least_ + 1),
        legSlack_((176u >> shift_) + 3) {}

  // The terms of IsFlat, with bounds of the chord's length that lie 12 % apart. What is scaled down
  // loses up to 1, a product of two up to their sum.
  Verdict operator()(KVertex2D chord, KVertex2D a, KVertex2D b) const {
    if (!fits_) return kUnsure;
    const Signed x = Scaled(chord.x), y = Scaled(chord.y);
    const Signed ax = Scaled(a.x), ay = Scaled(a.y), bx = Scaled(b.x), by = Scaled(b.y);
    const Word across = Size(ax * y - ay * x) + Size(bx * y - by * x);
    const Word legs = Size(ax) + Size(ay) + Size(bx) + Size(by) + 4;
    const Word longer = std::max(Size(x), Size(y)), shorter = std::min(Size(x), Size(y));
    const Word length = longer + (shorter >> 1) + 3;
    const Word slack = legs * ((length >> 12) + legSlack_) + 8 * length;
    if (across >= slack + most_ * length) return kBent;
    return across + slack + least_ < least_ * longer ? kFlat : kUnsure;
  }

 private:
  using Word = std::make_unsigned_t<Signed>;
  static constexpr int kBits = sizeof(Word) > 4 ? 30 : 15;

  Signed Scaled(KFixed v) const { return kBits < 30 ? v.raw >> shift_ : v.raw; }
  static Word Size(Signed v) { return static_cast<Word>(v < 0 ? -v : v); }

  int shift_;
  bool fits_;
  Word least_, most_;  // of the bound, scaled down
  Word legSlack_;
};
using QuickTest = QuickTestIn<std::intptr_t>;

}  // namespace kalvora

#endif
