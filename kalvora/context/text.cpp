// The drawing context's text: cached glyph masks at whole pixels, or glyph outlines as paths.
#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/text/KFTFont.h"

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

bool KSoftContext2D::IsRoughlyClipped(const unsigned short*, unsigned count, KVertex2D origin,
                                      const KVertex2D* positions) const {
  Box box;
  if (!mStyle || !ApproxBox(&box, count, origin, positions, mTransform)) return false;
  // Glyphs wider than the line is high are not accounted for.
  const KClip& clip = mStyle->clip;
  return clip.y0 > box.bottom >> 16 || clip.y1 < box.top >> 16 || clip.x0 > box.right >> 16 ||
         clip.x1 < box.left >> 16;
}

void KSoftContext2D::DrawTextWithMasks(const unsigned short* text, unsigned count, KVertex2D origin,
                                       const KVertex2D* positions) {
  if (!text) return;
  const bool transformed = !Flags.IgnoreTransform;
  const KSoftMatrix3D user = mTransform;
  KSoftMatrix3D toDevice;
  if (transformed) {
    toDevice = user;
    const KSoftMatrix3D glyphs = GlyphMatrix(user);
    KFTFontContext::SetTransform(&glyphs);
  }
  mTransform.Identity();
  KVertex2D pen = positions ? KVertex2D::Origin : toDevice.Map(origin);
  KVertex2D offset = KVertex2D::Origin;
  KVertex2D advance = KVertex2D::Origin;
  for (unsigned i = 0; i < count; ++i) {
    KSoftPixmap* mask = LoadMask(&offset, &advance, text[i]);
    if (positions) pen = toDevice.Map(positions[i]);
    if (mask) {
      const std::int32_t x = kalvora::RoundPixel(offset.x + pen.x);
      const std::int32_t y = kalvora::RoundPixel(offset.y + pen.y);
      DrawAlphaMask(mask, x, y, x + static_cast<std::int32_t>(mask->width),
                    y + static_cast<std::int32_t>(mask->height));
    }
    // Where there is no mask the advance is the one before.
    if (!positions) pen = pen + advance;
  }
  // Under the IgnoreTransform switch the context is left with the identity.
  if (!transformed) return;
  mTransform = user;
  KFTFontContext::SetTransform(nullptr);
}

void KSoftContext2D::DrawTextWithPaths(const unsigned short* text, unsigned count, KVertex2D origin,
                                       const KVertex2D* positions) {
  if (!text || !font) return;
  const KSoftMatrix3D user = mTransform;
  KVertex2D pen = origin;
  for (unsigned i = 0; i < count; ++i) {
    if (positions) pen = positions[i];
    mScratch.Rewind();
    LoadChar(&mScratch, text[i]);
    mTransform.Identity();
    mTransform.Translate(pen);
    mTransform.Combine(&user);
    DrawPath(&mScratch);
    if (positions) continue;
    const unsigned short next = i + 1 < count ? text[i + 1] : 0;
    KVertex2D advance = KVertex2D::Origin;
    font->AdvancePen(&advance, text[i], next, static_cast<KFTFont*>(nullptr));
    pen = pen + advance;
  }
  mTransform = user;
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
