// KMaskPainter: many alpha masks with one paint.
#ifndef KALVORA_PAINT_KMASKPAINTER_H
#define KALVORA_PAINT_KMASKPAINTER_H

#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/PixelBox.h"

class KSoftPixmap;

namespace kalvora {

/// What of a format 0 pixmap with its top left corner at the device pixel (x0, y0) lies within a
/// clip rectangle and left and above of x1 and y1; empty for other formats.
PixelBox MaskBox(const KClip& clip, const KSoftPixmap& mask, int x0, int y0, int x1, int y1);

/// Draws a paint through the bytes of masks, one after another: its fillers are chosen once for
/// all. Clip paths do not apply (see DrawClippedAlphaMask).
class KMaskPainter {
 public:
  /// `job` has no mask of its own. What it refers to is borrowed.
  explicit KMaskPainter(const PaintJob& job);
  KMaskPainter(const KMaskPainter&) = delete;
  KMaskPainter& operator=(const KMaskPainter&) = delete;

  /// Chooses the fillers; again after something else was painted with the job's style record.
  void Bind() { bound_ = painter_.Bind(); }
  /// Draws a mask whose top left corner lies at the device pixel (x0, y0), but nothing at x1 and y1
  /// and beyond.
  void Draw(const KSoftPixmap& mask, int x0, int y0, int x1, int y1);

 private:
  CoverageMask bytes_{};
  PaintJob job_;
  KRowPainter painter_;
  bool reads_;  // the fillers read the bytes themselves
  bool bound_ = false;
};

}  // namespace kalvora

#endif
