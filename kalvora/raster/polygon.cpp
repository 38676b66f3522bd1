// RasterPolygon: from rings to the scan converter that suits them.
#include "kalvora/raster/polygon.h"

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/raster/KRowStyle.h"
#include "kalvora/raster/KStack.h"
#include "kalvora/raster/ring.h"

namespace kalvora {
namespace {

// Merges the clip path's nodes into the shape's, from the back, so that one array serves. Among
// equal y the clip's nodes come first.
KMergeNode* AddClipNodes(const RasterJob& job, KMergeNode* nodes, unsigned count) {
  const unsigned total = count + job.clipNodeCount;
  if (total < count || total > UINT32_MAX / sizeof(KMergeNode)) return nullptr;
  auto* merged = static_cast<KMergeNode*>(
      job.stack->ReAlloc(nodes, static_cast<unsigned>(total * sizeof(KMergeNode))));
  if (!merged) return nullptr;
  unsigned clip = job.clipNodeCount;
  for (unsigned to = total; clip > 0;) {
    --to;
    if (count > 0 && merged[count - 1].vertex->y >= job.clipNodes[clip - 1].vertex->y) {
      merged[to] = merged[--count];
    } else {
      merged[to] = {job.clipNodes[--clip].vertex, 1};
    }
  }
  return merged;
}

void RasterNodes(const RasterJob& job, KMergeNode*& nodes, unsigned count) {
  const KClip& clip = job.style->clip;
  if (clip.x0 >= clip.x1 || clip.y0 >= clip.y1) return;
  if (nodes[0].vertex->y.raw >> 16 >= clip.y1) return;
  if (job.clipped) {
    KMergeNode* merged = AddClipNodes(job, nodes, count);
    if (!merged) return;
    nodes = merged;
    DrawComplexPolygon(job, nodes, nodes + count + job.clipNodeCount);
  } else if (count == 1 && (job.fillRule & 1)) {
    // One ring that winds once: inside under every rule that counts a winding of one.
    DrawSimplePolygon(job, nodes[0].vertex);
  } else {
    DrawComplexPolygon(job, nodes, nodes + count);
  }
}

}  // namespace

void RasterPolygon(const RasterJob& job, KVertex2D* const* rings, unsigned count) {
  KMergeNode* nodes = nullptr;
  const unsigned nodeCount = GetMergePts(nodes, rings, count, job.stack);
  if (nodeCount == 0) return;
  RasterNodes(job, nodes, nodeCount);
  job.stack->DeAlloc(nodes);
}

void RasterPolygon(const RasterJob& job, KVertex2D* ring, unsigned vertexCount) {
  if (vertexCount >= 3) RasterPolygon(job, &ring, 1);
}

}  // namespace kalvora
