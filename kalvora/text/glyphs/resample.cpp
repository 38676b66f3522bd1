// Averages of boxes of source pixels, in integers.
#include "kalvora/text/glyphs/resample.h"

#include <algorithm>
#include <cstdlib>

#include "kalvora/core/KSoftPixmap.h"

namespace kalvora {
namespace {

constexpr std::int64_t kOnePixel = 1 << 16;
// Entries of matrices are smaller, so that products of two fit into 64 bits; larger boxes are not
// made.
constexpr std::int64_t kLargest = std::int64_t{1} << 30;
constexpr std::int64_t kMostPixels = std::int64_t{1} << 24;

bool IsTame(const GlyphMatrix2& m) {
  const auto small = [](std::int64_t v) { return std::abs(v) < kLargest; };
  return small(m.xx) && small(m.xy) && small(m.yx) && small(m.yy);
}

// The inverse in 16.16; false where there is none that could be used.
bool Invert(const GlyphMatrix2& m, GlyphMatrix2& inverse) {
  const std::int64_t determinant = m.xx * m.yy - m.xy * m.yx;  // 32.32
  if (determinant == 0) return false;
  const auto over = [&](std::int64_t v) { return v * (std::int64_t{1} << 32) / determinant; };
  inverse = {over(m.yy), over(-m.xy), over(-m.yx), over(m.xx)};
  return IsTame(inverse);
}

// The source pixels between two places along one axis, and the share of each, of 4096.
struct Stretch {
  std::int64_t from, to;  // in 16.16
  std::int64_t first, end;

  Stretch(std::int64_t centre, std::int64_t half, std::int64_t size)
      : from(centre - half),
        to(centre + half),
        first(std::max<std::int64_t>(from >> 16, 0)),
        end(std::min((to + kOnePixel - 1) >> 16, size)) {}
  std::int64_t Weight(std::int64_t i) const {
    return (std::min(to, (i + 1) << 16) - std::max(from, i << 16)) >> 4;
  }
  std::int64_t Total() const { return (to - from) >> 4; }
};

template <unsigned kChannels>
void Average(const KSoftPixmap& from, const Stretch& x, const Stretch& y, std::uint8_t* out) {
  std::int64_t sums[kChannels] = {};
  for (std::int64_t row = y.first; row < y.end; ++row) {
    const std::uint8_t* pixel = from.pixels + row * from.stride + x.first * kChannels;
    const std::int64_t rowWeight = y.Weight(row);
    for (std::int64_t column = x.first; column < x.end; ++column) {
      const std::int64_t weight = rowWeight * x.Weight(column);
      for (std::int64_t& sum : sums) sum += weight * *pixel++;
    }
  }
  const std::int64_t total = x.Total() * y.Total();
  for (const std::int64_t sum : sums) {
    *out++ = static_cast<std::uint8_t>(std::min<std::int64_t>((sum + total / 2) / total, 255));
  }
}

template <unsigned kChannels>
void Fill(const KSoftPixmap& from, const GlyphBox& box, const GlyphMatrix2& inverse,
          const GlyphBox& covers, KSoftPixmap& to) {
  // Half the box around what a pixel covers.
  const auto half = [](std::int64_t a, std::int64_t b) {
    return std::max(std::abs(a) + std::abs(b), kOnePixel) / 2;
  };
  const std::int64_t halfX = half(inverse.xx, inverse.xy), halfY = half(inverse.yx, inverse.yy);
  for (std::uint32_t row = 0; row < to.height; ++row) {
    std::uint8_t* out = to.pixels + std::size_t{to.stride} * row;
    const std::int64_t y = 2 * (covers.top + row) + 1;  // in halves of a pixel
    for (std::uint32_t column = 0; column < to.width; ++column, out += kChannels) {
      const std::int64_t x = 2 * (covers.left + column) + 1;
      const std::int64_t u = (x * inverse.xx + y * inverse.xy) / 2 - (box.left << 16);
      const std::int64_t v = (x * inverse.yx + y * inverse.yy) / 2 - (box.top << 16);
      Average<kChannels>(from, {u, halfX, from.width}, {v, halfY, from.height}, out);
    }
  }
}

}  // namespace

GlyphBox MapBox(const GlyphBox& box, const GlyphMatrix2& m) {
  if (!IsTame(m)) return {0, 0, 0, 0};
  const auto [xl, xh] = std::minmax({box.left * m.xx, box.right * m.xx});
  const auto [yl, yh] = std::minmax({box.top * m.xy, box.bottom * m.xy});
  const auto [zl, zh] = std::minmax({box.left * m.yx, box.right * m.yx});
  const auto [wl, wh] = std::minmax({box.top * m.yy, box.bottom * m.yy});
  const auto ceil = [](std::int64_t v) { return (v + kOnePixel - 1) >> 16; };
  const GlyphBox mapped = {(xl + yl) >> 16, (zl + wl) >> 16, ceil(xh + yh), ceil(zh + wh)};
  const auto near = [](std::int64_t v) { return std::abs(v) <= kMostPixels; };
  const bool fits = near(mapped.left) && near(mapped.top) && near(mapped.right) &&
                    near(mapped.bottom) && mapped.Width() * mapped.Height() <= kMostPixels;
  return fits ? mapped : GlyphBox{0, 0, 0, 0};
}

bool Resample(const KSoftPixmap& from, GlyphBox box, const GlyphMatrix2& m, KSoftPixmap& to,
              GlyphBox& covers) {
  covers = MapBox(box, m);
  GlyphMatrix2 inverse;
  if (covers.Width() == 0 || covers.Height() == 0 || !Invert(m, inverse)) {
    covers = {0, 0, 0, 0};
    to.Create(0, 0, KFormat8888PM, nullptr, 0);
    return true;
  }
  to.Create(static_cast<unsigned>(covers.Width()), static_cast<unsigned>(covers.Height()),
            from.format, nullptr, 0);
  if (!to.pixels) return false;
  (from.format == KFormatMask8 ? Fill<1> : Fill<4>)(from, box, inverse, covers, to);
  return true;
}

}  // namespace kalvora
