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

#if KALVORA_LANES == 4 && !defined(__SSE2__)
/// Two vectors of pixels mixed with one colour: their mask bytes are widened together.
struct MaskedPair {
  Words first, second;

  MaskedPair(const std::uint32_t* p, const std::uint32_t* q, const std::uint8_t* maskP,
             const std::uint8_t* maskQ, Words lo, Words hi) {
    const std::uint64_t bytes = LoadAs<std::uint32_t>(maskP);
    const uint8x8_t m = vcreate_u8(bytes | std::uint64_t{LoadAs<std::uint32_t>(maskQ)} << 32);
    // The weights: m + 1 above 128, else m.
    const int8x8_t above = vreinterpret_s8_u8(vcgt_u8(m, vdup_n_u8(128)));
    const uint16x8_t w = vreinterpretq_u16_s16(vsubw_s8(vreinterpretq_s16_u16(vmovl_u8(m)), above));
    const uint16x8x2_t both = vzipq_u16(w, w);
    first = Mixed(Load(p), AsWords(both.val[0]), lo, hi);
    second = Mixed(Load(q), AsWords(both.val[1]), lo, hi);
  }
  void StoreAt(std::uint32_t* p, std::uint32_t* q) const {
    Store(p, first);
    Store(q, second);
  }

 private:
  static Words Mixed(Words d, Words w, Words lo, Words hi) {
    const Words rest = Difference(All(0x01000100), w);
    return JoinHigh(Sum(Times(Lo(d), rest), Times(lo, w)), Sum(Times(Hi(d), rest), Times(hi, w)));
  }
};

#endif

void LerpMasked(const Block& block, const std::uint8_t* mask, std::ptrdiff_t maskStride,
                std::uint32_t c) {
  const Words color = All(c);
#if KALVORA_LANES == 4 && !defined(__SSE2__)
  const int last = block.n - kLanes;
  if (last >= 0 && last < kLanes) {
    const Words lo = Lo(color), hi = Hi(color);
    return EachRow(block, [=](std::uint32_t* to, int y) {
      const std::uint8_t* m = mask + y * maskStride;
      MaskedPair(to, to + last, m, m + last, lo, hi).StoreAt(to, to + last);
    });
  }
#endif
#if KALVORA_LANES == 4 && defined(__arm__)
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
