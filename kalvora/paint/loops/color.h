// Loops over one colour (ColorLoops in loops.h).
#ifndef KALVORA_PAINT_LOOPS_COLOR_H
#define KALVORA_PAINT_LOOPS_COLOR_H

#include "kalvora/paint/loops/groups.h"
#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

/// A row of more than two vectors, the last of which may overlap; those of a long row do not lie
/// across two cache lines.
inline void FillRow(std::uint32_t* to, int n, Words c) {
  std::uint32_t* const end = to + n;
  Store(to, c);
  constexpr std::uintptr_t kBytes = sizeof(Words);
  const auto skipped = kBytes - (reinterpret_cast<std::uintptr_t>(to) & (kBytes - 1));
  to += skipped / sizeof *to;
  FillGroups(to, end, c);
  for (; to <= end - kLanes; to += kLanes) Store(to, c);
  Store(end - kLanes, c);
}

void Fill(const Block& block, std::uint32_t color) {
  const Words c = All(color);
  const int n = block.n, last = n - kLanes;
  if (last < 0) {
    EachRow(block, [=](std::uint32_t* to, int) { Pixels(to, n, [c](Words, auto) { return c; }); });
  } else if (last <= kLanes) {
    EachRow(block, [=](std::uint32_t* to, int) {
      Store(to, c);
      Store(to + last, c);
    });
  } else {
    EachRow(block, [=](std::uint32_t* to, int) { FillRow(to, n, c); });
  }
}

void OverColor(const Block& block, std::uint32_t c) {
  const Words s = All(c), rest = BothRest(s);
  EachRow(block, [=](std::uint32_t* to, int) {
    int n = block.n;
    OverGroups(to, n, s);
    Pixels(to, n, [=](Words d, auto) { return Scale(d, rest) + s; });
  });
}

/// A Mix for each lane.
struct Mixes {
  Words rest, lo, hi, add;

  explicit Mixes(const Mix& mix)
      : rest(Both(All(mix.rest))), lo(All(mix.lo)), hi(All(mix.hi)), add(All(mix.add)) {}

  /// The other one where `mask` has ones.
  void Replace(Words mask, const Mix& mix) {
    const Mixes other(mix);
    rest = Select(mask, other.rest, rest);
    lo = Select(mask, other.lo, lo);
    hi = Select(mask, other.hi, hi);
    add = Select(mask, other.add, add);
  }
  Words Of(Words d) const {
    return JoinHigh(Sum(Times(Lo(d), rest), lo), Sum(Times(Hi(d), rest), hi)) + add;
  }
};

/// The mixes of the columns from `x` on, of n.
Mixes MixesAt(int x, int n, const Mix& left, const Mix& inner, const Mix& right) {
  const Words column = Series(static_cast<std::uint32_t>(x), 1);
  Mixes mixes(inner);
  mixes.Replace(Equal(column, All(static_cast<std::uint32_t>(n - 1))), right);
  mixes.Replace(Equal(column, All(0)), left);
  return mixes;
}

/// Rows of at least a vector: one at either end, and others between.
void EdgedRows(const Block& block, const Mix& left, const Mix& inner, const Mix& right) {
  const int end = block.n - kLanes;
  const Mixes first = MixesAt(0, block.n, left, inner, right), between(inner);
  const Mixes last = MixesAt(end, block.n, left, inner, right);
  const bool plain = (inner.rest | inner.lo | inner.hi) == 0;
  EachRow(block, [&](std::uint32_t* to, int) {
    // The ends may overlap: both are made of the pixels as they were.
    const Words begin = first.Of(Load(to)), finish = last.Of(Load(to + end));
    if (plain && end > 3 * kLanes) {
      FillRow(to + kLanes, end - kLanes, between.add);
    } else {
      for (int i = kLanes; i < end; i += kLanes) Store(to + i, between.Of(Load(to + i)));
    }
    Store(to, begin);
    Store(to + end, finish);
  });
}

/// A vector would touch more than the column.
void EdgedColumn(const Block& block, const Mix& mix) {
  EachRow(block, [&](std::uint32_t* to, int) {
    constexpr std::uint32_t m = kFieldMask;
    const std::uint32_t lo = (*to & m) * mix.rest + mix.lo, hi = (*to >> 8 & m) * mix.rest + mix.hi;
    *to = ((lo >> 8 & m) | (hi & ~m)) + mix.add;
  });
}

void Edged(const Block& block, const Mix& left, const Mix& inner, const Mix& right) {
  const int n = block.n;
  if (n <= 0) return;
  if (n == 1) return EdgedColumn(block, left);
  if (n >= kLanes) return EdgedRows(block, left, inner, right);
#if KALVORA_LANES > 1
  const Mixes mixes = MixesAt(0, n, left, inner, right);
#if KALVORA_LANES == 8
  const Part part(n);
#else
  const Part<2> part;
  if (n == 3) EdgedColumn({block.to + 2, block.stride, 1, block.rows}, right);
#endif
  EachRow(block, [&](std::uint32_t* to, int) { part.Store(to, mixes.Of(part.Load(to))); });
#endif
}

void Cover(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c) {
  const Words color = All(c);
  Pixels(to, n,
         [=](Words d, auto at) { return Over(d, Scale(color, BothCoverage(at(coverage)))); });
}

void LerpColor(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c) {
  const Words color = All(c);
  Pixels(to, n, [=](Words d, auto at) { return Lerp(d, color, BothCoverage(at(coverage))); });
}

void CoverMasked(const Block& block, const std::uint8_t* mask, std::ptrdiff_t maskStride,
                 std::uint32_t c) {
  const Words color = All(c);
  EachRow(block, [=](std::uint32_t* to, int y) {
    const std::uint8_t* m = mask + y * maskStride;
    Pixels(to, block.n,
           [=](Words d, auto at) { return Over(d, Scale(color, BothMask(at.Bytes(m)))); });
  });
}

void LerpMasked(const Block& block, const std::uint8_t* mask, std::ptrdiff_t maskStride,
                std::uint32_t c) {
  const Words color = All(c);
#if KALVORA_LANES == 4 && defined(__arm__)
  const int last = block.n - kLanes;
  if (last >= 0 && last < kLanes) {
    const Words lo = Lo(color), hi = Hi(color);
    return EachRow(block, [=](std::uint32_t* to, int y) {
      LerpMaskedPair(to, mask + y * maskStride, last, lo, hi);
    });
  }
  if (last > 0) {
    const ColorPlanes planes(c);
    return EachRow(block, [=](std::uint32_t* to, int y) {
      LerpMaskedRow(to, mask + y * maskStride, block.n, planes);
    });
  }
#endif
  EachRow(block, [=](std::uint32_t* to, int y) {
    const std::uint8_t* m = mask + y * maskStride;
    Pixels(to, block.n, [=](Words d, auto at) { return Lerp(d, color, BothMask(at.Bytes(m))); });
  });
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
