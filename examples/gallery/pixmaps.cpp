// Pixmaps: patterns, scaling with each sampling, opacity.
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

namespace {

// A tile that the library draws itself.
void MakeTile(KSoftPixmap& tile) {
  tile.Create(24, 24, KFormat8888PM);
  KSoftContext2D context;
  context.SetFlatness(KFixed(0.125f));
  if (!tile.pixels || !context.RenderToTexture(&tile)) return;
  context.Clear(KColor32(240, 230, 210, 255));
  KSoftPath star, dot;
  AddStar(star, 12, 13, 11, 5, 2);
  Fill(context, star, KColor32(190, 50, 60, 255));
  AddCircle(dot, 12, 13, 3);
  Fill(context, dot, KColor32(250, 210, 90, 255));
}

}  // namespace

void Pixmaps(KSoftContext2D& context, Kit& kit) {
  KSoftPixmap& tile = kit.Pixmap(MakeTile);

  // A pattern that turns: the pixmap's transform leads from the picture to the tile.
  tile.repeatRule = KRepeatTile;
  tile.SetQuality(KSamplingBilinear);
  KSoftPath& plate = kit.Path();
  AddStar(plate, 160, 150, 140, 12, 5);
  tile.transform.Identity();
  tile.transform.Rotate(Fixed(30));
  tile.transform.Scale(At(0.6, 0.6));
  context.SetFillPixmap(&tile);
  context.DrawPath(&plate);

  // The tile itself, ten times its size, with each sampling.
  tile.repeatRule = KRepeatClamp;
  const KSampling samplings[] = {KSamplingNearest, KSamplingBilinear, KSamplingBicubic};
  for (int i = 0; i < 3; ++i) {
    tile.SetQuality(samplings[i]);
    const double x = 20 + 205 * i;
    context.DrawPixmap(&tile, At(x, 290), At(x + 190, 470));
  }

  // Fading and turning.
  tile.SetQuality(KSamplingBilinear);
  for (int i = 0; i < 8; ++i) {
    KSoftMatrix3D m;
    m.Rotate(Fixed(12 * i));
    m.Translate(At(345 + 34 * i, 140));
    context.SetTransform(m);
    context.SetFillOpacity(256 - 28 * i);
    context.DrawPixmap(&tile, At(-45, -45), At(45, 45));
  }
}

}  // namespace gallery
