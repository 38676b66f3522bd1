// Masks: bytes of coverage, drawn through every kind of paint.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

namespace {

constexpr unsigned kSize = 190;

// A soft disc of rings, one byte a pixel.
void MakeMask(KSoftPixmap& mask) {
  mask.Create(kSize, kSize, KFormatMask8);
  if (!mask.pixels) return;
  for (unsigned y = 0; y < kSize; ++y) {
    for (unsigned x = 0; x < kSize; ++x) {
      const double distance = std::hypot(x - kSize / 2.0, y - kSize / 2.0) / (kSize / 2.0);
      const double ring = 0.65 + 0.35 * std::cos(distance * 25);
      const double edge = std::clamp((1 - distance) * 4, 0.0, 1.0);
      mask.pixels[y * mask.stride + x] = static_cast<std::uint8_t>(255 * ring * edge);
    }
  }
}

void MakeChecks(KSoftPixmap& checks) {
  checks.Create(16, 16, KFormat8888PM);
  KSoftContext2D painter;
  painter.SetFlatness(KFixed(0.125f));
  if (!checks.pixels || !painter.RenderToTexture(&checks)) return;
  painter.Clear(KColor32(250, 200, 60, 255));
  KSoftPath squares;
  AddRectangle(squares, 0, 0, 8, 8);
  AddRectangle(squares, 8, 8, 8, 8);
  Fill(painter, squares, KColor32(60, 60, 70, 255));
  checks.repeatRule = KRepeatTile;
}

void DrawMask(KSoftContext2D& context, KSoftPixmap& mask, int x, int y) {
  context.DrawAlphaMask(&mask, x, y, x + int{kSize}, y + int{kSize});
}

}  // namespace

void Masks(KSoftContext2D& context, Kit& kit) {
  KSoftPixmap& mask = kit.Pixmap(MakeMask);
  KSoftPath& stripes = kit.Path();
  for (int i = 0; i < 16; ++i) AddRectangle(stripes, 0, i * 30, kWidth, 15);
  Fill(context, stripes, KColor32(232, 232, 236, 255));

  context.SetFillColor(KColor32(30, 90, 170, 255));
  DrawMask(context, mask, 20, 30);
  context.SetFillOpacity(110);
  DrawMask(context, mask, 225, 30);
  context.SetFillOpacity(256);

  KColorStop hues[7];
  for (int i = 0; i < 7; ++i) hues[i] = {Fixed(i / 6.0), Hue(i * 60)};
  KSoftColorRamp& linear = kit.Ramp();
  KSoftColorRamp& radial = kit.Ramp();
  linear.SetLinear(At(430, 30), At(620, 220), hues, 7);
  context.SetFillLGrad(&linear);
  DrawMask(context, mask, 430, 30);
  radial.SetRadial(At(90, 320), Fixed(130), hues, 7);
  context.SetFillRGrad(&radial);
  DrawMask(context, mask, 20, 260);

  context.SetFillPixmap(&kit.Pixmap(MakeChecks));
  DrawMask(context, mask, 225, 260);

  // Through a clip path.
  KSoftPath& star = kit.Path();
  AddStar(star, 525, 355, 95, 5, 2);
  context.SetClipPath(&star, KFillNonZero);
  context.SetFillColor(KColor32(180, 40, 70, 255));
  DrawMask(context, mask, 430, 260);
}

}  // namespace gallery
