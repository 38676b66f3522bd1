// Loops over one colour and rows of steps (KRowSteps): coverage is computed a vector at a time
// where it is needed, and never stored.
#ifndef KALVORA_PAINT_LOOPS_STEPS_H
#define KALVORA_PAINT_LOOPS_STEPS_H

#include "kalvora/paint/loops/color.h"
#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

using StepLoop = void (*)(const KRowSteps& steps, std::uint32_t c, bool blend);

// Without products and minima of words it is hardly faster than coverage in its line.
#if KALVORA_LANES == 1 || KALVORA_LANES == 4 && defined(__SSE2__)

constexpr StepLoop kMixSteps = nullptr;

#else

/// floor(a b / 2^16), products below 2^48
inline Words Product16(Words a, Words b) {
#if KALVORA_LANES == 8
  const auto x = reinterpret_cast<__m256i>(a), y = reinterpret_cast<__m256i>(b);
  const __m256i even = _mm256_srli_epi64(_mm256_mul_epu32(x, y), 16);
  const __m256i odd =
      _mm256_slli_epi64(_mm256_mul_epu32(_mm256_srli_epi64(x, 32), _mm256_srli_epi64(y, 32)), 16);
  return reinterpret_cast<Words>(_mm256_blend_epi32(even, odd, 0xAA));
#else
  return vcombine_u32(vshrn_n_u64(vmull_u32(vget_low_u32(a), vget_low_u32(b)), 16),
                      vshrn_n_u64(vmull_u32(vget_high_u32(a), vget_high_u32(b)), 16));
#endif
}

inline Words Positive(Words w) { return w & ~NegativeLanes(w); }

/// What lies to the right of edges in their steps, by columns:
///
///     before first      0
///     first             enter
///     up to last        start + slope x, modulo 2^32, at most the height
///     last              leave, also where that is first
///     behind            the height
///
/// With an edge between x = e0 and e1 (e0 <= e1), s the height it gains per pixel and h that of the
/// step:
///   in one pixel           (1 - frac((e0 + e1) / 2)) h
///   entering, f = 1 - frac(e0)   f s f / 2, leaving the pixel at height H = f s
///   between                H + s / 2, then H += s
///   leaving                h - frac(e1) (h - H) / 2
/// H is held to h, and a slope beyond two rows a pixel gives no more between than there.
class Areas {
 public:
  /// Of a vector of edges, from i on.
  void Find(const KRowSteps& steps, int i) {
    const Words slope = Load(steps.slope + i), h = Load(steps.height + i), full = All(0x10000);
    Words top = Load(steps.top + i), bottom = Load(steps.bottom + i);
    const Words back = Above(top, bottom), wrong = NegativeLanes(slope) ^ back;
    const Words upright = wrong & Above(full, h), mean = Half(top + bottom);
    top = Select(upright, mean, top);
    bottom = Select(upright, mean, bottom);
    const Words e0 = Select(back, bottom, top), e1 = Select(back, top, bottom);
    const Words gain = Positive((slope ^ back) - back);
    const Words first = Floor(e0);

    const Words f = full - (e0 & 0xFFFF);
    const Words entered = Least(Product16(f, gain), h);
    const Words s = Least(gain, full + full);
    // From so far on all columns are full, and sums of start and slope would overflow soon.
    const Words most = first + Select(Above(s, All(7)), All(8193), All(0x10000));
    const Words last = Least(Floor(e1), most);
    const Words reached = Least(entered + s * (last - first - 1), h);
    const Words missed = (e1 & 0xFFFF) * (h - reached) >> 17;
    const Words middle = (e0 + e1) >> 1 & 0xFFFF;
    const Words inOne = Product16(full - middle, h);

    Store(first_ + i, first);
    Store(last_ + i, last);
    Store(enter_ + i, Product16(entered, f) >> 1);
    Store(leave_ + i, Select(Equal(first, last), inOne, h - missed));
    Store(start_ + i, entered + (s >> 1) - s * (first + 1));
    Store(slope_ + i, s);
  }

  std::int32_t First(int i) const { return first_[i]; }
  std::int32_t End(int i) const { return last_[i] + 1; }

  /// The area to the right of edge i in the columns x.
  Words At(int i, Words x, Words height) const {
    const Words first = All(Word(first_[i])), last = All(Word(last_[i]));
    const Words between = Least(All(start_[i]) + All(slope_[i]) * x, height);
    const Words until = Select(Above(x, first), between, All(enter_[i]) & Equal(x, first));
    const Words from = Select(Above(x, last), height, All(leave_[i]));
    return Select(Above(last, x), until, from);
  }

 private:
  static Words Half(Words w) { return reinterpret_cast<Words>(AsInts(w) >> 1); }
  static Words Floor(Words fixed) { return reinterpret_cast<Words>(AsInts(fixed) >> 16); }
  static std::uint32_t Word(std::int32_t i) { return static_cast<std::uint32_t>(i); }

  static constexpr int kMost = 2 * KRowSteps::kMost;
  std::int32_t first_[kMost], last_[kMost];
  std::uint32_t enter_[kMost], leave_[kMost], start_[kMost], slope_[kMost];
};

inline int Less(int a, int b) { return a < b ? a : b; }
inline int More(int a, int b) { return a > b ? a : b; }

/// The steps [from, to) of a row.
struct StepsOfRow {
  const KRowSteps& steps;
  const Areas& areas;
  int from, to;

  std::int32_t Height() const {
    std::int32_t sum = steps.height[2 * from];
    for (int i = from + 1; i < to; ++i) sum += steps.height[2 * i];
    return sum;
  }
};

/// The coverage of the columns x, where there are both edges, only left ones, only right ones.
struct BetweenEdges {
  static Words Of(const Areas& areas, int i, Words x, Words h) {
    return Positive(areas.At(2 * i, x, h) - areas.At(2 * i + 1, x, h));
  }
};
struct BehindLeft {
  static Words Of(const Areas& areas, int i, Words x, Words h) { return areas.At(2 * i, x, h); }
};
struct BeforeRight {
  static Words Of(const Areas& areas, int i, Words x, Words h) {
    return h - areas.At(2 * i + 1, x, h);
  }
};

template <typename Edges>
inline Words CoverageOf(const StepsOfRow& row, Words x) {
  Words sum{};
  int i = row.from;
  do {
    const Words h = All(static_cast<std::uint32_t>(row.steps.height[2 * i]));
    sum += Edges::Of(row.areas, i, x, h);
  } while (++i < row.to);
  return sum;
}

/// What the steps of a row touch: the columns [x0, x1); no left edge goes through those from inner0
/// on, no right edge through those before inner1.
struct StepColumns {
  int x0, x1, inner0, inner1;

  explicit StepColumns(const StepsOfRow& row) {
    const auto [steps, areas, from, to] = row;
    x0 = areas.First(2 * from);
    x1 = areas.End(2 * from + 1);
    inner0 = areas.End(2 * from);
    inner1 = areas.First(2 * from + 1);
    for (int i = from + 1; i < to; ++i) {
      x0 = Less(x0, areas.First(2 * i));
      x1 = More(x1, areas.End(2 * i + 1));
      inner0 = More(inner0, areas.End(2 * i));
      inner1 = Less(inner1, areas.First(2 * i + 1));
    }
    x0 = More(x0, steps.x0);
    x1 = Less(x1, steps.x1);
    inner0 = More(inner0, x0);
    inner1 = Less(inner1, x1);
  }
};

struct StepColor {
  Words c;
  bool blend;

  Words Mix(Words d, Words coverage) const { return MixColor(d, c, BothCoverage(coverage), blend); }

  template <typename Edges>
  void Columns(const StepsOfRow& row, std::uint32_t* pixels, int from, int to) const {
    const auto mix = [&, from](Words d, auto at) {
      return Mix(d, CoverageOf<Edges>(row, Series(static_cast<std::uint32_t>(from + at.i), 1)));
    };
    const int n = to - from;
#if KALVORA_LANES == 8
    // One copy of the code, in place of the three of Pixels.
    int x = 0;
    do {
      PixelsAt(pixels + from, x, Part(n - x), mix);
      x += kLanes;
    } while (__builtin_expect(x < n, 0));
#else
    Pixels(pixels + from, n, mix);
#endif
  }
  // Columns that no edge goes through.
  void Inner(std::uint32_t* to, int n, std::int32_t coverage) const {
    const Words color = c, all = All(static_cast<std::uint32_t>(coverage));
    if (coverage >= 0x10000 - 128 && n > 2 * kLanes) {
      if (!blend) return FillRow(to, n, color);
      OverGroups(to, n, color);
    }
    Pixels(to, n, [&, this](Words d, auto) { return Mix(d, all); });
  }
  void Row(const StepsOfRow& row, std::uint32_t* pixels) const {
    const auto [x0, x1, inner0, inner1] = StepColumns(row);
    if (x0 >= x1) return;
    // Narrow rows, and those whose edges lie above each other, in one. Otherwise vectors at the
    // ends are whole ones where they can be.
    if (x1 - x0 <= kLanes || inner0 > inner1) return Columns<BetweenEdges>(row, pixels, x0, x1);
    const int from = Less(inner1, More(inner0, x0 + kLanes));
    const int to = More(from, Less(inner1, x1 - kLanes));
    Columns<BehindLeft>(row, pixels, x0, from);
    if (from < to) Inner(pixels + from, to - from, row.Height());
    Columns<BeforeRight>(row, pixels, to, x1);
  }
};

void MixSteps(const KRowSteps& steps, std::uint32_t c, bool blend) {
  Areas areas;
  const int edges = 2 * steps.row[steps.rows - 1].end;
  for (int i = 0; i < edges; i += kLanes) areas.Find(steps, i);
  const StepColor color{All(c), blend};
  int from = 0;
  for (int i = 0; i < steps.rows; ++i) {
    const KRowSteps::Row row = steps.row[i];
    color.Row({steps, areas, from, row.end}, row.pixels);
    from = row.end;
  }
}

constexpr StepLoop kMixSteps = MixSteps;

#endif

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
