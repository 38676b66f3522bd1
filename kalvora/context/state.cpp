// The drawing context's paints, attributes and paths.
#include <algorithm>
#include <new>

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/support/KFlags.h"

namespace {

void SetColor(KPaint& paint, KColor32 color) {
  paint.translucent = color.alpha != 255;
  paint.type = KPaintColor;
  paint.color = color.PreMultiply();
}

void SetPick(KPaint& paint, KVertex2D point, bool* hit) {
  paint.pickPoint = point;
  paint.pickHit = hit;
  paint.type = hit ? KPaintPick : KPaintNone;
}

}  // namespace

void KSoftContext2D::SetFillColor(KColor32 color) { SetColor(mFill, color); }
void KSoftContext2D::SetStrokeColor(KColor32 color) { SetColor(mStroke, color); }

void KSoftContext2D::SetFillLGrad(const KSoftColorRamp* ramp) {
  mFill.linearRamp = ramp;
  mFill.type = KPaintLinearGradient;
}
void KSoftContext2D::SetStrokeLGrad(const KSoftColorRamp* ramp) {
  mStroke.linearRamp = ramp;
  mStroke.type = KPaintLinearGradient;
}
void KSoftContext2D::SetFillRGrad(const KSoftColorRamp* ramp) {
  mFill.radialRamp = ramp;
  mFill.type = KPaintRadialGradient;
}
void KSoftContext2D::SetStrokeRGrad(const KSoftColorRamp* ramp) {
  mStroke.radialRamp = ramp;
  mStroke.type = KPaintRadialGradient;
}
void KSoftContext2D::SetFillPixmap(const KSoftPixmap* pixmap) {
  mFill.pixmap = pixmap;
  mFill.type = KPaintPixmap;
}
void KSoftContext2D::SetStrokePixmap(const KSoftPixmap* pixmap) {
  mStroke.pixmap = pixmap;
  mStroke.type = KPaintPixmap;
}
void KSoftContext2D::SetFillPick(KVertex2D point, bool* hit) { SetPick(mFill, point, hit); }
void KSoftContext2D::SetStrokePick(KVertex2D point, bool* hit) { SetPick(mStroke, point, hit); }
void KSoftContext2D::SetNoFill() { mFill.type = KPaintNone; }
void KSoftContext2D::SetNoStroke() { mStroke.type = KPaintNone; }
void KSoftContext2D::SetFillOpacity(int opacity) { mFill.opacity = std::clamp(opacity, 0, 256); }
void KSoftContext2D::SetStrokeOpacity(int opacity) {
  mStroke.opacity = std::clamp(opacity, 0, 256);
}

void KSoftContext2D::SetAttribute(unsigned key, unsigned value) {
  if (key == 0) mRectAntiAlias = value != 0;
  if (key == 1) WritePixel(value);
  if (key >= 2 && key <= 5) SetDisplayAttribute(key, value);
  if (key == 6) mQuarterPixels = value != 0;
}

void KSoftContext2D::WritePixel(std::uint32_t value) {
  if (!CanDraw()) return;
  const std::int32_t x = value & 0xFFF;
  const std::int32_t y = value >> 12 & 0xFFF;
  const KClip& clip = mStyle->clip;
  if (x < clip.x0 || x >= clip.x1 || y < clip.y0 || y >= clip.y1) return;
  // Rows are counted by the width, not by the stride: callers rely on it. A stride that is shorter
  // than the width would lead out of the pixmap.
  if (mTarget.stride / 4 < mTarget.width) return;
  constexpr std::uint32_t kLevels[] = {0x00, 0x3f, 0xbf, 0xff};
  std::uint32_t pixel = 0;
  for (unsigned i = 0; i < 4; ++i) pixel |= kLevels[value >> (24 + 2 * i) & 3] << (8 * i);
  const std::size_t index =
      std::size_t{mTarget.width} * static_cast<unsigned>(y) + static_cast<unsigned>(x);
  mTarget.Row32(0)[index] = pixel;
}

void KSoftContext2D::SetGlobalAttribute(unsigned key, unsigned value) {
  switch (key) {
    case 0:
      Flags.DisplayFps = value != 0;
      break;
    case 1:
      Flags.DrawColoredOutlines = value != 0;
      break;
    case 2:
      Flags.IgnoreAlpha = value != 0;
      break;
    case 3:
      Flags.OnlyNearest = value != 0;
      break;
    case 4:
      Flags.UseFontHinting = value != 0;
      break;
    default:
      break;
  }
}

KSoftPath* KSoftContext2D::CreatePath() const { return new (std::nothrow) KSoftPath; }

void KSoftContext2D::DestroyPath(KSoftPath* path) const { delete path; }
