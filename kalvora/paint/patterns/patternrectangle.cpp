// Rectangles of a pixmap pattern.
#include "kalvora/paint/patterns/patternrectangle.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KPaint.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/patterns/KPatternStrip.h"
#include "kalvora/paint/patterns/patternwalk.h"
#include "kalvora/raster/KRowPainter.h"

namespace kalvora {
namespace {

// The quarter turn of a pattern's transform, when that is all it is; else 0.
unsigned QuarterTurn(const KSoftMatrix3D& m) {
  constexpr std::int32_t kEpsilon = 6;  // 0.0001
  const auto near = [](KFixed v, std::int32_t whole) {
    const std::int64_t difference = std::int64_t{v.raw} - std::int64_t{whole} * kOne.raw;
    return difference > -kEpsilon && difference < kEpsilon;
  };
  const auto is = [&](int a, int b, int c, int d) {
    return near(m.m0, a) && near(m.m1, b) && near(m.m3, c) && near(m.m4, d);
  };
  if (is(0, -1, 1, 0)) return 90;
  if (is(0, 1, -1, 0)) return 270;
  if (is(-1, 0, 0, -1)) return 180;
  return 0;
}

bool FillRectangle(const PaintJob& job, KVertex2D p, KVertex2D q) {
  const KSoftPixmap* pixmap = job.paint->pixmap;
  if (!pixmap) return false;
  if (pixmap->format == KFormatMask8) return true;  // draws nothing
  const unsigned turn = pixmap->hasAlpha ? 0 : QuarterTurn(pixmap->transform);
  if (turn != 0) DrawSimplePatternRectRotateNoScale(job, p, q, turn);
  return turn != 0;
}

/// Red: the pattern is not merely translated; green: it has alpha; blue: edges are anti-aliased.
void DrawSimpleRectOutline(const PaintJob& job, bool antiAliased, const PixelBox& box) {
  const KSoftPixmap* pixmap = job.paint->pixmap;
  if (!pixmap || box.IsEmpty()) return;
  const KColor32 color(pixmap->transform.linearIdentity ? 0 : 255, pixmap->hasAlpha ? 255 : 0,
                       antiAliased ? 255 : 0, 255);
  if (color == KColor32(0, 0, 0, 255)) return;
  for (std::int32_t y = box.y0; y < box.y1; ++y) {
    std::uint32_t* row = job.target->Row32(static_cast<unsigned>(y));
    if (y == box.y0 || y == box.y1 - 1) {
      std::fill(row + box.x0, row + box.x1, color.Word());
    } else {
      row[box.x0] = row[box.x1 - 1] = color.Word();
    }
  }
}

void InitTurned(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  style->source = style->paint->pixmap;
  style->opacity = style->PaintOpacity();
  if (PatternPixels(*style->source).width == 0) return;
  const FillerPair pair = SelectPatternFillers<KColor_8888_PM>(style, KSamplingNearest);
  solid = pair.solid;
  coverage = pair.coverage;
}

}  // namespace

constinit const RectangleHooks kPatternRectangle = {FillRectangle, DrawSimpleRectOutline};

void DrawSimplePatternRectRotateNoScale(const PaintJob& job, KVertex2D a, KVertex2D b,
                                        unsigned angle) {
  const PixelBox box(job.style->clip, RoundPixel(a.x), RoundPixel(a.y), RoundPixel(b.x),
                     RoundPixel(b.y));
  if (box.IsEmpty() || !job.paint->pixmap) return;
  PaintJob turned = job;
  turned.init = InitTurned;
  KRowPainter painter(turned);
  if (!painter.Bind()) return;
  // On its side, a row of the target is a column of the pixmap: a strip of columns at a time keeps
  // the source rows that it crosses in the cache.
  constexpr std::int32_t kStrip = 32;
  const std::int32_t strip = angle == 180 ? box.x1 - box.x0 : kStrip;
  for (std::int32_t x = box.x0; x < box.x1; x += strip) {
    for (std::int32_t y = box.y0; y < box.y1; ++y) {
      painter.GoTo(y);
      painter.Solid(x, std::min(x + strip, box.x1));
    }
  }
}

}  // namespace kalvora
