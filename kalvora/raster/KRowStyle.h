// KRowStyle: the parts of the style record that scan conversion writes: the row and its span, its
// coverage, the clip, and which paint is to be prepared.
#ifndef KALVORA_RASTER_KROWSTYLE_H
#define KALVORA_RASTER_KROWSTYLE_H

#include <cstdint>

#include "kalvora/core/KFixed.h"
#include "kalvora/raster/PaintJob.h"

/// The clip rectangle in whole device pixels, ends exclusive; always within the target.
struct KClip {
  std::int16_t x0, y0, x1, y1;
};

/// A row and the span of it that is painted. A span is a run of pixels of one row.
struct KRowSpan {
  static constexpr std::int32_t kNoX0 = 32767;      ///< x0 of a row that nothing has touched
  static constexpr std::int32_t kNoX1 = -32767;     ///< x1 of such a row
  static constexpr std::int32_t kNoSolid = -32768;  ///< solidX1 of a row without a solid run

  std::int32_t x0 = kNoX0;       ///< first pixel of the span
  std::int32_t x1 = kNoX1;       ///< one past the last pixel
  std::int32_t solidX0 = kNoX1;  ///< the run of full coverage that lineBuffer does not hold
  std::int32_t solidX1 = kNoX0;
  std::int32_t solidHeight = 0;  ///< height that the run's pixels are covered by so far
  std::int32_t y = 0;
  std::uint32_t* row = nullptr;  ///< first pixel of row y

  /// Empties the span and the solid run for a new row.
  void StartRow() {
    x0 = solidX1 = kNoX0;
    x1 = solidX0 = kNoX1;
    solidHeight = 0;
  }
};

/// The coverage of a row, 0 to 0x10000, indexed by absolute x.
///
/// The line is zero between draws. Whoever writes coverage into it has KRowPainter paint it, which
/// clears what it painted. Fillers only read it.
struct KRowCoverage {
  std::int32_t* lineBuffer = nullptr;     ///< 16.16, one entry a target column
  bool ownsLineBuffer = false;            ///< the context frees it
  const std::uint8_t* maskRow = nullptr;  ///< 8-bit coverage by absolute x, for alpha masks
};

struct KRowStyle : KRowSpan, KRowCoverage {
  static constexpr std::int32_t kWholeOpacity = 0x10000;

  const KPaint* paint = nullptr;       ///< of the present draw, for its initialiser
  std::int32_t share = kWholeOpacity;  ///< of the paint's opacity, 16.16, for its initialiser
  KClip clip{0, 0, 0, 0};
  KBlockFiller block = nullptr;  ///< of blocks without edges (of masks, for a mask's initialiser)
  KBlockFiller edged = nullptr;  ///< of blocks with edges; null like `block`: rows do as well
  KDifferenceFiller differences = nullptr;  ///< of coverage before it is summed up; or null
  KStepFiller steps = nullptr;              ///< of coverage before it is computed; or null
  KStraightFiller straight = nullptr;       ///< the same, of edges through many rows; or null

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

 private:
  void JoinSolidRun(std::int32_t from, std::int32_t to, std::int32_t height);
};

#endif
