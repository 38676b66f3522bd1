// The drawing context's text: cached glyph masks at whole pixels, or glyph outlines as paths.
#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KGlyphMasks.h"
#include "kalvora/text/codes.h"

namespace {

// The matrix that makes FreeType, whose y grows upward, show glyphs as m shows what is drawn: both
// off-diagonal entries change sign and place. For rotations and scales that is m itself.
KSoftMatrix3D GlyphMatrix(const KSoftMatrix3D& m) {
  KSoftMatrix3D flipped = m;
  flipped.m1 = -m.m3;
  flipped.m3 = -m.m1;
  return flipped;
}

}  // namespace

void KSoftContext2D::DrawText(const unsigned short* text, unsigned count, KVertex2D origin,
                              const KVertex2D* positions) {
  if (!text || count == 0 || !font || !font->face || !CanDraw()) return;
  if (!IsRoughlyClipped(text, count, origin, positions)) {
    DrawTextWithMasks(text, count, origin, positions);
  }
}

void KSoftContext2D::DrawText(std::string_view utf8, KVertex2D origin, const KVertex2D* positions) {
  if (utf8.empty() || !font || !font->face || !CanDraw()) return;
  DrawCodes(kalvora::Utf8Codes(utf8), origin, positions);
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

// Draws glyphs as masks: from the pen `origin` on by their advances, or each at its own position.
template <typename Names>
void KSoftContext2D::DrawMasks(KGlyphMasks masks, Names names, KVertex2D origin,
                               const KVertex2D* positions) {
  const KSoftMatrix3D user = mTransform;
  const KSoftMatrix3D toDevice = Flags.IgnoreTransform ? KSoftMatrix3D() : user;
  mTransform.Identity();
  KVertex2D pen = positions ? KVertex2D::Origin : toDevice.Map(origin);
  KVertex2D advance = KVertex2D::Origin;
  std::uint32_t name;
  unsigned place;
  while (names.Next(name, place)) {
    const KFTCacheData* glyph = masks.Find(name);
    if (positions) pen = toDevice.Map(positions[place]);
    if (glyph) {
      const std::int32_t x = kalvora::RoundPixel(glyph->origin.x + pen.x);
      const std::int32_t y = kalvora::RoundPixel(glyph->origin.y + pen.y);
      DrawAlphaMask(&glyph->mask, x, y, x + static_cast<std::int32_t>(glyph->mask.width),
                    y + static_cast<std::int32_t>(glyph->mask.height));
      advance = glyph->advance;
    }
    // Where there is no mask the advance is the one before.
    if (!positions) pen = pen + advance;
  }
  mTransform = user;
}

template <typename Codes>
void KSoftContext2D::DrawCodes(Codes codes, KVertex2D origin, const KVertex2D* positions) {
  const bool upright = Flags.IgnoreTransform;
  const KSoftMatrix3D glyphs = GlyphMatrix(mTransform);
  DrawMasks(KGlyphMasks(*this, font, KGlyphMasks::kCodes, upright ? nullptr : &glyphs), codes,
            origin, positions);
  // Under the IgnoreTransform switch the context is left with the identity; else its glyphs are.
  if (upright) {
    mTransform.Identity();
  } else {
    KFTFontContext::SetTransform(nullptr);
  }
}

void KSoftContext2D::DrawTextWithMasks(const unsigned short* text, unsigned count, KVertex2D origin,
                                       const KVertex2D* positions) {
  if (text) DrawCodes(kalvora::Utf16Codes(text, count), origin, positions);
}

void KSoftContext2D::DrawGlyphs(const KFTFont* from, const std::uint32_t* glyphs,
                                const KVertex2D* positions, unsigned count) {
  if (!glyphs || !positions || !CanDraw()) return;
  const KSoftMatrix3D seen = Flags.IgnoreTransform ? KSoftMatrix3D() : GlyphMatrix(mTransform);
  DrawMasks(KGlyphMasks(*this, from, KGlyphMasks::kIndices, &seen), kalvora::Indices(glyphs, count),
            KVertex2D::Origin, positions);
}

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
  KVertex2D pen = origin;
  for (unsigned i = 0; i < count; ++i) {
    if (positions) pen = positions[i];
    LoadChar(&mScratch, text[i]);
    DrawOutlineAt(pen);
    if (positions) continue;
    const unsigned short next = i + 1 < count ? text[i + 1] : 0;
    KVertex2D advance = KVertex2D::Origin;
    font->AdvancePen(&advance, text[i], next, static_cast<KFTFont*>(nullptr));
    pen = pen + advance;
  }
}

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
