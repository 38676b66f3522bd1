// KStyleContext2D: the record that scan conversion writes and span fillers read.
#ifndef KALVORA_PAINT_KSTYLECONTEXT2D_H
#define KALVORA_PAINT_KSTYLECONTEXT2D_H

#include <algorithm>
#include <cstdint>

#include "kalvora/core/KColor32.h"
#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/paint/KPaint.h"
#include "kalvora/raster/KRowStyle.h"

namespace kalvora {
struct Loops;
enum class SampleAlpha;
}  // namespace kalvora

/// The words of the present paint: written by its strip initialiser, read by its fillers, unknown
/// to scan conversion.
struct KPaintWords {
  const kalvora::Loops* loops = nullptr;  ///< the fillers' inner loops, for this processor
  std::uint32_t blend = 0;                ///< the paint must be blended
  KColor32 color{0, 0, 0, 0};             ///< premultiplied and weighted by the opacity
  std::int32_t opacity = 256;             ///< of a pattern, 0..256
  const KSoftPixmap* source = nullptr;    ///< the pattern
  kalvora::SampleAlpha sampleAlpha{};     ///< of a pattern's bicubic samples
  void* table0 = nullptr;                 ///< a radial gradient's table of colours, in scratch
  void* table1 = nullptr;                 ///< the prepared ramp of a gradient, in scratch
  std::uint32_t ownedTables = 0;          ///< bit 0: table0 is freed here; bit 1: table1
  void* scratch = nullptr;                ///< kept from draw to draw
  std::uint32_t ownsScratch = 0;
  std::uint32_t scratchSize = 0;  ///< bytes of scratch
  KSoftMatrix3D inverse;          ///< device to paint, of a radial gradient
  KFixed pickX = KFixed::FromRaw(0);
  KFixed pickY = KFixed::FromRaw(0);
  bool* pickHit = nullptr;
};

/// One row's span, its coverage, the clip, and the words of the current draw's paint.
struct KStyleContext2D : KRowStyle, KPaintWords {
  KStyleContext2D();
  ~KStyleContext2D();
  KStyleContext2D(const KStyleContext2D&) = delete;
  KStyleContext2D& operator=(const KStyleContext2D&) = delete;

  /// The opacity that the draw's fillers are to have: the share of the paint's own, 0..256.
  std::int32_t PaintOpacity() const {
    const std::int64_t shared = (std::int64_t{paint->opacity} * share) >> 16;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(shared, 0, 256));
  }
};

#endif
