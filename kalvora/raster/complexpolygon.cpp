// Scan conversion of any rings, crossing themselves and each other, under a fill rule and a clip
// path.
#include <algorithm>

#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/polygon.h"
#include "kalvora/raster/sweep/ActiveChains.h"
#include "kalvora/raster/sweep/DifferenceRows.h"
#include "kalvora/raster/sweep/RowSweep.h"

namespace kalvora {

void DrawComplexPolygon(const RasterJob& job, const KMergeNode* begin, const KMergeNode* end,
                        const DrawnBox& box) {
  if (begin == end) return;
  KRowPainter painter(job);
  if (!painter.Bind()) return;
  const InsideRule inside(job.fillRule, job.clipped, job.clipRule);
  // Where the clip has a few more columns, none of which is painted, rows end with a whole block.
  DrawnBox columns = box;
  columns.x1 = std::min<std::int32_t>(box.x0 + ((box.x1 - box.x0 + 4) & ~3), job.style->clip.x1);
  DifferenceRows differences(job.stack, painter, job.style->lineBuffer, columns);
  if (!differences.Ready()) return;
  ActiveChains chains(job.stack, begin, end, box, inside);
  if (!chains.Ready()) return;
  RowSweep sweep(job.stack, chains, differences, inside);
  for (std::int32_t row = box.y0; row < box.y1;) {
    if (chains.Count() == 0 && !inside(chains.Base())) {
      row = std::max(row, chains.NextRow());
      if (row >= box.y1) break;
    }
    if (!chains.Enter(row * kRowHeight)) break;
    row += sweep.AddRows(row * kRowHeight, box.y1 - row);
  }
  differences.Paint();
}

}  // namespace kalvora
