// Fills: winding rules, translucent colours, thin wedges.
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

void FillRules(KSoftContext2D& context, Kit& kit) {
  for (int row = 0; row < 2; ++row) {
    context.SetFillRule(row == 0 ? KFillNonZero : KFillEvenOdd);
    const double y = 125 + 230 * row;
    KSoftPath& pentagram = kit.Path();
    KSoftPath& star = kit.Path();
    KSoftPath& rings = kit.Path();
    AddStar(pentagram, 115, y, 100, 5, 2);
    Fill(context, pentagram, KColor32(200, 40, 60, 255));
    AddStar(star, 320, y, 100, 11, 4);
    Fill(context, star, KColor32(30, 110, 180, 255));
    for (int i = 0; i < 5; ++i) AddCircle(rings, 525, y, 100 - 20 * i);
    Fill(context, rings, KColor32(40, 140, 80, 255));
  }
}

void Transparency(KSoftContext2D& context, Kit& kit) {
  KSoftPath& board = kit.Path();
  for (int y = 0; y < 12; ++y) {
    for (int x = y % 2; x < 16; x += 2) AddRectangle(board, x * 40, y * 40, 40, 40);
  }
  Fill(context, board, KColor32(225, 225, 225, 255));

  for (int i = 0; i < 3; ++i) {
    KSoftPath& circle = kit.Path();
    const KVertex2D c = Polar(0, 0, 75, 120 * i - 90);
    AddCircle(circle, 200 + float(c.x), 200 + float(c.y), 110);
    Fill(context, circle, KColor32(i == 0 ? 255 : 0, i == 1 ? 200 : 0, i == 2 ? 255 : 0, 128));
  }
  // The same disc, with the opacity of the paint growing from row to row.
  for (int i = 0; i < 24; ++i) {
    KSoftPath& disc = kit.Path();
    AddCircle(disc, 420 + i % 4 * 55, 65 + i / 4 * 70, 32);
    context.SetFillOpacity((i + 1) * 256 / 24);
    Fill(context, disc, Hue(i * 15));
  }
  context.SetFillOpacity(256);
  KSoftPath& bar = kit.Path();
  AddRectangle(bar, 20, 380, 360, 70);
  Fill(context, bar, KColor32(0, 0, 0, 90));
}

void Rays(KSoftContext2D& context, Kit& kit) {
  constexpr int kRays = 180;
  KSoftPath& rays = kit.Path();
  for (int i = 0; i < kRays; ++i) {
    const double angle = 360.0 * i / kRays;
    rays.MoveTo(At(320, 240));
    rays.LineTo(Polar(320, 240, 230, angle));
    rays.LineTo(Polar(320, 240, 230, angle + 180.0 / kRays));
    rays.Close();
  }
  Fill(context, rays, KColor32(20, 20, 60, 255));
  for (int i = 0; i < 40; ++i) {
    // Slivers that narrow to nothing.
    KSoftPath& sliver = kit.Path();
    const double y = 20 + 11.3 * i;
    sliver.MoveTo(At(4, y));
    sliver.LineTo(At(80, y + 6));
    sliver.LineTo(At(4, y + 1.5));
    sliver.Close();
    sliver.MoveTo(At(636, y));
    sliver.LineTo(At(560, y + 6));
    sliver.LineTo(At(636, y + 1.5));
    sliver.Close();
    Fill(context, sliver, Hue(i * 9));
  }
}

}  // namespace gallery
