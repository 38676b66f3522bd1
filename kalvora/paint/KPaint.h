// KPaint: one fill or stroke as plain data.
#ifndef KALVORA_PAINT_KPAINT_H
#define KALVORA_PAINT_KPAINT_H

#include <cstdint>

#include "kalvora/core/KColor32.h"
#include "kalvora/core/KVertex2D.h"

class KSoftPixmap;
struct KSoftColorRamp;

/// What a paint is. The values index the tables of KStrips.
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
  bool translucent = false;                    ///< the colour's alpha is not 255
  KPaintType type = KPaintNone;                ///< says which of the rest counts
  KColor32 color{0, 0, 0, 255};                ///< premultiplied
  std::int32_t opacity = 256;                  ///< 0..256
  const KSoftPixmap* pixmap = nullptr;         ///< of type KPaintPixmap
  const KSoftColorRamp* linearRamp = nullptr;  ///< of type KPaintLinearGradient
  const KSoftColorRamp* radialRamp = nullptr;  ///< of type KPaintRadialGradient
  KVertex2D pickPoint = KVertex2D::Origin;     ///< device pixels
  bool* pickHit = nullptr;                     ///< set to true on a hit, never cleared
};

#endif
