// KFilters: the box filter.
#include "kalvora/paint/KFilters.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/patterns/patternwalk.h"

namespace {

constexpr std::int64_t kOnePixel = 0x10000;
constexpr int kChannels = 4;

bool Usable(const KSoftPixmap* p) {
  constexpr std::uint32_t kMost = 32767;
  return p && p->pixels && p->pixelShift == 2 && p->width >= 1 && p->height >= 1 &&
         p->width <= kMost && p->height <= kMost && p->stride >= p->width * 4;
}

/// [from, to) of the source's columns or rows, which are `pixel` wide.
struct Side {
  std::int64_t from, to, pixel;

  std::int64_t First() const { return from / pixel; }
  std::int64_t End() const { return (to + pixel - 1) / pixel; }
  /// The part of column or row i that lies within.
  std::int64_t Overlap(std::int64_t i) const {
    return std::min(to, (i + 1) * pixel) - std::max(from, i * pixel);
  }
};

/// Channels of the source's pixels in a box, each times weight(vertical, horizontal overlap).
struct Sums {
  std::int64_t channel[kChannels] = {};

  template <typename Weight>
  Sums(const KSoftPixmap& source, const Side& columns, const Side& rows, Weight weight) {
    for (std::int64_t y = rows.First(); y < rows.End(); ++y) {
      const std::uint8_t* row = source.pixels + static_cast<std::size_t>(y) * source.stride;
      for (std::int64_t x = columns.First(); x < columns.End(); ++x) {
        const std::int64_t w = weight(rows.Overlap(y), columns.Overlap(x));
        const std::uint32_t p = kalvora::PatternPixels::Load(
            kalvora::PatternPixels::Pixel(row, static_cast<std::int32_t>(x)));
        for (int c = 0; c < kChannels; ++c) channel[c] += (p >> (8 * c) & 0xFF) * w;
      }
    }
  }
};

/// From every pixel of one pixmap to the box of another one that it covers.
class BoxFilter {
 public:
  BoxFilter(const KSoftPixmap& to, const KSoftPixmap& from)
      : to_(to), from_(from), sx_(Ratio(from.width, to.width)), sy_(Ratio(from.height, to.height)) {
    const std::int64_t area = std::int64_t{sx_} * sy_ >> 16;
    // KFixed::Inverse and 8 more bits, which are 0 but for areas beyond 16.16.
    norm_ = area > INT32_MAX
                ? (std::int64_t{1} << 40) / area
                : KFixed::Inverse(KFixed::FromRaw(static_cast<std::int32_t>(area))).raw *
                      std::int64_t{256};
  }
  std::uint32_t At(std::int64_t x, std::int64_t y) const;

 private:
  static std::int32_t Ratio(unsigned a, unsigned b) {
    const auto whole = [](unsigned v) { return KFixed::FromInt(static_cast<std::int32_t>(v)); };
    return (whole(a) / whole(b)).raw;
  }

  const KSoftPixmap& to_;
  const KSoftPixmap& from_;
  std::int32_t sx_, sy_;  // of a box, 16.16
  std::int64_t norm_;     // 1 / area
};

/// Each channel as old pictures have it, from 16.16 weights and an inverse of few bits, where that
/// is within a level of the mean; else, and where the mean is full, the mean.
std::uint32_t BoxFilter::At(std::int64_t x, std::int64_t y) const {
  const Sums rough(from_, {x * sx_, (x + 1) * sx_, kOnePixel}, {y * sy_, (y + 1) * sy_, kOnePixel},
                   [](std::int64_t v, std::int64_t h) { return (v >> 8) * h >> 16; });
  // In units in which both pixmaps' pixels are whole.
  const std::int64_t width = from_.width, height = from_.height, area = width * height;
  const Sums exact(from_, {x * width, (x + 1) * width, to_.width},
                   {y * height, (y + 1) * height, to_.height},
                   [](std::int64_t v, std::int64_t h) { return v * h; });
  std::uint32_t result = 0;
  for (int c = 0; c < kChannels; ++c) {
    const std::int64_t sum = exact.channel[c];
    std::int64_t level =
        std::clamp<std::int64_t>(((rough.channel[c] * norm_ >> 16) + 0x7F00) >> 16, 0, 255);
    if (level * area > sum + area || level * area < sum - area || sum == 255 * area) {
      level = (sum * kOnePixel + 0x7F00 * area) / area >> 16;
    }
    result |= static_cast<std::uint32_t>(level) << (8 * c);
  }
  return result;
}

}  // namespace

void KFilters::DownSample(KSoftPixmap* to, const KSoftPixmap* from) {
  if (!Usable(to) || !Usable(from)) return;
  const BoxFilter filter(*to, *from);
  for (std::int64_t y = 0; y < to->height; ++y) {
    std::uint8_t* out = to->pixels + static_cast<std::size_t>(y) * to->stride;
    for (std::int64_t x = 0; x < to->width; ++x, out += sizeof(std::uint32_t)) {
      const std::uint32_t p = filter.At(x, y);
      std::memcpy(out, &p, sizeof p);
    }
  }
}
