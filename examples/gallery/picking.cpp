// Picking: the same paths that are drawn answer which of them covers a point.
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

namespace {

constexpr int kShapes = 7;

using Shapes = KSoftPath* [kShapes];

void AddShapes(Kit& kit, Shapes& shapes) {
  for (KSoftPath*& shape : shapes) shape = &kit.Path();
  AddCircle(*shapes[0], 170, 160, 120);
  AddStar(*shapes[1], 430, 180, 165, 5, 2);
  AddRectangle(*shapes[2], 70, 270, 220, 150);
  AddStar(*shapes[3], 310, 330, 130, 9, 4);
  AddCircle(*shapes[4], 520, 360, 95);
  AddCircle(*shapes[4], 520, 360, 50);
  AddStar(*shapes[5], 560, 90, 75, 8, 3);
  AddCircle(*shapes[6], 330, 90, 60);
}

// The topmost shape at a pixel, or -1. Clipped to the pixel, so that the question costs little.
int ShapeAt(KSoftContext2D& context, const Shapes& shapes, int x, int y) {
  const auto left = static_cast<std::int16_t>(x), top = static_cast<std::int16_t>(y);
  context.SetClipRegion(
      {left, top, static_cast<std::int16_t>(x + 1), static_cast<std::int16_t>(y + 1)});
  for (int i = kShapes - 1; i >= 0; --i) {
    bool hit = false;
    context.SetFillPick({KFixed::FromInt(x), KFixed::FromInt(y)}, &hit);
    context.DrawPath(shapes[i]);
    if (hit) return i;
  }
  return -1;
}

}  // namespace

void HitMap(KSoftContext2D& context, Kit& kit) {
  Shapes shapes;
  AddShapes(kit, shapes);
  KSoftPath& dot = kit.Path();
  context.SetFillRule(KFillEvenOdd);
  for (int i = 0; i < kShapes; ++i) Fill(context, *shapes[i], Hue(i * 51, 60));

  for (int y = 5; y < 480; y += 10) {
    for (int x = 5; x < 640; x += 10) {
      const int shape = ShapeAt(context, shapes, x, y);
      context.ResetClip();
      dot.Rewind();
      AddCircle(dot, x + 0.5, y + 0.5, shape < 0 ? 1 : 3.5);
      Fill(context, dot, shape < 0 ? KColor32(190, 190, 190, 255) : Hue(shape * 51));
    }
  }
}

}  // namespace gallery
