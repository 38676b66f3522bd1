// The drawing context's text: cached glyph masks at whole pixels, or glyph outlines as paths.
#include <algorithm>

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/paint/KMaskPainter.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/pixmapdraw.h"
#include "kalvora/raster/rectangle.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/text/KFTFont.h"
#include "kalvora/text/codes.h"
#include "kalvora/text/glyphs/KGlyphMasks.h"
#include "kalvora/text/glyphs/glyphwalk.h"

namespace {

// The matrix that makes FreeType, whose y grows upward, show glyphs as m shows what is drawn: both
// off-diagonal entries change sign and place. For rotations and scales that is m itself.
KSoftMatrix3D GlyphMatrix(const KSoftMatrix3D& m) {
  KSoftMatrix3D flipped = m;
  flipped.m1 = -m.m3;
  flipped.m3 = -m.m1;
  return flipped;
}

// A premultiplied colour, opaque and with its channels as they were.
KColor32 Straight(KColor32 c) {
  if (c.alpha == 0) return {0, 0, 0, 255};
  const auto divided = [&](unsigned channel) {
    return static_cast<std::uint8_t>(std::min(255u, (channel * 255 + c.alpha / 2) / c.alpha));
  };
  return {divided(c.blue), divided(c.green), divided(c.red), 255};
}

}  // namespace

using kalvora::GlyphPlaces;
using kalvora::Utf16Codes;
using kalvora::Utf8Codes;

// Masks -------------------------------------------------------------------------------------------

// Nothing of the text reaches the clip rectangle.
bool KSoftContext2D::CannotShow(const KFTFont* only, unsigned count, KVertex2D origin,
                                const KVertex2D* positions) const {
  const KSoftMatrix3D m = Flags.IgnoreTransform ? KSoftMatrix3D() : mTransform;
  const Box box = ReachOf(only, count, origin, positions, m);
  const KClip& clip = mStyle->clip;
  return clip.y0 > box.bottom >> 16 || clip.y1 < box.top >> 16 || clip.x0 > box.right >> 16 ||
         clip.x1 < box.left >> 16;
}

void KSoftContext2D::DrawText(const unsigned short* text, unsigned count, KVertex2D origin,
                              const KVertex2D* positions) {
  if (!text || count == 0 || !font || !font->face || !CanDraw()) return;
  if (CannotShow(nullptr, count, origin, positions)) return;
  DrawCodes(Utf16Codes(text, count), origin, positions);
}

void KSoftContext2D::DrawText(std::string_view utf8, KVertex2D origin, const KVertex2D* positions) {
  if (!font || !font->face || !CanDraw()) return;
  const unsigned count = Utf8Codes(utf8).Count();
  if (count == 0 || CannotShow(nullptr, count, origin, positions)) return;
  DrawCodes(Utf8Codes(utf8), origin, positions);
}

void KSoftContext2D::DrawTextWithMasks(const unsigned short* text, unsigned count, KVertex2D origin,
                                       const KVertex2D* positions) {
  if (text) DrawCodes(Utf16Codes(text, count), origin, positions);
}

void KSoftContext2D::DrawGlyphs(const KFTFont* from, const std::uint32_t* glyphs,
                                const KVertex2D* positions, unsigned count) {
  if (!from || !from->face || !glyphs || !positions || count == 0 || !CanDraw()) return;
  if (CannotShow(from, count, KVertex2D::Origin, positions)) return;
  const KSoftMatrix3D toDevice = Flags.IgnoreTransform ? KSoftMatrix3D() : mTransform;
  const KSoftMatrix3D seen = GlyphMatrix(toDevice);
  KGlyphMasks masks(*this, from, KGlyphMasks::kIndices, &seen);
  DrawMasks(masks, kalvora::Indices(glyphs, count), {toDevice, KVertex2D::Origin, positions});
}

template <typename Codes>
void KSoftContext2D::DrawCodes(Codes codes, KVertex2D origin, const KVertex2D* positions) {
  if (Flags.IgnoreTransform) {
    // The context is left with the identity.
    mTransform.Identity();
    KGlyphMasks masks(*this, font, KGlyphMasks::kCodes);
    DrawMasks(masks, codes, {mTransform, origin, positions});
    return;
  }
  const KSoftMatrix3D seen = GlyphMatrix(mTransform);
  KGlyphMasks masks(*this, font, KGlyphMasks::kCodes, &seen);
  DrawMasks(masks, codes, {mTransform, origin, positions});
  KFTFontContext::SetTransform(nullptr);
}

template <typename Names>
void KSoftContext2D::DrawMasks(KGlyphMasks& masks, Names names, const GlyphPlaces& places) {
  if (mFill.type == KPaintNone || !CanDraw()) return;
  SetUp(masks);
  const kalvora::RasterJob job = Job(mFill, mFillRule);
  kalvora::KMaskPainter painter(job);
  kalvora::ForEachGlyph(masks, names, places, [&](const KFTCacheData& glyph, int x, int y) {
    if (glyph.mask.width == 0) return;  // blank
    const int right = x + static_cast<int>(glyph.mask.width);
    const int bottom = y + static_cast<int>(glyph.mask.height);
    if (glyph.IsColoured()) {
      DrawColouredGlyph(glyph.mask, x, y);
      painter.Bind();
    } else if (job.clipped) {
      kalvora::DrawClippedAlphaMask(job, glyph.mask, x, y, right, bottom);
    } else {
      painter.Draw(glyph.mask, x, y, right, bottom);
    }
  });
}

// What of this context's state glyphs depend on.
void KSoftContext2D::SetUp(KGlyphMasks& masks) const {
  if (mQuarterPixels) masks.UseQuarters();
  // Picking and drawing nothing take the coverage.
  if (mFill.type == KPaintColor) masks.UseColours(Straight(mFill.color));
  if (mFill.type > KPaintColor && mFill.type < KPaintPick) masks.UseColours({0, 0, 0, 255});
}

// With the alpha and the opacity of the fill, and colours of its own.
void KSoftContext2D::DrawColouredGlyph(const KSoftPixmap& glyph, int x, int y) {
  KSoftPixmap pixmap;
  pixmap.Create(glyph.width, glyph.height, glyph.format, glyph.pixels, glyph.stride);
  pixmap.quality = KSamplingNearest;
  const auto at = [](std::int64_t px, std::int64_t py) {
    return KVertex2D{KFixed::FromInt(static_cast<std::int32_t>(px)),
                     KFixed::FromInt(static_cast<std::int32_t>(py))};
  };
  const KVertex2D a = at(x, y);
  const KVertex2D b = at(std::int64_t{x} + glyph.width, std::int64_t{y} + glyph.height);
  const KSoftMatrix3D user = mTransform;
  mTransform.Identity();
  const int alpha = mFill.type == KPaintColor ? mFill.color.alpha : 255;
  const KPaint paint = kalvora::PixmapPaint(pixmap, mFill.opacity * (alpha + (alpha >> 7)) >> 8);
  if (kalvora::PlacePixmap(&pixmap, a, b, mTransform)) {
    kalvora::RasterTRectangle(RectJob(paint, mFillRule, mRectAntiAlias), a, b);
  }
  mTransform = user;
}

// Measures ----------------------------------------------------------------------------------------

KGlyphExtents KSoftContext2D::MeasureText(const unsigned short* text, unsigned count,
                                          KVertex2D origin, const KVertex2D* positions) {
  return MeasureCodes(Utf16Codes(text, text ? count : 0), origin, positions);
}

KGlyphExtents KSoftContext2D::MeasureText(std::string_view utf8, KVertex2D origin,
                                          const KVertex2D* positions) {
  return MeasureCodes(Utf8Codes(utf8), origin, positions);
}

KGlyphExtents KSoftContext2D::MeasureGlyphs(const KFTFont* from, const std::uint32_t* glyphs,
                                            const KVertex2D* positions, unsigned count) {
  const KSoftMatrix3D toDevice = Flags.IgnoreTransform ? KSoftMatrix3D() : mTransform;
  const KSoftMatrix3D seen = GlyphMatrix(toDevice);
  KGlyphMasks masks(*this, from, KGlyphMasks::kIndices, &seen);
  return MeasureMasks(masks, kalvora::Indices(glyphs, glyphs && positions ? count : 0),
                      {toDevice, KVertex2D::Origin, positions});
}

template <typename Codes>
KGlyphExtents KSoftContext2D::MeasureCodes(Codes codes, KVertex2D origin,
                                           const KVertex2D* positions) {
  const bool upright = Flags.IgnoreTransform;
  const KSoftMatrix3D toDevice = upright ? KSoftMatrix3D() : mTransform;
  const KSoftMatrix3D seen = GlyphMatrix(toDevice);
  KGlyphMasks masks(*this, font, KGlyphMasks::kCodes, upright ? nullptr : &seen);
  return MeasureMasks(masks, codes, {toDevice, origin, positions});
}

template <typename Names>
KGlyphExtents KSoftContext2D::MeasureMasks(KGlyphMasks& masks, Names names,
                                           const GlyphPlaces& places) {
  SetUp(masks);
  KGlyphExtents box = {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN, KVertex2D::Origin};
  const auto include = [&](const KFTCacheData& glyph, int x, int y) {
    if (glyph.mask.width == 0 || glyph.mask.height == 0) return;
    box.left = std::min(box.left, x);
    box.top = std::min(box.top, y);
    box.right = std::max(box.right, x + static_cast<int>(glyph.mask.width));
    box.bottom = std::max(box.bottom, y + static_cast<int>(glyph.mask.height));
  };
  const KVertex2D end = kalvora::ForEachGlyph(masks, names, places, include);
  if (box.left > box.right) box = {0, 0, 0, 0, KVertex2D::Origin};
  std::uint32_t name;
  unsigned first;
  if (!names.Next(name, first)) return box;
  box.advance = end - places.toDevice.Map(places.positions ? places.positions[0] : places.origin);
  return box;
}

bool KSoftContext2D::IsRoughlyClipped(const unsigned short*, unsigned count, KVertex2D origin,
                                      const KVertex2D* positions) const {
  Box box;
  if (!mStyle || !ApproxBox(&box, count, origin, positions, mTransform)) return false;
  // Glyphs wider than the line is high are not accounted for.
  const KClip& clip = mStyle->clip;
  return clip.y0 > box.bottom >> 16 || clip.y1 < box.top >> 16 || clip.x0 > box.right >> 16 ||
         clip.x1 < box.left >> 16;
}

// Outlines ----------------------------------------------------------------------------------------

// Fills and strokes mScratch with its origin at `pen`.
void KSoftContext2D::DrawOutlineAt(KVertex2D pen) {
  const KSoftMatrix3D user = mTransform;
  mTransform.Identity();
  mTransform.Translate(pen);
  mTransform.Combine(&user);
  DrawPath(&mScratch);
  mTransform = user;
}

void KSoftContext2D::DrawGlyphPaths(const KFTFont* from, const std::uint32_t* glyphs,
                                    const KVertex2D* positions, unsigned count) {
  if (!glyphs || !positions || !CanDraw()) return;
  for (unsigned i = 0; i < count; ++i) {
    LoadGlyph(&mScratch, from, glyphs[i]);
    DrawOutlineAt(positions[i]);
  }
}

void KSoftContext2D::DrawTextWithPaths(const unsigned short* text, unsigned count, KVertex2D origin,
                                       const KVertex2D* positions) {
  if (!text || !font) return;
  Utf16Codes codes(text, count);
  KVertex2D pen = origin;
  std::uint32_t code;
  unsigned place;
  while (codes.Next(code, place)) {
    if (positions) pen = positions[place];
    LoadOutline(&mScratch, code);
    DrawOutlineAt(pen);
    if (!positions) font->AdvancePen(&pen, code);
  }
}

void KSoftContext2D::DrawTextWithPaths(std::string_view utf8, KVertex2D origin,
                                       const KVertex2D* positions) {
  if (!CanDraw()) return;
  Utf8Codes codes(utf8);
  KVertex2D pen = origin;
  std::uint32_t code, index;
  unsigned place;
  while (codes.Next(code, place)) {
    if (positions) pen = positions[place];
    const KFTFont* from = FindGlyph(code, index);
    if (!from) continue;
    LoadGlyph(&mScratch, from, index);
    DrawOutlineAt(pen);
    pen = pen + from->GetGlyphAdvance(index);
  }
}

// Pixmaps -----------------------------------------------------------------------------------------

void KSoftContext2D::DrawTextWithPixmaps(const unsigned short* text, unsigned count, KVertex2D,
                                         const KVertex2D*) {
  if (!text || Flags.IgnoreTransform) return;
  // No glyph has a pixmap: LoadPixmap is asked for each, and nothing is drawn.
  const KSoftMatrix3D glyphs = GlyphMatrix(mTransform);
  KFTFontContext::SetTransform(&glyphs);
  KVertex2D offset, advance;
  for (unsigned i = 0; i < count; ++i) {
    LoadPixmap(nullptr, &offset, &advance, text[i], mFill.color);
  }
  KFTFontContext::SetTransform(nullptr);
}
