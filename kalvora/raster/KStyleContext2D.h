// KStyleContext2D: the record that scan conversion writes and span fillers read.
#ifndef KALVORA_RASTER_KSTYLECONTEXT2D_H
#define KALVORA_RASTER_KSTYLECONTEXT2D_H

#include <cstdint>

#include "kalvora/core/KColor32.h"
#include "kalvora/core/KRect.h"
#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/raster/KPaint.h"

namespace kalvora {
struct MaskedDraw;
}

/// The clip rectangle in whole device pixels, ends exclusive; always within the target.
struct KClip {
  std::int16_t x0, y0, x1, y1;
};

/// One row's span, its coverage, and the parameters of the paint of the current draw.
///
/// Coverage is 16.16, 0 to 0x10000, indexed by absolute x. Fillers never clear lineBuffer and never
/// look outside [x0, x1).
struct KALVORA_API KStyleContext2D {
  static constexpr std::int32_t kNoX0 = 32767;      ///< x0 of a row that nothing has touched
  static constexpr std::int32_t kNoX1 = -32767;     ///< x1 of such a row
  static constexpr std::int32_t kNoSolid = -32768;  ///< solidX1 of a row without a solid run

  std::int32_t x0 = kNoX0;       ///< first pixel of the span
  std::int32_t x1 = kNoX1;       ///< one past the last pixel
  std::int32_t solidX0 = kNoX1;  ///< the run of full coverage that lineBuffer does not hold
  std::int32_t solidX1 = kNoX0;
  std::int32_t solidHeight = 0;  ///< height that the run's pixels are covered by so far
  std::int32_t y = 0;
  std::uint32_t* row = nullptr;        ///< first pixel of row y
  std::int32_t* lineBuffer = nullptr;  ///< coverage, one entry a target column
  bool ownsLineBuffer = false;
  const std::uint8_t* maskRow = nullptr;  ///< 8-bit coverage by absolute x, for alpha masks
  kalvora::MaskedDraw* masked = nullptr;  ///< the alpha mask that weighs this draw's coverage
  const KPaint* paint = nullptr;
  KClip clip{0, 0, 0, 0};

  // Written by the strip initialisers, read by their fillers.
  std::uint32_t blend = 0;
  KColor32 color{0, 0, 0, 0};           ///< premultiplied and weighted by the opacity
  std::int32_t opacity = 256;           ///< of a pattern, 0..256
  const KSoftPixmap* source = nullptr;  ///< the pattern
  void* table0 = nullptr;               ///< gradient stop colours, the ramp's own or in scratch
  void* table1 = nullptr;               ///< gradient stop positions, likewise
  std::uint32_t ownedTables = 0;        ///< bit 0: table0 is freed here; bit 1: table1
  void* scratch = nullptr;              ///< private gradient stops, kept from draw to draw
  std::uint32_t ownsScratch = 0;
  std::uint32_t scratchSize = 0;  ///< bytes of scratch
  std::uint32_t stopCount = 0;
  std::uint32_t spread = 0;
  std::uint32_t rampWord = 0;  ///< the ramp's second reserved word / 32; read by nobody
  KVertex2D axisStart = KVertex2D::Origin;
  KVertex2D axisUnit = KVertex2D::Origin;
  KSoftMatrix3D inverse;  ///< device to paint, of a radial gradient
  KFixed pickX = KFixed::FromRaw(0);
  KFixed pickY = KFixed::FromRaw(0);
  bool* pickHit = nullptr;

  KStyleContext2D() = default;
  ~KStyleContext2D();
  KStyleContext2D(const KStyleContext2D&) = delete;
  KStyleContext2D& operator=(const KStyleContext2D&) = delete;

  /// Coverage of one full row between a left edge that crosses it from xa to xb and a right edge
  /// from xc to xd (either order); sl and sr are the row heights gained per pixel of x. Stores into
  /// lineBuffer and widens [x0, x1); an interior of more than two pixels is reported as the solid
  /// run instead.
  void ComputeAA(KFixed xa, KFixed xb, KFixed sl, KFixed xc, KFixed xd, KFixed sr);
  /// The same for a partial row of height h (at most 1.0), added to what lineBuffer holds. The
  /// solid run becomes what the runs of all the row's steps share; the rest of each run is added to
  /// lineBuffer.
  void ComputeAA(KFixed xa, KFixed xb, KFixed sl, KFixed xc, KFixed xd, KFixed sr, KFixed h);
  /// Moves the solid run into lineBuffer: from here on the row has none.
  void SettleSolidRun();
  /// Empties the span and the solid run for a new row.
  void StartRow();

 private:
  void JoinSolidRun(std::int32_t from, std::int32_t to, std::int32_t height);
};

#endif
