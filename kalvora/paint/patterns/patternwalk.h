// The pixels of a pattern, and the position of a row's pixels in it.
#ifndef KALVORA_PAINT_PATTERNS_PATTERNWALK_H
#define KALVORA_PAINT_PATTERNS_PATTERNWALK_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

class KSoftPixmap;
struct KStyleContext2D;

namespace kalvora {

/// The part of a pixmap that patterns read: columns and rows that 16.16 coordinates reach, and,
/// where rows are stored closer together than they are wide, only the columns that all rows have
/// room for.
struct PatternPixels {
  const std::uint8_t* pixels = nullptr;
  std::size_t stride = 0;
  std::int32_t width = 0;  ///< 1..32768, or 0 when there is nothing to read
  std::int32_t height = 0;

  explicit PatternPixels(const KSoftPixmap& pixmap);

  /// Offsets of pixels from the first one fit in 32 bits.
  bool HasShortOffsets() const {
    return std::uint64_t{stride} * static_cast<std::uint32_t>(height) <= UINT32_MAX;
  }
  const std::uint8_t* Row(std::int32_t r) const {
    return pixels + static_cast<std::size_t>(r) * stride;
  }
  /// Column c of a row.
  static const std::uint8_t* Pixel(const std::uint8_t* row, std::int32_t c) {
    return row + static_cast<std::size_t>(c) * sizeof(std::uint32_t);
  }
  /// From any byte: KFilters reads what cannot be drawn, too.
  static std::uint32_t Load(const std::uint8_t* pixel) {
    std::uint32_t p;
    std::memcpy(&p, pixel, sizeof p);
    return p;
  }
};

/// The index of 0..count - 1 that is nearest to i.
inline std::int32_t Clamped(std::int32_t i, std::int32_t count) {
  return i < 0 ? 0 : i < count ? i : count - 1;
}
/// An index within a period of `count`.
inline std::int32_t Wrapped(std::int32_t i, std::int32_t count) {
  if (i >= 0 && i < count) return i;
  const std::int32_t rest = i % count;
  return rest < 0 ? rest + count : rest;
}

/// An 8-bit weight, 0..256, from the fraction of a coordinate: (f 256 + 0x7F00) >> 16.
inline std::uint32_t FractionWeight(std::uint32_t v) { return ((v & 0xFFFF) + 0x7F) >> 8; }

/// A position in the pattern, 16.16, and what it grows by per device pixel. It wraps like all
/// coordinates.
struct PatternPosition {
  std::uint32_t u, v, du, dv;

  /// That of x0 of the row, through the transform of the source pixmap.
  explicit PatternPosition(const KStyleContext2D* style);
  /// That of any device pixel.
  PatternPosition(const KStyleContext2D* style, std::int32_t x, std::int32_t y);

  std::int32_t U() const { return static_cast<std::int32_t>(u); }
  std::int32_t V() const { return static_cast<std::int32_t>(v); }
  std::int32_t Column() const { return U() >> 16; }
  std::int32_t Row() const { return V() >> 16; }
  void Step() {
    u += du;
    v += dv;
  }
  /// Half a pixel back, for samplings that mix a pixel with its neighbours to the right and below.
  void ShiftHalf() {
    u -= 0x8000;
    v -= 0x8000;
  }
  /// Brings position and step into the period of the pixmap, both 0 or more.
  void WrapInto(const PatternPixels& p);
  /// The walk goes along one row of a tile, from left to right and in steps well below its width.
  bool IsAlongRow(const PatternPixels& p) const {
    return dv == 0 && du <= static_cast<std::uint32_t>(p.width) << 14;
  }
  /// How many of n pixels from here on, left to right, have u below `end`.
  int CountBelow(std::uint32_t end, int n) const {
    if (u >= end) return 0;
    if (du == 0) return n;
    return static_cast<int>(std::min((end - 1 - u) / du + 1, static_cast<std::uint32_t>(n)));
  }
  /// A step that stays in the period.
  void StepWrapped(const PatternPixels& p) {
    u += du;
    v += dv;
    const std::uint32_t width = static_cast<std::uint32_t>(p.width) << 16;
    const std::uint32_t height = static_cast<std::uint32_t>(p.height) << 16;
    if (u >= width) u -= width;
    if (v >= height) v -= height;
  }
};

/// The pixels [begin, end) of a run of n whose positions lie in [0, uEnd) x [0, vEnd) before a
/// coordinate wraps.
struct InsideRun {
  int begin = 0;
  int end = 0;

  InsideRun() = default;
  InsideRun(const PatternPosition& p, int n, std::int64_t uEnd, std::int64_t vEnd);

  /// Calls edge(to, count) or inside(to, count) for the parts of the next n pixels, and moves the
  /// run along.
  template <typename Edge, typename Inside>
  void Split(std::uint32_t* to, int n, Edge edge, Inside inside) {
    const int before = std::clamp(begin, 0, n);
    const int within = std::clamp(end, 0, n) - before;
    if (before > 0) edge(to, before);
    if (within > 0) inside(to + before, within);
    if (before + within < n) edge(to + before + within, n - before - within);
    begin -= n;
    end -= n;
  }
};

}  // namespace kalvora

#endif
