// Frames to PNG, by libpng's simplified interface.
#include "tools/sim/png.h"

#include <cstring>
#include <utility>
#include <vector>

#include <png.h>

namespace sim {
namespace {

void PutRgb(const std::uint8_t* pixel, unsigned bpp, std::uint8_t* rgb) {
  if (bpp == 16) {
    const unsigned v = pixel[0] | pixel[1] << 8;
    rgb[0] = static_cast<std::uint8_t>((v >> 11) * 255 / 31);
    rgb[1] = static_cast<std::uint8_t>((v >> 5 & 63) * 255 / 63);
    rgb[2] = static_cast<std::uint8_t>((v & 31) * 255 / 31);
    return;
  }
  for (int i = 0; i < 3; ++i) rgb[i] = bpp == 8 ? pixel[0] : pixel[2 - i];
}

}  // namespace

bool WritePng(const Frame& frame, const std::string& path) {
  std::vector<std::uint8_t> rgb(std::size_t{frame.width} * frame.height * 3);
  std::uint8_t* out = rgb.data();
  for (unsigned y = 0; y < frame.height; ++y) {
    const std::uint8_t* pixel = frame.pixels + std::size_t{frame.stride} * y;
    for (unsigned x = 0; x < frame.width; ++x, pixel += frame.bpp / 8, out += 3) {
      PutRgb(pixel, frame.bpp, out);
      if (frame.bgr) std::swap(out[0], out[2]);
    }
  }
  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  image.width = frame.width;
  image.height = frame.height;
  image.format = PNG_FORMAT_RGB;
  image.flags = PNG_IMAGE_FLAG_FAST;
  return png_image_write_to_file(&image, path.c_str(), 0, rgb.data(), 0, nullptr) != 0;
}

}  // namespace sim
