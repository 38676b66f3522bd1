// Loops over one colour (ColorLoops in loops.h).
#ifndef KALVORA_PAINT_LOOPS_COLOR_H
#define KALVORA_PAINT_LOOPS_COLOR_H

#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

/// `count` vectors from p on.
template <int count>
void StoreSome(std::uint32_t* p, Words c) {
#pragma GCC unroll 4
  for (int k = 0; k < count; ++k) Store(p + k * kLanes, c);
}

/// As many vectors from the start as up to the end, which may overlap; a long row's others do not
/// lie across two cache lines.
inline void FillRow(std::uint32_t* to, int n, Words c) {
  std::uint32_t* const end = to + n;
  if (kLanes == 1 || n < kLanes) return Pixels(to, n, [c](Words, auto) { return c; });
  if (n <= 2 * kLanes) {
    StoreSome<1>(to, c);
    StoreSome<1>(end - kLanes, c);
  } else {
    StoreSome<1>(to, c);
    constexpr std::uintptr_t kBytes = sizeof(Words);
    const auto skipped = kBytes - (reinterpret_cast<std::uintptr_t>(to) & (kBytes - 1));
    to += skipped / sizeof *to;
    for (; to <= end - 4 * kLanes; to += 4 * kLanes) StoreSome<4>(to, c);
    for (; to <= end - kLanes; to += kLanes) StoreSome<1>(to, c);
    StoreSome<1>(end - kLanes, c);
  }
}

void Fill(const Block& block, std::uint32_t c) {
  EachRow(block, [=](std::uint32_t* to, int) { FillRow(to, block.n, All(c)); });
}

void OverColor(const Block& block, std::uint32_t c) {
  const Words s = All(c), rest = BothRest(s);
  EachRow(block, [=](std::uint32_t* to, int) {
    Pixels(to, block.n, [=](Words d, auto) { return Scale(d, rest) + s; });
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

/// Rows of at least K pixels: a vector at either end, whose lanes know whether they are outer
/// columns, and others between. At most 2 K pixels when K is not kLanes.
template <int K>
void EdgedRows(const Block& block, const Mix& left, const Mix& inner, const Mix& right) {
  const int end = block.n - K;
  const Mixes between(inner);
  Mixes first = between, last = between;
  const Words column = Series(0, 1), right0 = All(static_cast<std::uint32_t>(block.n - 1));
  const Words endColumn = column + static_cast<std::uint32_t>(end);
  first.Replace(Equal(column, right0), right);
  first.Replace(Equal(column, All(0)), left);
  last.Replace(Equal(endColumn, right0), right);
  last.Replace(Equal(endColumn, All(0)), left);
  const bool plain = (inner.rest | inner.lo | inner.hi) == 0;
  EachRow(block, [&](std::uint32_t* to, int) {
    const Words begin = first.Of(LoadPart<K>(to)), finish = last.Of(LoadPart<K>(to + end));
    if (plain) {
      if (end > K) FillRow(to + K, end - K, between.add);
    } else {
      for (int i = K; i < end; i += K) StorePart<K>(to + i, between.Of(LoadPart<K>(to + i)));
    }
    StorePart<K>(to, begin);
    StorePart<K>(to + end, finish);
  });
}

void Edged(const Block& block, const Mix& left, const Mix& inner, const Mix& right) {
  const int n = block.n;
  if (n >= kLanes) return EdgedRows<kLanes>(block, left, inner, right);
  if constexpr (kLanes > 4) {
    if (n >= 4) return EdgedRows<4>(block, left, inner, right);
  }
  if constexpr (kLanes > 1) {
    if (n >= 2) return EdgedRows<2>(block, left, inner, right);
    if (n == 1) return EdgedRows<1>(block, left, inner, right);
  }
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
  EachRow(block, [=](std::uint32_t* to, int y) {
    const std::uint8_t* m = mask + y * maskStride;
    Pixels(to, block.n, [=](Words d, auto at) { return Lerp(d, color, BothMask(at.Bytes(m))); });
  });
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
