// The choice of a loop, the noise that it adds, and pixels of three bytes.
#include "kalvora/display/pixels/KPixelWriter.h"

#include <algorithm>
#include <cstddef>

#include "kalvora/support/KMem.h"

using kalvora::PixelLoops;
using kalvora::PixelStyle;

namespace {

// Thresholds 0 to 15, spread so that neighbours differ as much as they can.
constexpr std::uint32_t kPattern[4][4] = {
    {0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};

/// Noise for a channel of `bits` bits.
std::uint32_t Noise(std::uint32_t threshold, unsigned bits, bool dither) {
  const unsigned lost = 8 - bits;
  if (!dither) return (1u << lost) >> 1;  // rounds to the nearest
  return lost <= 4 ? threshold >> (4 - lost) : threshold << (lost - 4);
}

void CopyWords(const PixelStyle&, void* to, const std::uint32_t* from, unsigned count, unsigned,
               unsigned) {
  KMem::Memcpy32(static_cast<std::uint32_t*>(to), from, count);
}

}  // namespace

bool KPixelWriter::Choose(const KPixelLayout& layout, unsigned bitsPerPixel, bool dither,
                          const PixelLoops* loops) {
  const auto fits = [&](const KPixelLayout::Channel& c) {
    return c.bits >= 1 && c.bits <= 8 && c.shift + c.bits <= bitsPerPixel;
  };
  if (!fits(layout.red) || !fits(layout.green) || !fits(layout.blue)) return false;
  if (layout.red.bits != layout.blue.bits) return false;
  if (loops == nullptr) loops = kalvora::WidePixelLoops();
  if (loops == nullptr) loops = &kalvora::PlainPixelLoops();
  loops_ = loops;
  style_.layout = layout;
  MakeNoise(dither);
  triples_ = bitsPerPixel == 24;
  switch (bitsPerPixel) {
    case 16:
      loop_ = layout == KPixelLayout::Rgb565() ? loops->to565 : loops->to16;
      return true;
    case 24:
      loop_ = loops->to32;
      return true;
    case 32:
      loop_ = layout.IsOurs() ? CopyWords : loops->to32;
      return true;
    default:
      return false;
  }
}

void KPixelWriter::MakeNoise(bool dither) {
  for (unsigned y = 0; y < 4; ++y) {
    for (unsigned x = 0; x < PixelStyle::kStep + 3; ++x) {
      const std::uint32_t threshold = kPattern[y][x % 4];
      const std::uint32_t redBlue = Noise(threshold, style_.layout.red.bits, dither) * 0x00010001;
      style_.noise[y][x] = redBlue | Noise(threshold, style_.layout.green.bits, dither) << 8;
    }
  }
}

/// Words that lie as the triples do are packed as they are, others are first made so.
void KPixelWriter::WriteTriples(std::uint8_t* to, const std::uint32_t* from, unsigned count,
                                unsigned x, unsigned y) const {
  if (style_.layout.IsOurs()) return loops_->pack(style_, to, from, count, x, y);
  constexpr unsigned kPiece = 8 * PixelStyle::kStep;
  std::uint32_t words[kPiece];
  while (count > 0) {
    const unsigned n = std::min(count, kPiece);
    loop_(style_, words, from, n, x, y);
    loops_->pack(style_, to, words, n, x, y);
    to += std::size_t{3} * n;
    from += n;
    count -= n;
  }
}
