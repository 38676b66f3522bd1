// The row loops. Compilers turn them into vectors: each pixel is made alike, without a branch.
#include "kalvora/display/KPixelWriter.h"

#include <algorithm>
#include <cstring>

#include "kalvora/support/KMem.h"

namespace {

/// The layout of most 16-bit panels, as constants.
struct Fixed565 {
  explicit Fixed565(const KPixelLayout&) {}
  static constexpr std::uint32_t bits = 5, greenBits = 6, red = 11, green = 5, blue = 0, ones = 0;
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
  const std::uint32_t bits, greenBits, red, green, blue, ones;
};

constexpr std::uint32_t LowBits(std::uint32_t count) { return (1u << count) - 1; }

/// A channel c of 8 bits becomes one of b bits: (c - (c >> b) + n) >> (8 - b), with noise n below
/// 2^(8 - b). The subtraction makes room for the noise, so that no channel runs into the next, and
/// black and white stay what they are.
template <typename Layout>
std::uint32_t Convert(const Layout& l, std::uint32_t word, std::uint32_t noise) {
  const std::uint32_t lost = 8 - l.bits;
  const std::uint32_t greenLost = 8 - l.greenBits;
  const std::uint32_t room = (word >> l.bits & LowBits(lost) * 0x00010001) |
                             (word >> l.greenBits & LowBits(greenLost) << 8);
  const std::uint32_t v = word - room + noise;
  return (v >> (16 + lost) & LowBits(l.bits)) << l.red |
         (v >> (8 + greenLost) & LowBits(l.greenBits)) << l.green |
         (v >> lost & LowBits(l.bits)) << l.blue | l.ones;
}

// Thresholds 0 to 15, spread so that neighbours differ as much as they can.
constexpr std::uint32_t kPattern[4][4] = {
    {0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

/// Noise for a channel of `bits` bits.
std::uint32_t Noise(std::uint32_t threshold, unsigned bits, bool dither) {
  const unsigned lost = 8 - bits;
  if (!dither) return (1u << lost) >> 1;  // rounds to the nearest
  return lost <= 4 ? threshold >> (4 - lost) : threshold << (lost - 4);
}

}  // namespace

bool KPixelWriter::Choose(const KPixelLayout& wanted, unsigned bitsPerPixel, bool dither) {
  const auto fits = [&](const KPixelLayout::Channel& c) {
    return c.bits >= 1 && c.bits <= 8 && c.shift + c.bits <= bitsPerPixel;
  };
  layout = wanted;
  if (!fits(layout.red) || !fits(layout.green) || !fits(layout.blue)) return false;
  if (layout.red.bits != layout.blue.bits) return false;
  MakeNoise(dither);
  const KPixelLayout usual = KPixelLayout::Rgb565();
  const bool is565 = layout.red == usual.red && layout.green == usual.green &&
                     layout.blue == usual.blue && layout.ones == 0;
  if (bitsPerPixel == 16 && is565) {
    write = WritePixels<Fixed565, std::uint16_t>;
  } else if (bitsPerPixel == 16) {
    write = WritePixels<AnyLayout, std::uint16_t>;
  } else if (bitsPerPixel == 24) {
    write = WriteTriples;
  } else if (bitsPerPixel == 32) {
    write = layout.IsOurs() ? CopyWords : WritePixels<AnyLayout, std::uint32_t>;
  } else {
    return false;
  }
  return true;
}

void KPixelWriter::MakeNoise(bool dither) {
  for (unsigned y = 0; y < 4; ++y) {
    for (unsigned x = 0; x < kPiece + 3; ++x) {
      const std::uint32_t threshold = kPattern[y][x % 4];
      const std::uint32_t redBlue = Noise(threshold, layout.red.bits, dither) * 0x00010001;
      noise[y][x] = redBlue | Noise(threshold, layout.green.bits, dither) << 8;
    }
  }
}

template <typename Layout, typename Pixel>
void KPixelWriter::WritePixels(const KPixelWriter& self, std::uint8_t* to,
                               const std::uint32_t* from, unsigned count, unsigned x, unsigned y) {
  const Layout layout(self.layout);
  const std::uint32_t* const noise = self.noise[y % 4] + x % 4;  // a piece is whole patterns
  auto* __restrict pixels = static_cast<Pixel*>(static_cast<void*>(to));
  while (count > 0) {
    const unsigned n = std::min(count, kPiece);
    for (unsigned i = 0; i < n; ++i) {
      pixels[i] = static_cast<Pixel>(Convert(layout, from[i], noise[i]));
    }
    pixels += n;
    from += n;
    count -= n;
  }
}

/// Pixels of three bytes: through words, of which four become three.
void KPixelWriter::WriteTriples(const KPixelWriter& self, std::uint8_t* to,
                                const std::uint32_t* from, unsigned count, unsigned x, unsigned y) {
  std::uint32_t words[kPiece];
  while (count > 0) {
    const unsigned n = std::min(count, kPiece);
    WritePixels<AnyLayout, std::uint32_t>(
        self, static_cast<std::uint8_t*>(static_cast<void*>(words)), from, n, x, y);
    const std::uint32_t* w = words;
    unsigned left = n;
    for (; left >= 4; left -= 4, w += 4, to += 12) {
      const std::uint32_t packed[3] = {w[0] | w[1] << 24, w[1] >> 8 | w[2] << 16,
                                       w[2] >> 16 | w[3] << 8};
      std::memcpy(to, packed, sizeof packed);
    }
    for (; left > 0; --left, ++w, to += 3) std::memcpy(to, w, 3);
    from += n;
    count -= n;
  }
}

void KPixelWriter::CopyWords(const KPixelWriter&, std::uint8_t* to, const std::uint32_t* from,
                             unsigned count, unsigned, unsigned) {
  KMem::Memcpy32(static_cast<std::uint32_t*>(static_cast<void*>(to)), from, count);
}
