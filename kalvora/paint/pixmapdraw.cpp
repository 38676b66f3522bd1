// Drawing of pixmaps and alpha masks.
#include "kalvora/paint/pixmapdraw.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KMaskPainter.h"
#include "kalvora/raster/rectangle.h"
#include "kalvora/raster/ring.h"

namespace kalvora {
namespace {

constexpr KVertex2D kMinusHalf{-kHalf, -kHalf};

/// User space to device, then to where the pattern is sampled: the centres of device pixels.
void FinishTransform(KSoftMatrix3D& t, KVertex2D a, const KSoftMatrix3D& m) {
  t.Translate(a);
  t.Combine(&m);
  t.Translate(kMinusHalf);
  t.Inverse();
}

}  // namespace

KPaint PixmapPaint(const KSoftPixmap& pixmap, std::int32_t opacity) {
  KPaint paint;
  paint.translucent = pixmap.hasAlpha;
  paint.type = KPaintPixmap;
  paint.opacity = opacity;
  paint.pixmap = &pixmap;
  return paint;
}

bool PlacePixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b, const KSoftMatrix3D& m) {
  if (!pixmap || pixmap->width == 0 || pixmap->height == 0) return false;
  const KVertex2D size = b - a;
  const std::int64_t width = pixmap->width, height = pixmap->height;
  KSoftMatrix3D& t = pixmap->transform;
  t.Identity();
  if (size.x.raw != width << 16 || size.y.raw != height << 16) {
    t.Scale({KFixed::FromRaw(static_cast<std::int32_t>(size.x.raw / width)),
             KFixed::FromRaw(static_cast<std::int32_t>(size.y.raw / height))});
  }
  FinishTransform(t, a, m);
  return true;
}

bool PlaceSubPixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b, KVertex2D s0, KVertex2D s1,
                    const KSoftMatrix3D& m) {
  if (!pixmap) return false;
  const KVertex2D size = b - a;
  const KVertex2D part = s1 - s0;
  if (part.x == kZero || part.y == kZero) return false;
  KSoftMatrix3D& t = pixmap->transform;
  t.Identity();
  t.Translate(-s0);
  if (size != part) t.Scale({size.x / part.x, size.y / part.y});
  FinishTransform(t, a, m);
  return true;
}

void DrawAlphaMask(const PaintJob& job, const KSoftPixmap& mask, int x0, int y0, int x1, int y1) {
  KMaskPainter(job).Draw(mask, x0, y0, x1, y1);
}

// A mask under a clip path is its rectangle drawn as a polygon, which meets the clip path in the
// scan converter.
void DrawClippedAlphaMask(const RasterJob& job, const KSoftPixmap& mask, int x0, int y0, int x1,
                          int y1) {
  const PixelBox box = MaskBox(job.style->clip, mask, x0, y0, x1, y1);
  if (box.IsEmpty()) return;
  const KClip clip = job.style->clip;
  job.style->clip = {static_cast<std::int16_t>(box.x0), static_cast<std::int16_t>(box.y0),
                     static_cast<std::int16_t>(box.x1), static_cast<std::int16_t>(box.y1)};
  // The whole mask, so that where it meets the clip path does not depend on the clip rectangle.
  const PixelBox whole = MaskBox({0, 0, INT16_MAX, INT16_MAX}, mask, x0, y0, x1, y1);
  const KFixed left = KFixed::FromInt(whole.x0), top = KFixed::FromInt(whole.y0);
  const KFixed right = KFixed::FromInt(whole.x1), bottom = KFixed::FromInt(whole.y1);
  KVertex2D rectangle[4 + ring::kLinks];
  rectangle[1] = {left, top};
  rectangle[2] = {right, top};
  rectangle[3] = {right, bottom};
  rectangle[4] = {left, bottom};
  ring::Close(rectangle, 4);

  const CoverageMask bytes{mask.pixels, mask.stride, x0, y0};
  RasterJob masked = job;
  masked.mask = &bytes;
  masked.fillRule = KFillNonZero;
  RasterPolygon(masked, rectangle, 4);
  job.style->clip = clip;
}

}  // namespace kalvora
