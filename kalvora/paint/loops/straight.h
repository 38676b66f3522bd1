// The loop over one colour and rows that edges go straight through (KStraightEdges): an edge's
// coverage is computed for eight rows at a time, and never stored.
#ifndef KALVORA_PAINT_LOOPS_STRAIGHT_H
#define KALVORA_PAINT_LOOPS_STRAIGHT_H

#include "kalvora/paint/loops/color.h"
#include "kalvora/paint/loops/differences.h"
#include "kalvora/paint/loops/steps.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

using StraightLoop = void (*)(std::uint32_t* to, int n, const KStraightEdges& edges,
                              std::uint32_t c);

#if KALVORA_LANES != 8

constexpr StraightLoop kMixStraight = nullptr;

#else

inline __m256i AsBits(Words w) { return reinterpret_cast<__m256i>(w); }
inline Words FromBits(__m256i v) { return reinterpret_cast<Words>(v); }

/// The same word in every lane, which compilers do not make anew wherever it is used.
inline Words Kept(std::uint32_t word) {
  Words w = All(word);
  asm("" : "+x"(w));
  return w;
}

/// What is the same in all rows of an edge.
struct StraightEdge {
  static constexpr std::uint32_t kWhole = std::uint32_t{1} << KStraightEdges::kHeightBits;
  static constexpr std::int64_t kSteepest = std::int64_t{1} << 48;

  std::uint64_t low, step, width;  // of the row: its least x, and how much more the greatest is
  Words whole = Kept(kWhole), twice = Kept(2 * kWhole), fraction = Kept(0xFFFF);
  Words goesLeft, minusLeft;  // all bits, or none; 1 or 0

  /// Painting begins at it, or ends.
  StraightEdge(const KStraightEdges::Edge& edge, bool begins)
      : low(edge.place), step(edge.step), width(edge.step) {
    const bool left = static_cast<std::int64_t>(step) < 0;
    if (left) low += step, width = 0 - step;
    goesLeft = Kept(left ? ~0u : 0);
    minusLeft = Kept(left);
    reachedLeft_ = Kept(left ? kWhole + 1 : 0);
    ends_ = Kept(begins ? 0 : ~0u);
    rounded_ = Kept(begins ? Differences::kHalf : 2 * kWhole + Differences::kHalf + 1);
    gain_ = Kept(edge.gain);
    shift_ = _mm_cvtsi32_si128(edge.shift);
  }

  /// Whether it goes through two columns of a row at the most.
  bool IsNarrow() const { return static_cast<std::int64_t>(width) <= kSteepest; }
  /// R: of the rows' height, how much lies on the far side of borders, which are `distance` away
  /// from the end that is the upper one. Borders that the edge passes in a row are at most as far
  /// away as its other end, or a unit: so the products that matter fit into words.
  Words Reached(Words distance) const {
    const __m256i x = AsBits(distance), gain = AsBits(gain_);
    const __m256i even = _mm256_srl_epi64(_mm256_mul_epu32(x, gain), shift_);
    const __m256i odd = _mm256_srl_epi64(_mm256_mul_epu32(_mm256_srli_epi64(x, 32), gain), shift_);
    const __m256i height = _mm256_blend_epi32(even, _mm256_slli_epi64(odd, 32), 0xAA);
    return (FromBits(_mm256_min_epu32(height, AsBits(whole))) ^ goesLeft) + reachedLeft_;
  }
  /// The weights of pixels, of which that much lies to the right of the edge, twice.
  Words Weights(Words area) const {
    return ((area ^ ends_) + rounded_) >> (Differences::kFullBits - 8);
  }

 private:
  Words ends_, rounded_, gain_, reachedLeft_;
  __m128i shift_;
};

/// An edge in one or two columns of each row, eight rows at a time. With R of the border between
/// the two, and of a row of height 1:
///   one column   1 - frac((low + high) / 2)
///   the first    R (1 - frac(low)) / 2
///   the second   1 - (1 - R) frac(high) / 2
class NarrowRows {
 public:
  explicit NarrowRows(const StraightEdge& edge)
      : edge_(edge),
        low_(Rows(edge.low, edge.step)),
        lowToo_(Rows(edge.low + 2 * edge.step, edge.step)),
        width_(All64(edge.width)),
        next_(All64(8 * edge.step)) {}

  /// The first column in each row, and the weights of both, one above the other.
  void Next(std::int32_t* column, std::uint32_t* weights) {
    const Words low = HighWords(low_, lowToo_);
    const Words high = HighWords(_mm256_add_epi64(low_, width_), _mm256_add_epi64(lowToo_, width_));
    low_ = _mm256_add_epi64(low_, next_);
    lowToo_ = _mm256_add_epi64(lowToo_, next_);
    const Words left = FloorOf(low), two = Above(FloorOf(high), left);
    const Words begun = low & edge_.fraction, rest = full_ - begun, over = high & edge_.fraction;
    const Words reached = edge_.Reached(Select(edge_.goesLeft, over, rest));
    const Words one = edge_.twice - ((begun + over) << 10);
    const Words first = Select(two, Product16(reached, rest), one);
    const Words second = edge_.twice - (two & Product16(edge_.whole - reached, over));
    Store(column, left);
    Store(weights, edge_.Weights(first) | edge_.Weights(second) << 16);
  }

 private:
  static __m256i All64(std::uint64_t word) {
    return _mm256_set1_epi64x(static_cast<long long>(word));
  }
  // Rows 0, 1, 4, 5 from there on. The upper halves of two such vectors are eight rows in order.
  static __m256i Rows(std::uint64_t place, std::uint64_t step) {
    const auto row = [=](unsigned i) { return static_cast<long long>(place + i * step); };
    return _mm256_setr_epi64x(row(0), row(1), row(4), row(5));
  }
  static Words HighWords(__m256i a, __m256i b) {
    return FromBits(_mm256_castps_si256(
        _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0xDD)));
  }
  static Words FloorOf(Words fixed) { return reinterpret_cast<Words>(AsInts(fixed) >> 16); }

  const StraightEdge& edge_;
  const Words full_ = Kept(0x10000);
  __m256i low_, lowToo_, width_, next_;
};

/// A row, and the first pixel of it.
struct Rows {
  std::uint32_t* to;
  std::ptrdiff_t stride;
  int count;
};

// Eight rows at a time, two pixels in each of two rows; those that are not there end nowhere, as
// loops whose ends nobody foresees would cost more.
void MixNarrow(const Rows& rows, const StraightEdge& edge, std::int32_t* column,
               const ColorMixer& mix) {
  NarrowRows narrow(edge);
  std::uint32_t* to = rows.to;
  for (int i = 0; i < rows.count; i += kLanes) {
    std::uint32_t weights[kLanes], nowhere[2] = {};
    narrow.Next(column + i, weights);
#pragma GCC unroll 1
    for (int k = 0; k < kLanes; k += 2, to += 2 * rows.stride) {
      const auto pixels = [&](int row, std::uint32_t* first) {
        return reinterpret_cast<__m128i*>(i + row < rows.count ? first + column[i + row] : nowhere);
      };
      __m128i *const a = pixels(k, to), *const b = pixels(k + 1, to + rows.stride);
      const __m128i d = _mm_unpacklo_epi64(_mm_loadl_epi64(a), _mm_loadl_epi64(b));
      const __m128i mixed = mix(d, LoadAs<std::uint64_t>(weights + k));
      _mm_storel_epi64(a, mixed);
      _mm_storel_epi64(b, _mm_unpackhi_epi64(mixed, mixed));
    }
  }
}

/// An edge in two columns or more, row by row: as that in two, and between the first and the last
/// (R + R') / 2, with R' of the border to the right.
void MixWide(const Rows& rows, const StraightEdge& edge, bool begins, std::int32_t* column,
             Words c) {
  const Words series = Kept(0) + Series(0, 1), borders = Kept(0x10000) + Series(0, 0x10000);
  const Words turn = Kept(0) + Words{7, 0, 1, 2, 3, 4, 5, 6};
  std::uint32_t *to = rows.to, *first = to;
  std::uint64_t place = edge.low;
  Words fromLow{}, index{}, before{}, over{}, end{}, across{};
  int last = -1;
  // One loop instead of one in another: nearly all rows have but one vector.
  for (int i = 0, at = 0;; at += kLanes) {
    if (at > last) {
      if (i == rows.count) return;
      const auto low = static_cast<std::uint32_t>(place >> 32);
      const auto high = static_cast<std::uint32_t>((place + edge.width) >> 32);
      const int left = static_cast<std::int32_t>(low) >> 16;
      last = (static_cast<std::int32_t>(high) >> 16) - left;
      column[i++] = begins ? left + last - 1 : left;
      first = to + left;
      fromLow = borders - All(low & 0xFFFF);
      across = (All(high - low) & edge.goesLeft) + edge.minusLeft;
      over = All(high & 0xFFFF);
      end = All(static_cast<std::uint32_t>(last));
      index = series;
      to += rows.stride;
      place += edge.step;
      at = 0;
    }
    const Words reached = edge.Reached((fromLow ^ edge.goesLeft) + across);
    const Words turned = FromBits(_mm256_permutevar8x32_epi32(AsBits(reached), AsBits(turn)));
    const Words entered = FromBits(_mm256_blend_epi32(AsBits(turned), AsBits(before), 1));
    const Words isFirst = Equal(index, Words{});
    const Words part =
        Product16(Select(isFirst, reached, edge.whole - entered), Select(isFirst, fromLow, over));
    const Words area =
        Select(Equal(index, end), edge.twice - part, Select(isFirst, part, entered + reached));
    PixelsAt(first, at, Part(last + 1 - at),
             [&](Words d, auto) { return Lerp(d, c, Both(edge.Weights(area))); });
    before = turned;
    fromLow += Kept(8 * 0x10000);
    index += Kept(8);
  }
}

/// More pixels than a vector has. How many there are changes slowly from row to row, but not where
/// in memory they lie, so vectors overlap.
inline void FillMany(std::uint32_t* to, int n, Words c) {
  std::uint32_t* const end = to + n;
  if (n > 4 * kLanes) {
    do {
      for (int i = 0; i < 4; ++i) Store(to + i * kLanes, c);
      to += 4 * kLanes;
    } while (end - to > 4 * kLanes);
    to = end - 4 * kLanes;
  }
  Store(to, c);
  Store(end - kLanes, c);
  if (n <= 2 * kLanes) return;
  Store(to + kLanes, c);
  Store(end - 2 * kLanes, c);
}

// Columns between two edges.
void FillBetween(const Rows& rows, const std::int32_t* begins, const std::int32_t* ends, Words c) {
  std::uint32_t* to = rows.to;
  for (int i = 0; i < rows.count; ++i, to += rows.stride) {
    const int from = begins[i] + 2, n = ends[i] - from;
    if (n <= kLanes) {
      Part(n).Store(to + from, c);
    } else {
      FillMany(to + from, n, c);
    }
  }
}

void MixStraight(std::uint32_t* to, int n, const KStraightEdges& edges, std::uint32_t c) {
  const ColorMixer mix(c, false);
  const Words color = All(c);
  const Rows rows{to, edges.stride, edges.rows};
  // Two columns before those that are painted wholly, and behind them.
  std::int32_t begins[KStraightEdges::kMostRows], ends[KStraightEdges::kMostRows];
  const auto all = [](std::int32_t* columns, int column) {
    for (int i = 0; i < KStraightEdges::kMostRows; i += kLanes) {
      Store(columns + i, All(static_cast<std::uint32_t>(column)));
    }
  };
  all(begins, -2);
  bool inside = edges.inside;
  for (int i = 0; i < edges.count; ++i, inside = !inside) {
    const StraightEdge edge(edges.edge[i], !inside);
    std::int32_t* const column = inside ? ends : begins;
    if (edge.IsNarrow()) {
      MixNarrow(rows, edge, column, mix);
    } else {
      MixWide(rows, edge, !inside, column, color);
    }
    if (inside) FillBetween(rows, begins, ends, color);
  }
  if (!inside) return;
  all(ends, n);
  FillBetween(rows, begins, ends, color);
}

constexpr StraightLoop kMixStraight = MixStraight;

#endif

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
