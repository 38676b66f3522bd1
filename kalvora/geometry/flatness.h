// Flatness: when a piece of a curve counts as straight.
#ifndef KALVORA_GEOMETRY_FLATNESS_H
#define KALVORA_GEOMETRY_FLATNESS_H

#include <algorithm>
#include <cstdint>

#include "kalvora/core/KVertex2D.h"

namespace kalvora {

/// Whether the deviation of a curve, which is how far the legs a and b from its ends to its control
/// points reach across its chord together, is below `bound`.
///
/// The measure is the one of the table: the chord's angle by ArcTan, its sine and cosine. IsFlat
/// decides the same by cross products, and asks the table only within a hair of the bound.
bool IsFlat(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound);
bool IsFlatByTable(KVertex2D chord, KVertex2D a, KVertex2D b, std::uint32_t bound);

/// A tolerance for the deviation, and what quick tests make of it.
///
/// For legs that together have at most twice the chord's length, the hair is at most 356 +
/// |chord| / 2048 of what is compared with the bound. The squares leave as much room between them,
/// for chords of up to `longest`, and some more for the roundings of floating-point numbers.
struct Flatness {
  explicit constexpr Flatness(KFixed tolerance)
      : bound(tolerance.raw > 0 ? 2 * static_cast<std::uint32_t>(tolerance.raw) : 0) {
    const std::uint32_t hair = bound / 32 + 512;
    if (bound <= hair || bound > kMostBound) return;
    longest = Square(std::min((bound / 32 + 128) * 2000, kLongest));
    bounds[0] = Square(bound - hair);
    bounds[1] = Square(bound + hair);
  }

  std::uint32_t bound;  ///< pieces are straight when their deviation is below
  // Squares.
  float longest = 0;     ///< chords for which
  float bounds[2] = {};  ///< what is below the first, and not below the second, is for sure

 private:
  static constexpr std::uint32_t kMostBound = 1 << 26, kLongest = 1 << 28;

  static constexpr float Square(std::uint32_t v) {
    return static_cast<float>(std::uint64_t{v} * v);
  }
};

/// Decides most of IsFlat for the pieces of a curve, in products of 32 bits, of vectors scaled down
/// to 15.
class QuickTest {
 public:
  enum Verdict { kFlat, kBent, kUnsure };

  /// Distances between points of the curve have `width` bits at the most.
  QuickTest(int width, std::uint32_t bound)
      : shift_(std::max(width - kBits, 0)),
        fits_(width <= 30 && bound >> shift_ <= 1u << (kBits - 1)),
        least_(bound >> shift_),
        most_(least_ + 1),
        legSlack_((176u >> shift_) + 3) {}

  // The terms of IsFlat, with bounds of the chord's length that lie 12 % apart. What is scaled down
  // loses up to 1, and so does its size; a product of two up to their sum.
  Verdict operator()(KVertex2D chord, KVertex2D a, KVertex2D b) const {
    if (!fits_) return kUnsure;
    const std::int32_t x = Scaled(chord.x), y = Scaled(chord.y);
    const std::int32_t ax = Scaled(a.x), ay = Scaled(a.y), bx = Scaled(b.x), by = Scaled(b.y);
    const std::uint32_t across = Size(ax * y - ay * x) + Size(bx * y - by * x);
    const std::uint32_t legs = Size(ax) + Size(ay) + Size(bx) + Size(by) + 8;
    const std::uint32_t longer = std::max(Size(x), Size(y));
    const std::uint32_t length = ((Size(x) + Size(y) + longer) >> 1) + 5;
    const std::uint32_t slack = legs * ((length >> 12) + legSlack_) + 8 * length;
    if (across >= slack + most_ * length) return kBent;
    return across + slack + least_ < least_ * longer ? kFlat : kUnsure;
  }

 private:
  static constexpr int kBits = 15;

  std::int32_t Scaled(KFixed v) const { return v.raw >> shift_; }
  /// The magnitude, or that of a negative number less 1.
  static std::uint32_t Size(std::int32_t v) { return static_cast<std::uint32_t>(v ^ v >> 31); }

  int shift_;
  bool fits_;
  std::uint32_t least_, most_;  // of the bound, scaled down
  std::uint32_t legSlack_;
};

}  // namespace kalvora

#endif
