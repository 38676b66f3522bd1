// Strokes: caps, joins, dashes, and pens that a matrix has shaped.
#include <cmath>

#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

namespace {

void Stroke(KSoftContext2D& context, const KSoftPath& path, KColor32 color, double width) {
  context.SetStrokeColor(color);
  context.SetLineWidth(Fixed(width));
  context.DrawPath(&path);
}

}  // namespace

void Strokes(KSoftContext2D& context, Kit& kit) {
  context.SetNoFill();
  for (unsigned kind = 0; kind < 3; ++kind) {
    // Caps: butt, square, round, with the line itself on top.
    const double y = 50 + 60.0 * kind;
    KSoftPath& line = kit.Path();
    line.MoveTo(At(50, y));
    line.LineTo(At(190, y));
    context.SetCaps(kind, kind);
    Stroke(context, line, KColor32(60, 100, 160, 255), 32);
    context.SetCaps(0, 0);
    Stroke(context, line, KColor32(255, 255, 255, 255), 2);

    // Joins: bevel, miter, round.
    KSoftPath& corner = kit.Path();
    corner.MoveTo(At(250 + 130 * kind, 180));
    corner.LineTo(At(290 + 130 * kind, 45));
    corner.LineTo(At(330 + 130 * kind, 180));
    context.SetJoin(kind);
    Stroke(context, corner, KColor32(180, 70, 60, 255), 26);
    Stroke(context, corner, KColor32(255, 255, 255, 255), 2);
  }
  context.SetJoin(1);

  // A spiral of dashes that grow.
  KSoftPath& spiral = kit.Path();
  for (int i = 0; i < 720; i += 6) {
    const KVertex2D p = Polar(130, 345, 10 + i / 7.0, i * 1.5);
    i == 0 ? spiral.MoveTo(p) : static_cast<void>(spiral.LineTo(p));
  }
  const KFixed dashes[] = {Fixed(2), Fixed(7), Fixed(14), Fixed(7)};
  context.SetDashes(dashes, 4, kalvora::kZero);
  context.SetCaps(2, 2);
  context.SetJoin(2);
  Stroke(context, spiral, KColor32(40, 120, 80, 255), 5);

  // A pen that a matrix has flattened.
  context.SetDashes(nullptr, 0, kalvora::kZero);
  KSoftPath& wave = kit.Path();
  wave.MoveTo(At(-100, 0));
  for (int i = 0; i < 4; ++i) {
    const double x = -100 + 50 * i;
    wave.CubicTo(At(x + 20, i % 2 ? 90 : -90), At(x + 30, i % 2 ? 90 : -90), At(x + 50, 0));
  }
  KSoftMatrix3D m;
  m.Scale(At(1.4, 0.5));
  m.Rotate(Fixed(20));
  m.Translate(At(450, 260));
  context.SetTransform(m);
  Stroke(context, wave, KColor32(120, 60, 150, 255), 22);

  // Hair lines.
  context.SetTransform(KSoftMatrix3D());
  context.SetCaps(0, 0);
  for (int i = 0; i < 24; ++i) {
    KSoftPath& ray = kit.Path();
    ray.MoveTo(Polar(450, 390, 15, 15 * i));
    ray.LineTo(Polar(450, 390, 80, 15 * i));
    Stroke(context, ray, KColor32(30, 30, 30, 255), 0.25 * (i + 1));
  }
}

}  // namespace gallery
