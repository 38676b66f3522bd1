// The drawing context's shapes: each public call as the stages it runs through.
#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/raster/KStack.h"
#include "kalvora/raster/KStyleContext2D.h"
#include "kalvora/raster/polygon.h"
#include "kalvora/raster/ring.h"

using kalvora::RasterJob;

RasterJob KSoftContext2D::Job(const KPaint& paint, KFillRule rule) {
  mStyle->paint = &paint;
  return {.style = mStyle,
          .target = &mTarget,
          .strips = &mStripInit,
          .stack = stack,
          .fillRule = rule,
          .clipped = mClipPolyCount != 0,
          .clipRule = mClipRule,
          .clipNodes = mClipNodes,
          .clipNodeCount = mClipNodeCount};
}

void KSoftContext2D::DrawPath(const KSoftPath* path) {
  if (!path || !path->first || !CanDraw()) return;
  if (mFill.type != KPaintNone) {
    KVertex2D** rings = nullptr;
    const unsigned count = FlattenPath(rings, path, &mTransform, true);
    kalvora::RasterPolygon(Job(mFill, mFillRule), rings, count);
    FreeRings(rings, count, true);
  }
}

void KSoftContext2D::DrawPolygon(const KVertex2D* points, unsigned count, bool) {
  if (!points || !CanDraw()) return;
  if (mFill.type != KPaintNone && count >= 3) FillPolygon(points, count);
}

void KSoftContext2D::FillPolygon(const KVertex2D* points, unsigned count) {
  if (count > UINT32_MAX / sizeof(KVertex2D) - kalvora::ring::kLinks) return;
  const auto bytes = static_cast<unsigned>((count + kalvora::ring::kLinks) * sizeof(KVertex2D));
  auto* ring = static_cast<KVertex2D*>(stack->Alloc(bytes));
  if (!ring) return;
  for (unsigned i = 0; i < count; ++i) {
    ring[i + 1] = kalvora::ring::Vertex(mTransform.Map(points[i]));
  }
  kalvora::ring::Close(ring, count);
  kalvora::RasterPolygon(Job(mFill, mFillRule), ring, count);
  stack->DeAlloc(ring);
}

void KSoftContext2D::FreeVertices(KVertex2D** rings, unsigned count, bool onStack) {
  FreeRingVertices(rings, count, onStack);
}
