// PixelBox: what a clip leaves of a rectangle of device pixels.
#ifndef KALVORA_RASTER_PIXELBOX_H
#define KALVORA_RASTER_PIXELBOX_H

#include <algorithm>
#include <cstdint>

#include "kalvora/raster/KRowStyle.h"

namespace kalvora {

/// Columns [x0, x1) of the rows [y0, y1). Empty boxes may be inverted.
struct PixelBox {
  std::int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;

  PixelBox() = default;
  /// Of 32 or 64 bits: on small processors a box of glyphs is made as often as one of their rows.
  template <typename T>
  PixelBox(const KClip& clip, T left, T top, T right, T bottom)
      : x0(AtLeast(left, clip.x0)),
        y0(AtLeast(top, clip.y0)),
        x1(AtMost(right, clip.x1)),
        y1(AtMost(bottom, clip.y1)) {}

  bool IsEmpty() const { return x0 >= x1 || y0 >= y1; }

 private:
  // What lies beyond the other side of the clip is as empty at INT16_MAX or INT16_MIN.
  template <typename T>
  static std::int32_t AtLeast(T v, std::int16_t least) {
    return static_cast<std::int32_t>(std::clamp<T>(v, least, INT16_MAX));
  }
  template <typename T>
  static std::int32_t AtMost(T v, std::int16_t most) {
    return static_cast<std::int32_t>(std::clamp<T>(v, INT16_MIN, most));
  }
};

}  // namespace kalvora

#endif
