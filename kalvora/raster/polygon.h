// Polygon scan conversion: rings in, filled spans out.
#ifndef KALVORA_RASTER_POLYGON_H
#define KALVORA_RASTER_POLYGON_H

#include <algorithm>
#include <cstdint>

#include "kalvora/raster/KFillRule.h"
#include "kalvora/raster/KMergeNode.h"
#include "kalvora/raster/PaintJob.h"

class KClipRings;

namespace kalvora {

/// A draw of polygons. Everything is borrowed.
struct RasterJob : PaintJob {
  KStack* stack;       ///< scratch memory
  KFillRule fillRule;  ///< of the shape
  bool clipped;        ///< a clip path is set
  KFillRule clipRule;  ///< of the clip path
  const KClipRings* clipRings;
};

/// The pixels to be drawn, ends exclusive.
struct DrawnBox {
  /// The most that `margin` is.
  static constexpr std::int32_t kMargin = 66;

  std::int32_t x0, y0, x1, y1;
  /// What lies as far beside them, in pixels, is not looked at, but for what it winds around.
  std::int32_t margin = kMargin;
  /// Shapes with more top vertices have the whole margin: they may have rows that are drawn in
  /// slabs (see GroupSweep.h), where everything that is looked at may show.
  static constexpr unsigned kFewTops = 64;

  /// What suffices for edges that are up to `width` pixels wide: crossings are rounded by less than
  /// two units of height (see kHeightBits), of which an edge has 1024 or more.
  static constexpr std::int32_t MarginOf(std::int32_t width) {
    return std::min((width >> 9) + 3, kMargin);
  }
};

/// Fills the area that the rings enclose under the fill rule, within the clip. A null ring counts
/// as one that lies beside the clip.
void RasterPolygon(const RasterJob& job, KVertex2D* const* rings, unsigned count);
/// The same for one ring; fewer than 3 vertices draw nothing.
void RasterPolygon(const RasterJob& job, KVertex2D* ring, unsigned vertexCount);

/// Scan-converts one ring from its only top vertex.
void DrawSimplePolygon(const RasterJob& job, const KVertex2D* top);
/// Scan-converts everything that hangs from the sorted nodes [begin, end), within `box`.
void DrawComplexPolygon(const RasterJob& job, const KMergeNode* begin, const KMergeNode* end,
                        const DrawnBox& box);

}  // namespace kalvora

#endif
