// Drawing of pixmaps and alpha masks.
#include "kalvora/paint/pixmapdraw.h"

#include <algorithm>
#include <cstring>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/core/channels.h"
#include "kalvora/paint/KPatternStrip.h"
#include "kalvora/paint/KStrips.h"
#include "kalvora/raster/KStyleContext2D.h"
#include "kalvora/raster/polygon.h"
#include "kalvora/raster/ring.h"

namespace kalvora {
namespace {

constexpr KVertex2D kMinusHalf{-kHalf, -kHalf};

/// User space to device, then to where the pattern is sampled: the centres of device pixels.
void FinishTransform(KSoftMatrix3D& t, KVertex2D a, const KSoftMatrix3D& m) {
  t.Translate(a);
  t.Combine(&m);
  t.Translate(kMinusHalf);
  t.Inverse();
}

/// A rectangle of device pixels, ends exclusive.
struct PixelBox {
  std::int64_t x0, y0, x1, y1;

  PixelBox Within(const KClip& clip) const {
    return {std::max<std::int64_t>(x0, clip.x0), std::max<std::int64_t>(y0, clip.y0),
            std::min<std::int64_t>(x1, clip.x1), std::min<std::int64_t>(y1, clip.y1)};
  }
  bool IsEmpty() const { return x0 >= x1 || y0 >= y1; }
};

void GoToRow(const PaintJob& job, std::int32_t y) {
  job.style->y = y;
  job.style->row = job.target->Row32(static_cast<unsigned>(y));
}

/// `p` - n, where the result may lie before the array that p points into.
const std::uint8_t* Before(const std::uint8_t* p, std::int32_t n) {
  return reinterpret_cast<const std::uint8_t*>(reinterpret_cast<std::uintptr_t>(p) -
                                               static_cast<std::uintptr_t>(n));
}

/// The coverage that fillers turn back into the weight of a mask byte. None is exactly 0, so that
/// picking and the product with an opacity see none.
std::int32_t MaskCoverage(std::uint8_t m) {
  const auto weight = static_cast<std::int32_t>(MaskWeight(m));
  return weight == 0 ? 0 : weight * 256 - 128;
}

/// What a draw of the mask at the device pixel (x0, y0) touches, within a clip rectangle.
PixelBox MaskBox(const KClip& clip, const KSoftPixmap& mask, int x0, int y0, int x1, int y1) {
  if (!mask.pixels || mask.pixelShift != 0) return {0, 0, 0, 0};
  const std::int64_t columns = std::min(mask.width, mask.stride);
  const PixelBox whole{x0, y0, std::min<std::int64_t>(x1, x0 + columns),
                       std::min<std::int64_t>(y1, std::int64_t{y0} + mask.height)};
  return whole.Within(clip);
}

}  // namespace

KPaint PixmapPaint(const KSoftPixmap& pixmap, std::int32_t opacity) {
  KPaint paint;
  paint.translucent = pixmap.hasAlpha;
  paint.type = KPaintPixmap;
  paint.opacity = opacity;
  paint.pixmap = &pixmap;
  return paint;
}

bool PlacePixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b, const KSoftMatrix3D& m) {
  if (!pixmap || pixmap->width == 0 || pixmap->height == 0) return false;
  const KVertex2D size = b - a;
  const std::int64_t width = pixmap->width, height = pixmap->height;
  KSoftMatrix3D& t = pixmap->transform;
  t.Identity();
  if (size.x.raw != width << 16 || size.y.raw != height << 16) {
    t.Scale({KFixed::FromRaw(static_cast<std::int32_t>(size.x.raw / width)),
             KFixed::FromRaw(static_cast<std::int32_t>(size.y.raw / height))});
  }
  FinishTransform(t, a, m);
  return true;
}

bool PlaceSubPixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b, KVertex2D s0, KVertex2D s1,
                    const KSoftMatrix3D& m) {
  if (!pixmap) return false;
  const KVertex2D size = b - a;
  const KVertex2D part = s1 - s0;
  if (part.x == kZero || part.y == kZero) return false;
  KSoftMatrix3D& t = pixmap->transform;
  t.Identity();
  t.Translate(-s0);
  if (size != part) t.Scale({size.x / part.x, size.y / part.y});
  FinishTransform(t, a, m);
  return true;
}

void DrawAlphaMask(const PaintJob& job, const KSoftPixmap& mask, int x0, int y0, int x1, int y1) {
  KStyleContext2D* style = job.style;
  const std::int32_t type = style->paint->type;
  if (type < KPaintColor || type >= KPaintNone) return;
  const PixelBox box = MaskBox(style->clip, mask, x0, y0, x1, y1);
  if (box.IsEmpty()) return;

  KFiller solid = nullptr, coverage = nullptr;
  if (type == KPaintColor) {
    const auto init = job.target->format == KFormat0888PM
                          ? KStrips<KColor_0888_PM>::InitColorWithAaChecks
                          : KStrips<KColor_8888_PM>::InitColorWithAaChecks;
    init(style, solid, coverage);
  } else {
    job.strips->init[type](style, solid, coverage);
  }
  if (!coverage) return;

  const auto left = static_cast<std::int32_t>(box.x0);
  const auto right = static_cast<std::int32_t>(box.x1);
  const std::uint8_t* bytes = mask.pixels + (box.y0 - y0) * mask.stride + (box.x0 - x0);
  for (auto y = static_cast<std::int32_t>(box.y0); y < box.y1; ++y, bytes += mask.stride) {
    GoToRow(job, y);
    style->x0 = left;
    style->x1 = right;
    if (type == KPaintColor) {
      style->maskRow = Before(bytes, left);  // indexed by absolute x
    } else {
      std::transform(bytes, bytes + (right - left), style->lineBuffer + left, MaskCoverage);
    }
    coverage(style);
  }
  style->maskRow = nullptr;
  // Between draws the coverage line is clear.
  if (type != KPaintColor) std::fill(style->lineBuffer + left, style->lineBuffer + right, 0);
}

// A mask under a clip path is its rectangle drawn as a polygon, which meets the clip path in the
// scan converter, by fillers that weigh the coverage they are given and pass it on.
struct MaskedDraw {
  const KSoftPixmap* mask;
  std::int32_t x0, y0;        // the mask's top left corner
  const KStripTable* strips;  // with the paint's own initialisers
  KFiller coverage;           // the paint's own filler

  const std::uint8_t* Bytes(const KStyleContext2D* style) const {
    return mask->pixels + (std::int64_t{style->y} - y0) * mask->stride +
           (std::int64_t{style->x0} - x0);
  }
};

namespace {

void WeighCoverage(const KStyleContext2D* style) {
  const auto weigh = [](std::int32_t coverage, std::uint8_t m) {
    const auto weight = static_cast<std::uint32_t>(MaskCoverage(m));
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(coverage) * weight >> 16);
  };
  std::int32_t* line = style->lineBuffer;
  std::transform(line + style->x0, line + style->x1, style->masked->Bytes(style), line + style->x0,
                 weigh);
  style->masked->coverage(style);
}

// A solid run is not in lineBuffer, which must be clear again afterwards.
void WeighSolid(const KStyleContext2D* style) {
  const std::uint8_t* bytes = style->masked->Bytes(style);
  std::int32_t* line = style->lineBuffer;
  std::transform(bytes, bytes + (style->x1 - style->x0), line + style->x0, MaskCoverage);
  style->masked->coverage(style);
  std::fill(line + style->x0, line + style->x1, 0);
}

void InitMasked(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  KFiller unused = nullptr;
  MaskedDraw* masked = style->masked;
  masked->strips->init[style->paint->type](style, unused, masked->coverage);
  solid = masked->coverage ? WeighSolid : nullptr;
  coverage = masked->coverage ? WeighCoverage : nullptr;
}

constexpr KStripTable kMaskedStrips = {
    {InitMasked, InitMasked, InitMasked, InitMasked, InitMasked}};

}  // namespace

void DrawClippedAlphaMask(const RasterJob& job, const KSoftPixmap& mask, int x0, int y0, int x1,
                          int y1) {
  KStyleContext2D* style = job.style;
  const PixelBox box = MaskBox(style->clip, mask, x0, y0, x1, y1);
  if (box.IsEmpty()) return;
  const KClip clip = style->clip;
  style->clip = {static_cast<std::int16_t>(box.x0), static_cast<std::int16_t>(box.y0),
                 static_cast<std::int16_t>(box.x1), static_cast<std::int16_t>(box.y1)};
  // The whole mask, so that where it meets the clip path does not depend on the clip rectangle.
  const PixelBox whole = MaskBox({0, 0, INT16_MAX, INT16_MAX}, mask, x0, y0, x1, y1);
  const auto at = [](std::int64_t v) { return KFixed::FromInt(static_cast<std::int32_t>(v)); };
  const KFixed left = at(whole.x0), top = at(whole.y0);
  const KFixed right = at(whole.x1), bottom = at(whole.y1);
  KVertex2D rectangle[4 + ring::kLinks];
  rectangle[1] = {left, top};
  rectangle[2] = {right, top};
  rectangle[3] = {right, bottom};
  rectangle[4] = {left, bottom};
  ring::Close(rectangle, 4);

  MaskedDraw masked = {&mask, x0, y0, job.strips, nullptr};
  style->masked = &masked;
  RasterJob masking = job;
  masking.strips = &kMaskedStrips;
  masking.fillRule = KFillNonZero;
  RasterPolygon(masking, rectangle, 4);
  style->masked = nullptr;
  style->clip = clip;
}

void DrawSimplePatternRectRotateNoScale(const PaintJob& job, KVertex2D a, KVertex2D b,
                                        unsigned angle) {
  KStyleContext2D* style = job.style;
  const PixelBox whole{RoundPixel(a.x), RoundPixel(a.y), RoundPixel(b.x), RoundPixel(b.y)};
  const PixelBox box = whole.Within(style->clip);
  const KSoftPixmap* pixmap = style->paint->pixmap;
  if (box.IsEmpty() || !pixmap || PatternPixels(*pixmap).width == 0) return;
  KFiller solid = nullptr, coverage = nullptr;
  job.strips->init[KPaintPixmap](style, solid, coverage);  // source and opacity
  const KFiller filler = SelectPatternFillers<KColor_8888_PM>(style, KSamplingNearest).solid;
  // On its side, a row of the target is a column of the pixmap: a strip of columns at a time keeps
  // the source rows that it crosses in the cache.
  constexpr std::int64_t kStrip = 32;
  const std::int64_t strip = angle == 180 ? box.x1 - box.x0 : kStrip;
  for (std::int64_t x = box.x0; x < box.x1; x += strip) {
    for (auto y = static_cast<std::int32_t>(box.y0); y < box.y1; ++y) {
      GoToRow(job, y);
      style->x0 = static_cast<std::int32_t>(x);
      style->x1 = static_cast<std::int32_t>(std::min(x + strip, box.x1));
      filler(style);
    }
  }
}

}  // namespace kalvora
