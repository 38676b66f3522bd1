// PaintJob: one draw as the rasterizer sees it, and its contract with the span fillers.
#ifndef KALVORA_RASTER_PAINTJOB_H
#define KALVORA_RASTER_PAINTJOB_H

#include <cstddef>
#include <cstdint>

class KSoftPixmap;
struct KPaint;
struct KRowStyle;
struct KRowSteps;
struct KStraightEdges;
struct KStyleContext2D;

/// A span filler: writes [x0, x1) of the style record's row. It never clears coverage, never looks
/// outside its span, and takes nothing from the heap.
using KFiller = void (*)(const KStyleContext2D*);

/// Columns [x0, x1) of the style record, in its row and those below.
struct KRowBlock {
  static constexpr std::int32_t kNoEdge = -1;

  std::int32_t rows;
  std::ptrdiff_t stride;         ///< words from a row to the next
  std::int32_t left = kNoEdge;   ///< coverage of the first column, 16.16; kNoEdge: fully covered
  std::int32_t right = kNoEdge;  ///< of the last; when that is the first too, `left` counts
  const std::uint8_t* mask = nullptr;  ///< 8-bit coverage of the first row's pixels from x0 on
  std::ptrdiff_t maskStride = 0;
};

/// A filler of whole blocks: what the paint's other fillers would do row by row.
using KBlockFiller = void (*)(const KStyleContext2D*, const KRowBlock&);

/// Coverage of the columns [x0, x1) of the style record, in its row and some below, kept as
/// differences: that of column i from x0 on is the sum of `start` and line[0..i], modulo 2^32, in
/// units of 2^-kFullBits. Where differences are not 0, that is for each row said in one of two
/// ways: by marks, or by pairs of columns, from the first of a pair up to the second, which rise
/// from pair to pair, but may overlap, and lie within the columns; line[x1 - x0] counts besides.
struct KRowDifferences {
  static constexpr int kFullBits = 27;
  static constexpr std::int32_t kByMarks = -1;

  std::uint32_t* line;         ///< three more than there are columns, and on to a multiple of four
  std::uint32_t* touched;      ///< marks: a bit for each four of them
  std::ptrdiff_t lineStride;   ///< words from one row's to the next one's, of both
  const std::int32_t* y;       ///< of each row, counted from the style record's
  const std::int32_t* edges;   ///< pairs of each row, or kByMarks
  const std::int32_t* ranges;  ///< the pairs, row by row
  int rows;
  std::uint32_t start;
  std::ptrdiff_t stride;  ///< words from a row of pixels to the next
};

/// A filler that takes differences: it paints the columns, and leaves `line` and `touched` zero.
using KDifferenceFiller = void (*)(const KStyleContext2D*, const KRowDifferences&);

/// A filler of rows whose coverage has not been computed yet (see KRowSteps.h).
using KStepFiller = void (*)(const KStyleContext2D*, const KRowSteps&);

/// The same of the columns [x0, x1) in rows that edges go straight through (see KStraightEdges.h).
using KStraightFiller = void (*)(const KStyleContext2D*, const KStraightEdges&);

/// A strip initialiser: reads style->paint, prepares the paint's words of the style record and
/// returns the filler for fully covered pixels and the one that weighs them by lineBuffer. Pointers
/// that it leaves alone stay null: then nothing is drawn. It may set style->block, style->edged,
/// style->differences, style->steps and style->straight.
using KStripInit = void (*)(KStyleContext2D* style, KFiller& solid, KFiller& coverage);

namespace kalvora {

/// Bytes of coverage by which every pixel of a draw is weighed. It has some for all pixels that the
/// draw touches.
struct CoverageMask {
  const std::uint8_t* bytes;  ///< those of its first row
  std::size_t stride;         ///< bytes from a row to the next
  std::int32_t x0, y0;        ///< device pixel of the first byte

  const std::uint8_t* At(std::int32_t x, std::int32_t y) const {
    return bytes + static_cast<std::size_t>(y - y0) * stride + (x - x0);
  }
};

/// Where a draw goes and what it paints with. Everything is borrowed.
struct PaintJob {
  KStyleContext2D* record;    ///< the whole style record, which only fillers look into
  KRowStyle* style;           ///< its part that scan conversion writes
  const KSoftPixmap* target;  ///< 32-bit pixels; the clip lies within it
  const KPaint* paint;
  KStripInit init;  ///< of the paint's kind in the target's layout; null for none
  const CoverageMask* mask = nullptr;
};

}  // namespace kalvora

#endif
