// Curves: flowers of cubic petals on quadratic stems, and a landscape.
#include <cmath>

#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

namespace {

void Flower(KSoftContext2D& context, Kit& kit, double x, double y, double size, int petals,
            double hue) {
  KSoftPath& stem = kit.Path();
  stem.MoveTo(At(x - 3, y));
  stem.QuadTo(At(x + size / 2 - 3, y + size), At(x - 4, 480));
  stem.LineTo(At(x + 5, 480));
  stem.QuadTo(At(x + size / 2 + 3, y + size), At(x + 3, y));
  stem.Close();
  Fill(context, stem, KColor32(50, 120, 60, 255));

  const double half = 180.0 / petals;
  for (int layer = 0; layer < 2; ++layer) {
    const double length = size * (layer == 0 ? 1 : 0.65);
    KSoftPath& path = kit.Path();
    for (int i = 0; i < petals; ++i) {
      const double angle = 360.0 * i / petals + layer * half;
      path.MoveTo(At(x, y));
      path.CubicTo(Polar(x, y, length * 0.6, angle - 1.6 * half),
                   Polar(x, y, length * 1.2, angle - half), Polar(x, y, length, angle));
      path.CubicTo(Polar(x, y, length * 1.2, angle + half),
                   Polar(x, y, length * 0.6, angle + 1.6 * half), At(x, y));
      path.Close();
    }
    Fill(context, path, Hue(hue + 30 * layer, 200));
  }
  KSoftPath& heart = kit.Path();
  AddCircle(heart, x, y, size * 0.18);
  Fill(context, heart, KColor32(250, 210, 60, 255));
}

// A ridge of smooth hills from side to side, filled down to the bottom.
void Hills(KSoftContext2D& context, Kit& kit, double y, double height, double width, double shift,
           KColor32 color) {
  KSoftPath& path = kit.Path();
  path.MoveTo(At(-width, 480));
  path.LineTo(At(-width - shift, y));
  for (double x = -width - shift; x < 640 + width; x += width) {
    const double up = y - height * (0.6 + 0.4 * std::sin(x * 12.9898));
    path.CubicTo(At(x + width * 0.2, y), At(x + width * 0.3, up), At(x + width * 0.5, up));
    path.CubicTo(At(x + width * 0.7, up), At(x + width * 0.8, y), At(x + width, y));
  }
  path.LineTo(At(640 + 2 * width, 480));
  path.Close();
  Fill(context, path, color);
}

}  // namespace

void Flowers(KSoftContext2D& context, Kit& kit) {
  context.Clear(KColor32(235, 243, 250, 255));
  Flower(context, kit, 130, 190, 110, 7, 300);
  Flower(context, kit, 330, 130, 95, 12, 0);
  Flower(context, kit, 525, 220, 90, 5, 210);
  Flower(context, kit, 235, 340, 60, 9, 40);
  Flower(context, kit, 430, 370, 55, 16, 260);
}

void Landscape(KSoftContext2D& context, Kit& kit) {
  context.Clear(KColor32(252, 214, 160, 255));
  for (int i = 0; i < 12; ++i) {
    KSoftPath& glow = kit.Path();
    AddCircle(glow, 455, 150, 45 + 22 * i);
    Fill(context, glow, KColor32(255, 236, 190, 40));
  }
  KSoftPath& sun = kit.Path();
  AddCircle(sun, 455, 150, 42);
  Fill(context, sun, KColor32(255, 250, 225, 255));
  for (int i = 0; i < 6; ++i) {
    const double y = 215 + i * 48;
    const unsigned red = 200u - 32u * unsigned(i), green = 130u - 18u * unsigned(i);
    Hills(context, kit, y, 95 - 8 * i, 230 - 22 * i, 67 * i,
          KColor32(red, green, 130u - 12u * unsigned(i), 235));
  }
}

}  // namespace gallery
