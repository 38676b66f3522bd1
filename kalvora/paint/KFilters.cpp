// KFilters: the box filter.
#include "kalvora/paint/KFilters.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/patternwalk.h"

namespace {

constexpr std::int64_t kOnePixel = 0x10000;

bool Usable(const KSoftPixmap* p) {
  constexpr std::uint32_t kMost = 32767;
  return p && p->pixels && p->pixelShift == 2 && p->width >= 1 && p->height >= 1 &&
         p->width <= kMost && p->height <= kMost && p->stride >= p->width * 4;
}

/// The part of source row or column i that lies in [from, to), 16.16.
std::int64_t Overlap(std::int64_t i, std::int64_t from, std::int64_t to) {
  return std::min(to, (i + 1) * kOnePixel) - std::max(from, i * kOnePixel);
}

/// 1 / area, the area being sx sy pixels: KFixed::Inverse and 8 more bits, which are 0 but for
/// areas beyond 16.16.
std::int64_t InverseArea(KFixed sx, KFixed sy) {
  const std::int64_t area = std::int64_t{sx.raw} * sy.raw >> 16;
  if (area <= INT32_MAX) {
    return std::int64_t{KFixed::Inverse(KFixed::FromRaw(static_cast<std::int32_t>(area))).raw} *
           256;
  }
  return (std::int64_t{1} << 40) / area;
}

/// The average of the source box [left, right) x [top, bottom), 16.16 and within the source.
std::uint32_t Average(const KSoftPixmap& from, std::int64_t left, std::int64_t right,
                      std::int64_t top, std::int64_t bottom, std::int64_t norm) {
  std::int64_t sum[4] = {};
  for (std::int64_t y = top / kOnePixel; y * kOnePixel < bottom; ++y) {
    const std::int64_t vertical = Overlap(y, top, bottom) >> 8;
    const std::uint8_t* row = from.pixels + static_cast<std::size_t>(y) * from.stride;
    for (std::int64_t x = left / kOnePixel; x * kOnePixel < right; ++x) {
      const std::int64_t weight = vertical * Overlap(x, left, right) >> 16;
      const std::uint32_t p = kalvora::PatternPixels::Load(
          kalvora::PatternPixels::Pixel(row, static_cast<std::int32_t>(x)));
      for (int c = 0; c < 4; ++c) sum[c] += (p >> (8 * c) & 0xFF) * weight;
    }
  }
  std::uint32_t result = 0;
  for (int c = 0; c < 4; ++c) {
    const std::int64_t channel = ((sum[c] * norm >> 16) + 0x7F00) >> 16;
    result |= static_cast<std::uint32_t>(std::clamp<std::int64_t>(channel, 0, 255)) << (8 * c);
  }
  return result;
}

}  // namespace

void KFilters::DownSample(KSoftPixmap* to, const KSoftPixmap* from) {
  if (!Usable(to) || !Usable(from)) return;
  const auto ratio = [](unsigned a, unsigned b) {
    return KFixed::FromInt(static_cast<std::int32_t>(a)) /
           KFixed::FromInt(static_cast<std::int32_t>(b));
  };
  const KFixed sx = ratio(from->width, to->width);
  const KFixed sy = ratio(from->height, to->height);
  const std::int64_t norm = InverseArea(sx, sy);
  for (std::int64_t y = 0; y < to->height; ++y) {
    std::uint8_t* out = to->pixels + static_cast<std::size_t>(y) * to->stride;
    for (std::int64_t x = 0; x < to->width; ++x, out += sizeof(std::uint32_t)) {
      const std::uint32_t p =
          Average(*from, x * sx.raw, (x + 1) * sx.raw, y * sy.raw, (y + 1) * sy.raw, norm);
      std::memcpy(out, &p, sizeof p);
    }
  }
}
