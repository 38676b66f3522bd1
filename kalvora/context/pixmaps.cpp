// The drawing context's pixmaps and alpha masks: rectangles of a temporary pattern paint.
#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/paint/pixmapdraw.h"
#include "kalvora/raster/KStyleContext2D.h"
#include "kalvora/raster/rectangle.h"

namespace {

void TurnedPattern(const kalvora::RasterJob& job, KVertex2D p, KVertex2D q, unsigned angle) {
  kalvora::DrawSimplePatternRectRotateNoScale({job.style, job.target, job.strips}, p, q, angle);
}

}  // namespace

kalvora::RectangleJob KSoftContext2D::RectJob(const KPaint& paint, KFillRule rule, bool antiAlias) {
  return {.raster = Job(paint, rule),
          .transform = &mTransform,
          .antiAlias = antiAlias,
          .turnedPattern = TurnedPattern};
}

void KSoftContext2D::DrawPixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b) {
  if (!pixmap || !CanDraw() || !kalvora::PlacePixmap(pixmap, a, b, mTransform)) return;
  FillWithPixmap(*pixmap, a, b);
}

void KSoftContext2D::DrawSubPixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b, KVertex2D s0,
                                   KVertex2D s1) {
  if (!pixmap || !CanDraw() || !kalvora::PlaceSubPixmap(pixmap, a, b, s0, s1, mTransform)) return;
  FillWithPixmap(*pixmap, a, b);
}

void KSoftContext2D::FillWithPixmap(const KSoftPixmap& pixmap, KVertex2D a, KVertex2D b) {
  const KPaint paint = kalvora::PixmapPaint(pixmap, mFill.opacity);
  kalvora::RasterTRectangle(RectJob(paint, mFillRule, mRectAntiAlias), a, b);
  mStyle->paint = nullptr;
}

void KSoftContext2D::DrawAlphaMask(KSoftPixmap* mask, int x0, int y0, int x1, int y1) {
  if (!mask || mFill.type == KPaintNone || !CanDraw()) return;
  if (mClipRings.active) {
    kalvora::DrawClippedAlphaMask(Job(mFill, mFillRule), *mask, x0, y0, x1, y1);
    return;
  }
  mStyle->paint = &mFill;
  kalvora::DrawAlphaMask({mStyle, &mTarget, &mStripInit}, *mask, x0, y0, x1, y1);
}

void KSoftContext2D::DrawSimplePatternRectRotateNoScale(KVertex2D a, KVertex2D b, unsigned angle) {
  if (mFill.type != KPaintPixmap || !CanDraw()) return;
  TurnedPattern(Job(mFill, mFillRule), a, b, angle);
}
