// Gradients: linear and radial, padded and repeated, placed by matrices.
#include <initializer_list>

#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

namespace {

void FillLinear(KSoftContext2D& context, Kit& kit, const KSoftPath& path, KVertex2D from,
                KVertex2D to, std::initializer_list<KColorStop> stops,
                KSpread spread = KSpreadPad) {
  KSoftColorRamp& ramp = kit.Ramp();
  ramp.SetLinear(from, to, stops.begin(), static_cast<unsigned>(stops.size()), spread);
  context.SetFillLGrad(&ramp);
  context.DrawPath(&path);
}

// Radial gradients blend when the colour that was set before is translucent.
void FillRadial(KSoftContext2D& context, Kit& kit, const KSoftPath& path, KVertex2D centre,
                double radius, std::initializer_list<KColorStop> stops,
                KSpread spread = KSpreadPad) {
  KSoftColorRamp& ramp = kit.Ramp();
  ramp.SetRadial(centre, Fixed(radius), stops.begin(), static_cast<unsigned>(stops.size()), spread);
  context.SetFillColor(KColor32(0, 0, 0, 0));
  context.SetFillRGrad(&ramp);
  context.DrawPath(&path);
}

KColorStop Stop(double position, KColor32 color) { return {Fixed(position), color}; }

// A shadow, a body lit from above left, and a highlight.
void Ball(KSoftContext2D& context, Kit& kit, double x, double y, double r, KColor32 color) {
  const KColor32 dark(color.red / 4u, color.green / 4u, color.blue / 4u, 255);
  KSoftPath& floor = kit.Path();
  KSoftPath& body = kit.Path();
  KSoftPath& shine = kit.Path();
  AddRectangle(floor, x - 1.4 * r, y + 0.5 * r, 2.8 * r, r);
  KSoftMatrix3D flat;
  flat.Set(kalvora::kOne, kalvora::kZero, kalvora::kZero, Fixed(0.22), Fixed(x),
           Fixed(y + 0.97 * r));
  const KColorStop shadow[] = {Stop(0, {0, 0, 0, 150}), Stop(1, {0, 0, 0, 0})};
  KSoftColorRamp& ramp = kit.Ramp();
  ramp.SetRadial(KVertex2D::Origin, Fixed(1.3 * r), flat, shadow, 2);
  context.SetFillColor(KColor32(0, 0, 0, 0));
  context.SetFillRGrad(&ramp);
  context.DrawPath(&floor);

  AddCircle(body, x, y, r);
  FillRadial(context, kit, body, At(x - 0.35 * r, y - 0.4 * r), 1.5 * r,
             {Stop(0, {255, 255, 255, 255}), Stop(0.35, color), Stop(1, dark)});
  AddCircle(shine, x, y - 0.45 * r, 0.45 * r);
  FillLinear(context, kit, shine, At(x, y - 0.9 * r), At(x, y),
             {Stop(0, {255, 255, 255, 200}), Stop(1, {255, 255, 255, 0})});
}

}  // namespace

void Gradients(KSoftContext2D& context, Kit& kit) {
  KSoftPath& all = kit.Path();
  AddRectangle(all, 0, 0, kWidth, kHeight);
  FillLinear(context, kit, all, At(0, 0), At(0, 480),
             {Stop(0, {236, 240, 248, 255}), Stop(1, {176, 188, 208, 255})});

  KSoftPath& rainbow = kit.Path();
  KSoftPath& barrel = kit.Path();
  KSoftPath& rings = kit.Path();
  AddRectangle(rainbow, 40, 30, 560, 50);
  KColorStop hues[7];
  for (int i = 0; i < 7; ++i) hues[i] = Stop(i / 6.0, Hue(i * 60));
  KSoftColorRamp& ramp = kit.Ramp();
  ramp.SetLinear(At(40, 0), At(600, 0), hues, 7);
  context.SetFillLGrad(&ramp);
  context.DrawPath(&rainbow);

  AddRectangle(barrel, 40, 100, 260, 110);
  FillLinear(context, kit, barrel, At(40, 100), At(56, 108),
             {Stop(0, {250, 205, 70, 255}), Stop(0.5, {250, 205, 70, 255}),
              Stop(0.5, {50, 50, 60, 255}), Stop(1, {50, 50, 60, 255})},
             KSpreadRepeat);
  AddRectangle(rings, 340, 100, 260, 110);
  FillRadial(
      context, kit, rings, At(470, 155), 18,
      {Stop(0, {255, 255, 255, 255}), Stop(0.5, {220, 60, 90, 255}), Stop(1, {255, 255, 255, 255})},
      KSpreadRepeat);

  for (int i = 0; i < 4; ++i) Ball(context, kit, 105 + 143 * i, 320, 62, Hue(20 + i * 85));
}

}  // namespace gallery
