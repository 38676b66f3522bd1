// Transforms: one shape under many matrices.
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

void Rosette(KSoftContext2D& context, Kit& kit) {
  context.Clear(KColor32(18, 20, 38, 255));
  KSoftPath& leaf = kit.Path();
  leaf.MoveTo(At(30, 0));
  leaf.CubicTo(At(80, -60), At(170, -50), At(225, 0));
  leaf.CubicTo(At(170, 50), At(80, 60), At(30, 0));
  leaf.Close();
  leaf.MoveTo(At(70, 0));
  leaf.CubicTo(At(110, 25), At(150, 25), At(190, 0));
  leaf.CubicTo(At(150, -25), At(110, -25), At(70, 0));
  leaf.Close();
  context.SetFillRule(KFillEvenOdd);
  constexpr int kLeaves = 24;
  for (int i = 0; i < kLeaves; ++i) {
    KSoftMatrix3D m;
    m.Rotate(Fixed(360.0 * i / kLeaves));
    m.Translate(At(320, 240));
    context.SetTransform(m);
    Fill(context, leaf, Hue(360.0 * i / kLeaves, 130));
  }
}

void Squares(KSoftContext2D& context, Kit& kit) {
  KSoftPath& square = kit.Path();
  AddRectangle(square, -1, -1, 2, 2);
  // Each square fits into the one before: turned by 9 degrees, 0.875 times the size.
  double size = 210;
  for (int i = 0; i < 34; ++i, size *= 0.875) {
    KSoftMatrix3D m;
    m.Scale(At(size, size));
    m.Rotate(Fixed(9.0 * i - (i >= 40 ? 360 : 0)));
    m.Translate(At(225, 240));
    context.SetTransform(m);
    Fill(context, square, i % 2 ? KColor32(250, 245, 235, 255) : Hue(200 + 6 * i));
  }
  for (int i = 0; i < 9; ++i) {
    KSoftMatrix3D m;
    m.Scale(At(26, 22));
    m.Skew(At(i * 6, 0));
    m.Translate(At(500 + i * 6, 30 + i * 52.0));
    context.SetTransform(m);
    Fill(context, square, Hue(20 + i * 12));
  }
}

}  // namespace gallery
