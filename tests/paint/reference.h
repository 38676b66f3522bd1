// The pixel rules, one channel and one pixel at a time: what the fillers are compared with.
#ifndef KALVORA_TESTS_PAINT_REFERENCE_H
#define KALVORA_TESTS_PAINT_REFERENCE_H

#include <algorithm>
#include <cstdint>

namespace reference {

using Word = std::uint32_t;

inline Word Channel(Word p, int i) { return p >> (8 * i) & 0xFF; }

inline Word Scale(Word p, Word w) {
  Word result = 0;
  for (int i = 0; i < 4; ++i) result |= (Channel(p, i) * w / 256) << (8 * i);
  return result;
}

inline Word AlphaWeight(Word p) { return p >> 24 >= 128 ? (p >> 24) + 1 : p >> 24; }
inline Word MaskWeight(Word m) { return m > 128 ? m + 1 : m; }
inline Word CoverageWeight(std::int32_t coverage) {
  return static_cast<Word>((coverage + 128) / 256);
}

inline Word Over(Word d, Word s) { return Scale(d, 256 - AlphaWeight(s)) + s; }

inline Word Lerp(Word d, Word c, Word w) {
  Word result = 0;
  for (int i = 0; i < 4; ++i) {
    const int from = static_cast<int>(Channel(d, i)), to = static_cast<int>(Channel(c, i));
    const int step = (to - from) * static_cast<int>(w);
    result |= static_cast<Word>(from + (step >= 0 ? step / 256 : -((255 - step) / 256))) << (8 * i);
  }
  return result;
}

/// The colour s of weight w (256: all of it) on d.
inline Word Composite(Word d, Word s, bool blend, Word w) {
  return blend ? Over(d, Scale(s, w)) : Lerp(d, s, w);
}

/// A wrapping 16.16 product.
inline std::int32_t Mul(std::int64_t a, std::int64_t b) {
  return static_cast<std::int32_t>(static_cast<Word>((a * b) >> 16));
}
inline std::int32_t Add(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<Word>(a) + static_cast<Word>(b));
}
inline std::int32_t Sub(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<Word>(a) - static_cast<Word>(b));
}

}  // namespace reference

#endif
