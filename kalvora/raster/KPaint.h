// KPaint: one fill or stroke as plain data, and the function types that turn it into pixels.
#ifndef KALVORA_RASTER_KPAINT_H
#define KALVORA_RASTER_KPAINT_H

#include <cstdint>

#include "kalvora/core/KColor32.h"
#include "kalvora/core/KVertex2D.h"

class KSoftPixmap;
struct KSoftColorRamp;
struct KStyleContext2D;

/// What a paint is. The values index the strip table.
enum KPaintType : std::int32_t {
  KPaintColor = 0,
  KPaintLinearGradient = 1,
  KPaintRadialGradient = 2,
  KPaintPixmap = 3,
  KPaintPick = 4,
  KPaintNone = 5,
};

/// One paint. Pixmaps and ramps are borrowed and must outlive their use.
struct KPaint {
  bool translucent = false;  ///< the colour's alpha is not 255
  KPaintType type = KPaintNone;
  KColor32 color{0, 0, 0, 255};  ///< premultiplied
  std::int32_t opacity = 256;    ///< 0..256
  const KSoftPixmap* pixmap = nullptr;
  const KSoftColorRamp* linearRamp = nullptr;
  const KSoftColorRamp* radialRamp = nullptr;
  KVertex2D pickPoint = KVertex2D::Origin;
  bool* pickHit = nullptr;  ///< set to true on a hit, never cleared
};

/// A span filler: writes [x0, x1) of the style context's row.
using KFiller = void (*)(const KStyleContext2D*);

/// A strip initialiser: reads style->paint, prepares the paint words of the style context and
/// returns the filler for fully covered pixels and the one that weighs them by lineBuffer.
using KStripInit = void (*)(KStyleContext2D* style, KFiller& solid, KFiller& coverage);

/// One initialiser for each paint type that draws, in the order of KPaintType.
struct KStripTable {
  KStripInit init[5];
};

#endif
