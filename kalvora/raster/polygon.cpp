// RasterPolygon: from rings to the scan converter that suits them.
#include "kalvora/raster/polygon.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/raster/KClipRings.h"
#include "kalvora/raster/KRowStyle.h"
#include "kalvora/raster/KStack.h"
#include "kalvora/raster/VertexBox.h"
#include "kalvora/raster/ring.h"

namespace kalvora {
namespace {

// Merges the clip path's nodes into the shape's, from the back, so that one array serves. Among
// equal y the clip's nodes come first.
KMergeNode* AddClipNodes(const RasterJob& job, KMergeNode* nodes, unsigned count) {
  const KClipRings& path = *job.clipRings;
  const unsigned total = count + path.nodeCount;
  if (total < count || total > UINT32_MAX / sizeof(KMergeNode)) return nullptr;
  auto* merged = static_cast<KMergeNode*>(
      job.stack->ReAlloc(nodes, static_cast<unsigned>(total * sizeof(KMergeNode))));
  if (!merged) return nullptr;
  unsigned clip = path.nodeCount;
  for (unsigned to = total; clip > 0;) {
    --to;
    if (count > 0 && merged[count - 1].vertex->y >= path.nodes[clip - 1].vertex->y) {
      merged[to] = merged[--count];
    } else {
      merged[to] = {path.nodes[--clip].vertex, 1};
    }
  }
  return merged;
}

// The rings that may touch what is drawn, and the pixels that they touch there. A ring beside the
// clip, by more than the converter needs to see of what it crosses, cannot change anything inside.
class SeenRings {
 public:
  SeenRings(const RasterJob& job, KVertex2D* const* rings, unsigned count)
      : clip_(job.clipRings->Seen(job.style->clip)),
        stack_(job.stack),
        rings_(rings),
        count_(count) {
    if (clip_.x0 >= clip_.x1 || clip_.y0 >= clip_.y1) return;
    unsigned seen = 0;
    for (unsigned i = 0; i < count; ++i) {
      const bool kept = Include(rings[i]);
      if (kept && kept_) kept_[seen] = rings[i];
      if (!kept && !kept_ && !CopyFirst(i)) return;
      seen += kept;
    }
    count_ = seen;
    if (kept_) rings_ = kept_;
    if (!job.clipped) box_.margin = DrawnBox::MarginOf(widest_);
  }
  ~SeenRings() { stack_->DeAlloc(kept_); }
  SeenRings(const SeenRings&) = delete;
  SeenRings& operator=(const SeenRings&) = delete;

  KVertex2D* const* Rings() const { return rings_; }
  unsigned Count() const { return count_; }
  /// Within the clip; empty when there is nothing to draw, or no memory.
  const DrawnBox& Box() const { return box_; }

 private:
  bool CopyFirst(unsigned n) {
    kept_ =
        static_cast<KVertex2D**>(stack_->Alloc(static_cast<unsigned>(count_ * sizeof(KVertex2D*))));
    if (kept_) {
      std::copy_n(rings_, n, kept_);
    } else {
      box_ = {0, 0, 0, 0, 0};
    }
    return kept_;
  }
  bool Include(const KVertex2D* ring) {
    if (!ring) return false;
    VertexBox box;
    box.Include(ring);
    if (box.Misses(clip_, DrawnBox::kMargin)) return false;
    box_.x0 = std::max<std::int32_t>(std::min(box_.x0, box.Left()), clip_.x0);
    box_.y0 = std::max<std::int32_t>(std::min(box_.y0, box.Top()), clip_.y0);
    box_.x1 = std::min<std::int32_t>(std::max(box_.x1, box.Right() + 1), clip_.x1);
    box_.y1 = std::min<std::int32_t>(std::max(box_.y1, box.Bottom() + 1), clip_.y1);
    widest_ = std::max(widest_, box.Right() - box.Left() + 1);
    return true;
  }

  const KClip clip_;
  KStack* stack_;
  KVertex2D* const* rings_;
  unsigned count_;
  KVertex2D** kept_ = nullptr;
  std::int32_t widest_ = 0;  // of the rings kept
  DrawnBox box_{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
};

// One ring that winds once is inside under every rule that counts a winding of one. Which converter
// draws a shape does not depend on what is seen of it.
void RasterNodes(const RasterJob& job, KMergeNode*& nodes, unsigned count, const DrawnBox& box,
                 bool oneRing) {
  if (job.clipped) {
    KMergeNode* merged = AddClipNodes(job, nodes, count);
    if (!merged) return;
    nodes = merged;
    DrawComplexPolygon(job, nodes, nodes + count + job.clipRings->nodeCount, box);
  } else if (count == 1 && oneRing && (job.fillRule & 1)) {
    DrawSimplePolygon(job, nodes[0].vertex);
  } else {
    DrawComplexPolygon(job, nodes, nodes + count, box);
  }
}

}  // namespace

void RasterPolygon(const RasterJob& job, KVertex2D* const* rings, unsigned count) {
  const SeenRings seen(job, rings, count);
  DrawnBox box = seen.Box();
  if (box.x0 >= box.x1 || box.y0 >= box.y1) return;
  KMergeNode* nodes = nullptr;
  const unsigned nodeCount = GetMergePts(nodes, seen.Rings(), seen.Count(), job.stack);
  if (nodeCount == 0) return;
  if (nodeCount > DrawnBox::kFewTops) box.margin = DrawnBox::kMargin;
  RasterNodes(job, nodes, nodeCount, box, count == 1);
  job.stack->DeAlloc(nodes);
}

void RasterPolygon(const RasterJob& job, KVertex2D* ring, unsigned vertexCount) {
  if (vertexCount >= 3) RasterPolygon(job, &ring, 1);
}

}  // namespace kalvora
