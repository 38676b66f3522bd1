// VertexBox: the box around vertices, and whether it lies beside what is drawn.
#ifndef KALVORA_RASTER_VERTEXBOX_H
#define KALVORA_RASTER_VERTEXBOX_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kalvora/raster/KRowStyle.h"
#include "kalvora/raster/chainwalk.h"

namespace kalvora {

/// The 16.16 box around vertices, and with the control points of curves around their points: a
/// halving never leaves the range of what it halves.
struct VertexBox {
  std::int32_t x0 = INT32_MAX, y0 = INT32_MAX, x1 = INT32_MIN, y1 = INT32_MIN;  ///< ends included

  void Include(KVertex2D v) {
    x0 = std::min(x0, v.x.raw);
    x1 = std::max(x1, v.x.raw);
    y0 = std::min(y0, v.y.raw);
    y1 = std::max(y1, v.y.raw);
  }

  void Include(const KVertex2D* ring) {
    const KVertex2D* v = ring::First(ring);
    const KVertex2D* const end = v + ring::Count(ring);
    if (kHasVectors && end - v >= kMany) return IncludeTwos(v, end);
    for (; v != end; ++v) Include(*v);
  }

  // The pixels that are touched, ends included.
  std::int32_t Left() const { return HoldX(KFixed::FromRaw(x0)) >> 16; }
  std::int32_t Right() const { return HoldX(KFixed::FromRaw(x1)) >> 16; }
  std::int32_t Top() const { return y0 >> 16; }
  std::int32_t Bottom() const { return y1 >> 16; }

  KClip Pixels() const {
    return {static_cast<std::int16_t>(Left()), static_cast<std::int16_t>(Top()),
            static_cast<std::int16_t>(Right() + 1),
            static_cast<std::int16_t>(std::min(Bottom() + 1, INT16_MAX))};
  }

  /// Whether all of it lies above or below the clip, or by more than `margin` pixels beside it.
  bool Misses(const KClip& clip, std::int32_t margin) const {
    return Bottom() < clip.y0 || Top() >= clip.y1 || Right() < clip.x0 - margin ||
           Left() >= clip.x1 + margin;
  }

 private:
#if defined(__SSE2__) || defined(__aarch64__)
  static constexpr bool kHasVectors = true;
#else
  static constexpr bool kHasVectors = false;
#endif
  static constexpr std::ptrdiff_t kMany = 6;

  // Two in a vector, which is begun with the last ones: of an odd number, one comes once more.
  void IncludeTwos(const KVertex2D* v, const KVertex2D* end) {
    typedef std::int32_t Two __attribute__((vector_size(2 * sizeof(KVertex2D))));
    const auto load = [](const KVertex2D* from) {
      Two two;
      std::memcpy(&two, from, sizeof two);
      return two;
    };
    Two low = load(end - 2), high = low;
    for (; v < end - 1; v += 2) {
      const Two two = load(v);
      low = two < low ? two : low;
      high = two > high ? two : high;
    }
    for (const int i : {0, 2}) {
      Include({KFixed::FromRaw(low[i]), KFixed::FromRaw(low[i + 1])});
      Include({KFixed::FromRaw(high[i]), KFixed::FromRaw(high[i + 1])});
    }
  }
};

}  // namespace kalvora

#endif
