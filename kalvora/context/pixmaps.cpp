// The drawing context's pixmaps and alpha masks: rectangles of a temporary pattern paint.
#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/paint/patterns/patternrectangle.h"
#include "kalvora/paint/pixmapdraw.h"
#include "kalvora/raster/KClipRings.h"
#include "kalvora/raster/rectangle.h"

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
}

void KSoftContext2D::DrawAlphaMask(const KSoftPixmap* mask, int x0, int y0, int x1, int y1) {
  if (!mask || mFill.type == KPaintNone || !CanDraw()) return;
  if (mask->Overlaps(mTarget)) {
    if (!mApartMask.CopyFrom(*mask)) return;
    mask = &mApartMask;
  }
  if (mClipRings->active) {
    kalvora::DrawClippedAlphaMask(Job(mFill, mFillRule), *mask, x0, y0, x1, y1);
    return;
  }
  kalvora::DrawAlphaMask(Painting(mFill), *mask, x0, y0, x1, y1);
}

void KSoftContext2D::DrawSimplePatternRectRotateNoScale(KVertex2D a, KVertex2D b, unsigned angle) {
  if (mFill.type != KPaintPixmap || !CanDraw()) return;
  kalvora::DrawSimplePatternRectRotateNoScale(Painting(mFill), a, b, angle);
}
