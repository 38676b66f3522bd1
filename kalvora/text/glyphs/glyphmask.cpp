// Copying glyph bitmaps.
#include "kalvora/text/glyphs/glyphmask.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/text/ft.h"

namespace {

// Pixel x of a row whose pixels have 2^kShift bits, the leftmost in the highest bits.
template <unsigned kShift>
unsigned PackedPixel(const std::uint8_t* row, unsigned x) {
  constexpr unsigned kBits = 1u << kShift;
  constexpr unsigned kPerByte = 8 / kBits;
  const unsigned down = 8 - kBits - kBits * (x % kPerByte);
  return row[x / kPerByte] >> down & ((1u << kBits) - 1);
}

// Coverage of pixel x of a row; `top` is the value of a fully covered grey pixel.
using Coverage = unsigned (*)(const std::uint8_t* row, unsigned x, unsigned top);

Coverage CoverageOf(unsigned pixelMode) {
  switch (pixelMode) {
    case FT_PIXEL_MODE_MONO:
      return [](const std::uint8_t* row, unsigned x, unsigned) {
        return PackedPixel<0>(row, x) * 255;
      };
    case FT_PIXEL_MODE_GRAY2:
      return
          [](const std::uint8_t* row, unsigned x, unsigned) { return PackedPixel<1>(row, x) * 85; };
    case FT_PIXEL_MODE_GRAY4:
      return
          [](const std::uint8_t* row, unsigned x, unsigned) { return PackedPixel<2>(row, x) * 17; };
    case FT_PIXEL_MODE_GRAY:
      return [](const std::uint8_t* row, unsigned x, unsigned top) {
        return std::min<unsigned>(row[x], top) * 255 / top;
      };
    case FT_PIXEL_MODE_BGRA:
      return [](const std::uint8_t* row, unsigned x, unsigned) -> unsigned {
        return row[std::size_t{4} * x + 3];
      };
    default:
      return nullptr;
  }
}

// Bytes to words of blue, green, red and alpha from the lowest byte up. Fonts may be wrong about
// what is premultiplied.
void CopyColours(const std::uint8_t* row, unsigned width, std::uint8_t* out) {
  auto* words = static_cast<std::uint32_t*>(static_cast<void*>(out));
  for (unsigned x = 0; x < width; ++x, row += 4) {
    const std::uint32_t alpha = row[3];
    const auto held = [&](int i) { return std::min<std::uint32_t>(row[i], alpha); };
    words[x] = alpha << 24 | held(2) << 16 | held(1) << 8 | held(0);
  }
}

}  // namespace

bool kalvora::CopyGlyph(const FT_Bitmap& bitmap, bool colours, KSoftPixmap& mask) {
  const Coverage coverage = CoverageOf(bitmap.pixel_mode);
  if (!bitmap.buffer || !coverage) {
    mask.Create(0, 0, KFormat8888PM, nullptr, 0);
    return true;
  }
  const bool coloured = colours && bitmap.pixel_mode == FT_PIXEL_MODE_BGRA;
  mask.Create(bitmap.width, bitmap.rows, coloured ? KFormat8888PM : KFormatMask8, nullptr, 0);
  if (!mask.pixels) return false;

  const unsigned top = bitmap.num_grays > 1 ? bitmap.num_grays - 1u : 255u;
  // The pitch leads one row down; when it is negative the buffer starts with the bottom row.
  const std::ptrdiff_t pitch = bitmap.pitch;
  const std::uint8_t* row = bitmap.buffer;
  if (pitch < 0 && bitmap.rows > 0) row -= pitch * static_cast<std::ptrdiff_t>(bitmap.rows - 1);
  std::uint8_t* out = mask.pixels;
  for (unsigned y = 0; y < bitmap.rows; ++y) {
    if (coloured) {
      CopyColours(row, bitmap.width, out);
    } else if (bitmap.pixel_mode == FT_PIXEL_MODE_GRAY && top == 255) {
      std::copy_n(row, bitmap.width, out);
    } else {
      for (unsigned x = 0; x < bitmap.width; ++x) {
        out[x] = static_cast<std::uint8_t>(coverage(row, x, top));
      }
    }
    out += mask.stride;
    row += pitch;
  }
  return true;
}
