// KPixelWriter: rows of 32-bit words to rows of a device's pixels.
#ifndef KALVORA_DISPLAY_KPIXELWRITER_H
#define KALVORA_DISPLAY_KPIXELWRITER_H

#include <cstdint>

#include "kalvora/display/KPixelLayout.h"

/// Chosen once for a device. Channels of less than 8 bits are dithered, by a pattern of 4 x 4
/// pixels that stands still on the screen, or cut off. Any thread may write.
class KPixelWriter {
 public:
  /// True when there is a writer for such pixels: of 16, 24 or 32 bits, red and blue alike in size.
  bool Choose(const KPixelLayout& layout, unsigned bitsPerPixel, bool dither);
  /// Writes `count` pixels from the device's column x of row y on, which lie at `to`.
  void Write(std::uint8_t* to, const std::uint32_t* from, unsigned count, unsigned x,
             unsigned y) const {
    write(*this, to, from, count, x, y);
  }

 private:
  static constexpr unsigned kPiece = 64;  ///< pixels that are written in one go

  template <typename Layout, typename Pixel>
  static void WritePixels(const KPixelWriter& self, std::uint8_t* to, const std::uint32_t* from,
                          unsigned count, unsigned x, unsigned y);
  static void WriteTriples(const KPixelWriter& self, std::uint8_t* to, const std::uint32_t* from,
                           unsigned count, unsigned x, unsigned y);
  static void CopyWords(const KPixelWriter&, std::uint8_t* to, const std::uint32_t* from,
                        unsigned count, unsigned, unsigned);
  void MakeNoise(bool dither);

  KPixelLayout layout;
  decltype(&CopyWords) write = nullptr;
  /// What is added to the channels before they are cut off, 0x00RRGGBB, for each row of the
  /// pattern; as long as a piece that begins anywhere in the pattern.
  std::uint32_t noise[4][kPiece + 3];
};

#endif
