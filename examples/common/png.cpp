// PNG files: see the header.
#include "examples/common/png.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <png.h>

#include "examples/common/Error.h"
#include "examples/common/files.h"

namespace examples {

namespace {

// c / a, rounded; 0xAARRGGBB in, four straight bytes out. Channels above alpha count as alpha.
void Unpremultiply(std::uint32_t word, std::uint8_t out[4]) {
  const std::uint32_t a = word >> 24;
  const auto channel = [&](unsigned shift) {
    const std::uint32_t c = std::min(word >> shift & 0xFF, a);
    return static_cast<std::uint8_t>(a == 0 ? 0 : (c * 255 + a / 2) / a);
  };
  out[0] = channel(16);
  out[1] = channel(8);
  out[2] = channel(0);
  out[3] = static_cast<std::uint8_t>(a);
}

// The other way: c a, rounded.
std::uint32_t Premultiply(const std::uint8_t rgba[4]) {
  const std::uint32_t a = rgba[3];
  const auto channel = [&](int i) { return (rgba[i] * a + 127) / 255; };
  return a << 24 | channel(0) << 16 | channel(1) << 8 | channel(2);
}

std::vector<std::uint8_t> StraightBytes(const KSoftPixmap& picture) {
  const std::size_t channels = picture.hasAlpha ? 4 : 3;
  std::vector<std::uint8_t> bytes;
  bytes.reserve(channels * picture.width * picture.height);
  for (unsigned y = 0; y < picture.height; ++y) {
    const std::uint32_t* row = picture.Row32(y);
    for (unsigned x = 0; x < picture.width; ++x) {
      std::uint8_t pixel[4];
      Unpremultiply(picture.hasAlpha ? row[x] : row[x] | 0xFF000000u, pixel);
      bytes.insert(bytes.end(), pixel, pixel + channels);
    }
  }
  return bytes;
}

}  // namespace

void WritePng(const KSoftPixmap& picture, const std::string& path) {
  const std::vector<std::uint8_t> bytes = StraightBytes(picture);
  OutputFile file(path);
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = picture.width;
  image.height = picture.height;
  image.format = picture.hasAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
  if (!png_image_write_to_stdio(&image, file.Stream(), 0, bytes.data(), 0, nullptr)) {
    throw Error(path + ": " + image.message);
  }
  file.Finish();
}

bool ReadPng(const void* data, std::size_t size, KSoftPixmap& picture) {
  constexpr unsigned kLargest = 8192;
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, data, size)) return false;
  image.format = PNG_FORMAT_RGBA;
  if (image.width > kLargest || image.height > kLargest) {
    png_image_free(&image);
    return false;
  }
  std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr)) return false;
  picture.Create(image.width, image.height, KFormat8888PM);
  if (!picture.pixels) return false;
  const std::uint8_t* pixel = bytes.data();
  for (unsigned y = 0; y < picture.height; ++y) {
    std::uint32_t* row = picture.Row32(y);
    for (unsigned x = 0; x < picture.width; ++x, pixel += 4) row[x] = Premultiply(pixel);
  }
  return true;
}

}  // namespace examples
