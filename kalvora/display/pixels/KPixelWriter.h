// KPixelWriter: rows of 32-bit words to rows of a device's pixels.
#ifndef KALVORA_DISPLAY_PIXELS_KPIXELWRITER_H
#define KALVORA_DISPLAY_PIXELS_KPIXELWRITER_H

#include <cstdint>

#include "kalvora/display/pixels/pixelloops.h"

/// Chosen once for a device. Channels of less than 8 bits are dithered, by a pattern of 4 x 4
/// pixels that stands still on the screen, or rounded to the nearest. Any thread may write.
class KPixelWriter {
 public:
  /// True when there is a writer for such pixels: of 16, 24 or 32 bits, red and blue alike in size.
  /// By the processor's best loops, or by those given.
  bool Choose(const KPixelLayout& layout, unsigned bitsPerPixel, bool dither,
              const kalvora::PixelLoops* loops = nullptr);
  /// Writes `count` pixels from the device's column x of row y on, which lie at `to`.
  void Write(std::uint8_t* to, const std::uint32_t* from, unsigned count, unsigned x,
             unsigned y) const {
    if (triples_) {
      WriteTriples(to, from, count, x, y);
    } else {
      loop_(style_, to, from, count, x, y);
    }
  }
  /// What gathers turned pixels for Write.
  kalvora::TurnLoop& Turn() const { return *loops_->turn; }

 private:
  void WriteTriples(std::uint8_t* to, const std::uint32_t* from, unsigned count, unsigned x,
                    unsigned y) const;
  void MakeNoise(bool dither);

  kalvora::PixelStyle style_;
  const kalvora::PixelLoops* loops_ = nullptr;
  kalvora::PixelLoop* loop_ = nullptr;
  bool triples_ = false;  ///< pixels of three bytes
};

#endif
