// The loops themselves, for the namespace KALVORA_WIDTH, in vectors as wide as the instruction set
// has them. With KALVORA_BY_HAND those that matter most are written for it (wideloops.h). Nothing
// here may come from another header of ours: what is compiled for one processor must not be linked
// into code for another.
#include <cstring>

#include "kalvora/display/pixels/pixelloops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

using Word = std::uint32_t;
constexpr unsigned kStep = PixelStyle::kStep;

#if defined(__SSE2__) || defined(__ARM_NEON)
#define KALVORA_HAS_FOUR 1
using Four = Word __attribute__((vector_size(16)));
#if defined(__AVX2__)
using Words = Word __attribute__((vector_size(32)));
#else
using Words = Four;
#endif
#else
#define KALVORA_HAS_FOUR 0
using Words = Word;
#endif
constexpr unsigned kLanes = sizeof(Words) / sizeof(Word);

template <typename Vector>
Vector LoadAs(const Word* from) {
  Vector v;
  std::memcpy(&v, from, sizeof v);
  return v;
}
template <typename Vector>
void Store(void* to, Vector v) {
  std::memcpy(to, &v, sizeof v);
}

/// Stores kLanes pixels, of which each has a lane.
void StorePixels(std::uint32_t* to, Words v) { Store(to, v); }
void StorePixels(std::uint16_t* to, Words v) {
#if KALVORA_HAS_FOUR
  Store(to, __builtin_convertvector(v, std::uint16_t __attribute__((vector_size(2 * kLanes)))));
#else
  *to = static_cast<std::uint16_t>(v);
#endif
}

/// A pixel of 24 bits.
struct Triple {
  std::uint8_t bytes[3];
};

/// Calls step(pixels, words) for each kStep of them. The last ones, if they are fewer, take a way
/// round: no step reads or writes beyond the row.
template <typename Pixel, typename Step>
void InSteps(Pixel* to, const Word* from, unsigned count, const Step& step) {
  Word words[kStep] = {};
  Pixel pixels[kStep];
  while (count > 0) {
    const bool isWhole = count >= kStep;
    if (!isWhole) std::memcpy(words, from, count * sizeof(Word));
    step(isWhole ? to : pixels, isWhole ? from : words);
    if (!isWhole) {
      std::memcpy(to, pixels, count * sizeof(Pixel));
      return;
    }
    count -= kStep;
    from += kStep;
    to += kStep;
  }
}

/// The noise of a step: it is the same for each, since a step is whole patterns.
const Word* NoiseAt(const PixelStyle& style, unsigned x, unsigned y) {
  return style.noise[y % 4] + x % 4;
}

/// The layout of most 16-bit panels, as constants.
struct Fixed565 {
  explicit Fixed565(const KPixelLayout&) {}
  static constexpr Word bits = 5, greenBits = 6, red = 11, green = 5, blue = 0, ones = 0;
};

/// Any other layout.
struct AnyLayout {
  explicit AnyLayout(const KPixelLayout& l)
      : bits(l.red.bits),
        greenBits(l.green.bits),
        red(l.red.shift),
        green(l.green.shift),
        blue(l.blue.shift),
        ones(l.ones) {}
  const Word bits, greenBits, red, green, blue, ones;
};

constexpr Word LowBits(Word count) { return (1u << count) - 1; }

/// A channel c of 8 bits becomes one of b bits: (c - (c >> b) + n) >> (8 - b), with noise n below
/// 2^(8 - b). The subtraction makes room for the noise, so that no channel runs into the next, and
/// black and white stay what they are.
template <typename Layout>
[[gnu::always_inline]] inline Words Convert(const Layout& l, Words words, Words noise) {
  const Word lost = 8 - l.bits;
  const Word greenLost = 8 - l.greenBits;
  const Words room = (words >> l.bits & LowBits(lost) * 0x00010001) |
                     (words >> l.greenBits & LowBits(greenLost) << 8);
  const Words v = words - room + noise;
  return (v >> (16 + lost) & LowBits(l.bits)) << l.red |
         (v >> (8 + greenLost) & LowBits(l.greenBits)) << l.green |
         (v >> lost & LowBits(l.bits)) << l.blue | l.ones;
}

template <typename Layout, typename Pixel>
void Write(const PixelStyle& style, void* to, const Word* from, unsigned count, unsigned x,
           unsigned y) {
  const Layout layout(style.layout);
  const Word* const noise = NoiseAt(style, x, y);
  InSteps(static_cast<Pixel*>(to), from, count, [&](Pixel* pixels, const Word* words) {
    for (unsigned i = 0; i < kStep; i += kLanes) {
      StorePixels(pixels + i, Convert(layout, LoadAs<Words>(words + i), LoadAs<Words>(noise + i)));
    }
  });
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#if KALVORA_BY_HAND
#include "kalvora/display/pixels/wideloops.h"
#else
namespace kalvora::KALVORA_WIDTH {
namespace {

constexpr PixelLoop* To565 = Write<Fixed565, std::uint16_t>;

/// Four words become three.
void Pack(const PixelStyle&, void* to, const Word* from, unsigned count, unsigned, unsigned) {
  InSteps(static_cast<Triple*>(to), from, count, [](Triple* triples, const Word* words) {
    for (unsigned i = 0; i < kStep; i += 4) {
      const Word* const w = words + i;
      const Word packed[3] = {(w[0] & 0xFFFFFF) | w[1] << 24, (w[1] >> 8 & 0xFFFF) | w[2] << 16,
                              (w[2] >> 16 & 0xFF) | w[3] << 8};
      std::memcpy(triples + i, packed, sizeof packed);
    }
  });
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH
#endif

namespace kalvora::KALVORA_WIDTH {
namespace {

#if KALVORA_HAS_FOUR
/// Four rows of four, from four columns; from below upwards when `down` is -1.
void TurnFour(Word* tile, std::size_t pitch, const Word* from, std::ptrdiff_t right,
              std::ptrdiff_t down) {
  if (down < 0) from -= 3;
  const Four a = LoadAs<Four>(from), b = LoadAs<Four>(from + right),
             c = LoadAs<Four>(from + 2 * right), d = LoadAs<Four>(from + 3 * right);
  const Four low = __builtin_shufflevector(a, b, 0, 4, 1, 5);
  const Four high = __builtin_shufflevector(a, b, 2, 6, 3, 7);
  const Four low2 = __builtin_shufflevector(c, d, 0, 4, 1, 5);
  const Four high2 = __builtin_shufflevector(c, d, 2, 6, 3, 7);
  const auto step = static_cast<std::ptrdiff_t>(pitch) * down;
  if (down < 0) tile -= 3 * step;
  Store(tile, __builtin_shufflevector(low, low2, 0, 1, 4, 5));
  Store(tile + step, __builtin_shufflevector(low, low2, 2, 3, 6, 7));
  Store(tile + 2 * step, __builtin_shufflevector(high, high2, 0, 1, 4, 5));
  Store(tile + 3 * step, __builtin_shufflevector(high, high2, 2, 3, 6, 7));
}

/// Turned upside down: four of a row, and back.
void ReverseFour(Word* tile, const Word* from) {
  const Four v = LoadAs<Four>(from - 3);
  Store(tile, __builtin_shufflevector(v, v, 3, 2, 1, 0));
}
#endif

void Turn(Word* tile, std::size_t pitch, int columns, int rows, const Word* from,
          std::ptrdiff_t right, std::ptrdiff_t down) {
  const bool isReverse = right == -1;
  const int rowsAtOnce = KALVORA_HAS_FOUR && !isReverse ? 4 : 1;
  for (int y = 0; y < rows;) {
    int x = 0;
    const int n = y + rowsAtOnce <= rows ? rowsAtOnce : 1;
#if KALVORA_HAS_FOUR
    if (n == rowsAtOnce) {
      for (; x + 4 <= columns; x += 4) {
        const Word* const corner = from + right * x;
        isReverse ? ReverseFour(tile + x, corner) : TurnFour(tile + x, pitch, corner, right, down);
      }
    }
#endif
    for (; x < columns; ++x) {
      for (int i = 0; i < n; ++i)
        tile[pitch * static_cast<unsigned>(i) + x] = from[right * x + down * i];
    }
    y += n;
    tile += pitch * static_cast<unsigned>(n);
    from += down * n;
  }
}

}  // namespace

extern const PixelLoops kPixelLoops;
const PixelLoops kPixelLoops = {KALVORA_WIDTH_NAME,
                                To565,
                                Write<AnyLayout, std::uint16_t>,
                                Write<AnyLayout, std::uint32_t>,
                                Pack,
                                Turn};

}  // namespace kalvora::KALVORA_WIDTH
