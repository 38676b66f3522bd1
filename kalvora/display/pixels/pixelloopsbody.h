// The loops themselves, for the namespace KALVORA_WIDTH. Compilers turn them into vectors: each
// pixel is made alike, without a branch. Nothing here may come from another header: what is
// compiled for one processor must not be linked into code for another.
#include "kalvora/display/pixels/pixelloops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

using Word = std::uint32_t;

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
Word Convert(const Layout& l, Word word, Word noise) {
  const Word lost = 8 - l.bits;
  const Word greenLost = 8 - l.greenBits;
  const Word room = (word >> l.bits & LowBits(lost) * 0x00010001) |
                    (word >> l.greenBits & LowBits(greenLost) << 8);
  const Word v = word - room + noise;
  return (v >> (16 + lost) & LowBits(l.bits)) << l.red |
         (v >> (8 + greenLost) & LowBits(l.greenBits)) << l.green |
         (v >> lost & LowBits(l.bits)) << l.blue | l.ones;
}

template <typename Layout, typename Pixel>
void Write(const PixelStyle& style, void* to, const Word* from, unsigned count, unsigned x,
           unsigned y) {
  const Layout layout(style.layout);
  const Word* const noise = style.noise[y % 4] + x % 4;  // a piece is whole patterns
  auto* __restrict pixels = static_cast<Pixel*>(to);
  while (count > 0) {
    const unsigned n = count < PixelStyle::kPiece ? count : PixelStyle::kPiece;
    for (unsigned i = 0; i < n; ++i) {
      pixels[i] = static_cast<Pixel>(Convert(layout, from[i], noise[i]));
    }
    pixels += n;
    from += n;
    count -= n;
  }
}

}  // namespace

extern const PixelLoops kPixelLoops;
const PixelLoops kPixelLoops = {KALVORA_WIDTH_NAME, Write<Fixed565, std::uint16_t>,
                                Write<AnyLayout, std::uint16_t>, Write<AnyLayout, std::uint32_t>};

}  // namespace kalvora::KALVORA_WIDTH
