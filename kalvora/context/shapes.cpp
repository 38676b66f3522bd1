// The drawing context's shapes: each public call as the stages it runs through.
#include <algorithm>

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/geometry/ellipticalrect.h"
#include "kalvora/paint/KStrips.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/KTables.h"
#include "kalvora/paint/patterns/patternrectangle.h"
#include "kalvora/raster/KClipRings.h"
#include "kalvora/raster/KStack.h"
#include "kalvora/raster/polygon.h"
#include "kalvora/raster/rectangle.h"
#include "kalvora/raster/ring.h"

using kalvora::RasterJob;

namespace {

KRect RectOf(const KClip& clip) { return {clip.x0, clip.y0, clip.x1, clip.y1}; }

}  // namespace

// A pattern that lies in the target is drawn from a copy: what a draw writes it never reads.
const KPaint& KSoftContext2D::Apart(const KPaint& paint) {
  if (paint.type != KPaintPixmap || !paint.pixmap || !paint.pixmap->Overlaps(mTarget)) return paint;
  mApartPaint = paint;
  mApartPaint.pixmap = mApartPattern.CopyFrom(*paint.pixmap) ? &mApartPattern : nullptr;
  return mApartPaint;
}

// Jobs are written in place: what is copied into a larger job is read back too soon after it was
// written, which costs a small rectangle a third of its time.
void KSoftContext2D::Describe(kalvora::PaintJob& job, const KPaint& paint) {
  job.record = mStyle;
  job.style = mStyle;
  job.target = &mTarget;
  job.paint = &Apart(paint);
  job.init = mStripInit->For(paint);
}

void KSoftContext2D::Describe(RasterJob& job, const KPaint& paint, KFillRule rule) {
  Describe(job, paint);
  job.stack = stack;
  job.fillRule = rule;
  job.clipped = mClipRings->active;
  job.clipRule = mClipRule;
  job.clipRings = mClipRings;
}

kalvora::PaintJob KSoftContext2D::Painting(const KPaint& paint) {
  kalvora::PaintJob job;
  Describe(job, paint);
  return job;
}

RasterJob KSoftContext2D::Job(const KPaint& paint, KFillRule rule) {
  RasterJob job;
  Describe(job, paint, rule);
  return job;
}

kalvora::RectangleJob KSoftContext2D::RectJob(const KPaint& paint, KFillRule rule, bool antiAlias) {
  kalvora::RectangleJob job;
  Describe(job, paint, rule);
  job.transform = &mTransform;
  job.antiAlias = antiAlias;
  job.hooks = paint.type == KPaintPixmap ? &kalvora::kPatternRectangle : nullptr;
  return job;
}

// What FlattenPath may look at as a clip where there is a clip path, whose edges have any width.
static KRect WithMargin(KRect clip) {
  constexpr int kMargin = kalvora::DrawnBox::kMargin;
  clip.left = static_cast<std::int16_t>(std::max(clip.left - kMargin, INT16_MIN));
  clip.right = static_cast<std::int16_t>(std::min(clip.right + kMargin, INT16_MAX));
  return clip;
}

void KSoftContext2D::DrawPath(const KSoftPath* path) {
  if (!path || !path->first || !CanDraw()) return;
  const KRect clip = RectOf(mClipRings->Seen(mStyle->clip));
  if (mFill.type != KPaintNone) {
    KVertex2D** rings = nullptr;
    const KRect near = mClipRings->active ? WithMargin(clip) : clip;
    const unsigned count = FlattenPath(rings, path, &mTransform, true, &near);
    if (count > 0) kalvora::RasterPolygon(Job(mFill, mFillRule), rings, count);
    FreeRings(rings, count, true);
  }
  if (mStroke.type != KPaintNone) {
    KVertex2D** rings = nullptr;
    const unsigned count = StrokePath(path, rings, &mTransform, true, &clip);
    FillStroke(rings, count);
  }
}

// Outlines of strokes are filled by the non-zero rule, whatever the rule of fills.
void KSoftContext2D::FillStroke(KVertex2D** rings, unsigned count) {
  kalvora::RasterPolygon(Job(mStroke, KFillNonZero), rings, count);
  FreeStroke(rings, count, true);
}

void KSoftContext2D::DrawLine(KVertex2D p, KVertex2D q) {
  const KVertex2D ends[] = {p, q};
  if (mStroke.type != KPaintNone && CanDraw()) RasterPolyline(ends, 2, false);
}

void KSoftContext2D::DrawPolygon(const KVertex2D* points, unsigned count, bool closed) {
  if (!points || !CanDraw()) return;
  if (mFill.type != KPaintNone && count >= 3) FillPolygon(points, count);
  if (mStroke.type != KPaintNone) RasterPolyline(points, count, closed);
}

void KSoftContext2D::DrawRectangle(KVertex2D p, KVertex2D q, KVertex2D radii) {
  if (!CanDraw()) return;
  if (radii == KVertex2D::Origin) {
    if (mFill.type != KPaintNone) {
      kalvora::RasterTRectangle(RectJob(mFill, mFillRule, mRectAntiAlias), p, q);
    }
    if (mStroke.type == KPaintNone) return;
    const KVertex2D corners[] = {p, {q.x, p.y}, q, {p.x, q.y}};
    return RasterPolyline(corners, 4, true);
  }
  const auto half = [](std::int64_t twice) {
    return KFixed::FromRaw(static_cast<std::int32_t>(twice >> 1));
  };
  DrawEllipticalRect({half(std::int64_t{p.x.raw} + q.x.raw), half(std::int64_t{p.y.raw} + q.y.raw)},
                     {half(std::int64_t{q.x.raw} - p.x.raw), half(std::int64_t{q.y.raw} - p.y.raw)},
                     radii);
}

void KSoftContext2D::DrawEllipticalRect(KVertex2D centre, KVertex2D half, KVertex2D radii) {
  mScratch.Rewind();
  if (kalvora::AddEllipticalRect(&mScratch, centre, half, radii, KTables::KCircle)) {
    DrawPath(&mScratch);
  }
}

// A straight line along an axis is a rectangle.
void KSoftContext2D::RasterPolyline(const KVertex2D* points, unsigned count, bool closed) {
  if (count == 2 && mTransform.IsOrth() && !mClipRings->active && startCap < kRoundCap &&
      endCap < kRoundCap && !dashes) {
    KVertex2D p, q;
    if (kalvora::LineRectangle(points[0], points[1], halfWidth, startCap == kSquareCap,
                               endCap == kSquareCap, p, q)) {
      kalvora::RasterTRectangle(RectJob(mStroke, KFillNonZero, true), p, q);
      return;
    }
  }
  KVertex2D** rings = nullptr;
  const KRect clip = RectOf(mClipRings->Seen(mStyle->clip));
  const unsigned ringCount = StrokePoly(points, count, rings, &mTransform, true, closed, &clip);
  FillStroke(rings, ringCount);
}

void KSoftContext2D::DrawArc(KVertex2D centre, KVertex2D radii, KFixed start, KFixed sweep) {
  mScratch.Rewind();
  if (mScratch.AddArc(centre, radii, start, sweep)) DrawPath(&mScratch);
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
