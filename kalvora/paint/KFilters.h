// KFilters: operations from pixmap to pixmap.
#ifndef KALVORA_PAINT_KFILTERS_H
#define KALVORA_PAINT_KFILTERS_H

#include "kalvora/export.h"

class KSoftPixmap;

/// Work on whole pixmaps.
struct KFilters {
  /// Fills `to` with `from`, reduced by a box filter: every pixel becomes the average of the area
  /// that it covers, to a level; white stays white. Both are 32-bit pixmaps with pixels of their
  /// own, of 1 to 32767 columns and rows; anything else leaves `to` as it is. It is not meant to
  /// enlarge.
  KALVORA_API static void DownSample(KSoftPixmap* to, const KSoftPixmap* from);
};

#endif
