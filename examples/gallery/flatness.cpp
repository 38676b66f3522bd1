// Flatness: the same curves at four tolerances, from left to right.
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

namespace {

constexpr float kTolerances[] = {2, 0.5f, 0.125f, 0.03125f};
const KColor32 kInk(30, 60, 120, 255);

void AddDrop(KSoftPath& path, double x, double y, double size) {
  path.MoveTo(At(x, y - size));
  path.CubicTo(At(x + size * 1.6, y), At(x + size, y + size), At(x, y + size));
  path.CubicTo(At(x - size, y + size), At(x - size * 1.6, y), At(x, y - size));
  path.Close();
}

/// Small shapes, to be shown pixel by pixel.
template <int COLUMN>
void MakeSmall(KSoftPixmap& small) {
  small.Create(36, 36, KFormat0888PM);
  KSoftContext2D context;
  if (!small.pixels || !context.RenderToTexture(&small)) return;
  context.SetFlatness(KFixed(kTolerances[COLUMN]));
  context.Clear(KColor32(255, 255, 255, 255));
  KSoftPath shapes, ring;
  AddCircle(shapes, 5, 6, 3);
  AddCircle(shapes, 14, 7, 5);
  AddDrop(shapes, 27, 9, 6);
  AddCircle(shapes, 9, 25, 8);
  Fill(context, shapes, kInk);
  AddCircle(ring, 27, 26, 6);
  context.SetNoFill();
  context.SetStrokeColor(kInk);
  context.SetLineWidth(Fixed(1.5));
  context.DrawPath(&ring);
}

}  // namespace

void Flatness(KSoftContext2D& context, Kit& kit) {
  constexpr void (*kMakers[])(KSoftPixmap&) = {MakeSmall<0>, MakeSmall<1>, MakeSmall<2>,
                                               MakeSmall<3>};
  for (int i = 0; i < 4; ++i) {
    const double x = 8 + 160 * i;
    KSoftPixmap& small = kit.Pixmap(kMakers[i]);
    small.SetQuality(KSamplingNearest);
    context.DrawPixmap(&small, At(x, 8), At(x + 144, 152));

    context.SetFlatness(KFixed(kTolerances[i]));
    KSoftPath& large = kit.Path();
    AddCircle(large, x + 72, 234, 66);
    AddDrop(large, x + 72, 390, 70);
    Fill(context, large, kInk);
  }
  context.SetFlatness(KFixed(0.125f));
}

}  // namespace gallery
