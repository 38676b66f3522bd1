// KStrips: the strip initialisers of one pixel layout.
#ifndef KALVORA_PAINT_KSTRIPS_H
#define KALVORA_PAINT_KSTRIPS_H

#include "kalvora/core/KFormat.h"
#include "kalvora/paint/KPaint.h"
#include "kalvora/raster/PaintJob.h"

/// One initialiser for each paint type that draws, in the order of KPaintType.
struct KStripTable {
  KStripInit init[KPaintNone];

  /// That of a paint; null where it draws nothing.
  KStripInit For(const KPaint& paint) const {
    return paint.type >= 0 && paint.type < KPaintNone ? init[paint.type] : nullptr;
  }
};

/// F is KColor_0888_PM or KColor_8888_PM. Each initialiser reads style->paint, writes the paint
/// words of the style context, and returns the solid and the coverage filler of the draw.
template <typename F>
struct KStrips {
  static void InitColor(KStyleContext2D* style, KFiller& solid, KFiller& coverage);
  /// For alpha masks: the fillers read 8-bit coverage from maskRow. Not in the table.
  static void InitColorWithAaChecks(KStyleContext2D* style, KFiller& solid, KFiller& coverage);
  static void InitLinear(KStyleContext2D* style, KFiller& solid, KFiller& coverage);
  static void InitRadial(KStyleContext2D* style, KFiller& solid, KFiller& coverage);
  static void InitPattern(KStyleContext2D* style, KFiller& solid, KFiller& coverage);
  static void InitPicking(KStyleContext2D* style, KFiller& solid, KFiller& coverage);

  /// The five initialisers in the order of KPaintType.
  static const KStripTable VTable;
};

extern template const KStripTable KStrips<KColor_0888_PM>::VTable;
extern template const KStripTable KStrips<KColor_8888_PM>::VTable;

#endif
