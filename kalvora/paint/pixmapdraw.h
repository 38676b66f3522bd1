// Drawing of pixmaps and alpha masks: what the drawing context's calls are made of.
#ifndef KALVORA_PAINT_PIXMAPDRAW_H
#define KALVORA_PAINT_PIXMAPDRAW_H

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/paint/KPaint.h"

namespace kalvora {

struct PaintJob;
struct RasterJob;

/// A paint that shows `pixmap` with an opacity of 0..256.
KPaint PixmapPaint(const KSoftPixmap& pixmap, std::int32_t opacity);

/// Sets the pixmap's transform so that the whole pixmap covers the user-space rectangle from `a` to
/// `b`, under the user-to-device transform `m`. The rectangle is then to be filled with
/// PixmapPaint. False when there is nothing to draw.
bool PlacePixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b, const KSoftMatrix3D& m);
/// The same for the part of the pixmap from s0 to s1, in its own pixels. It is no clip: what lies
/// around it is sampled where `m` or the filtering asks for it.
bool PlaceSubPixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b, KVertex2D s0, KVertex2D s1,
                    const KSoftMatrix3D& m);

/// Draws job.paint through the bytes of a format 0 pixmap, whose top left corner lies at the
/// device pixel (x0, y0). Nothing is drawn outside [x0, x1) x [y0, y1), the mask, and the clip.
void DrawAlphaMask(const PaintJob& job, const KSoftPixmap& mask, int x0, int y0, int x1, int y1);

/// The same within the clip path of `job`, whose coverage weighs the mask's.
void DrawClippedAlphaMask(const RasterJob& job, const KSoftPixmap& mask, int x0, int y0, int x1,
                          int y1);

}  // namespace kalvora

#endif
