// Clips: a path and a rectangle that drawings show through.
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

void Clips(KSoftContext2D& context, Kit& kit) {
  // Discs through a star, by either rule.
  for (int side = 0; side < 2; ++side) {
    KSoftPath& star = kit.Path();
    AddStar(star, 165 + 310 * side, 175, 160, 7, 3);
    context.SetClipPath(&star, side == 0 ? KFillNonZero : KFillEvenOdd);
    for (int i = 0; i < 12; ++i) {
      KSoftPath& disc = kit.Path();
      AddCircle(disc, 165 + 310 * side + 14 * (i % 3 - 1), 175 - 8 * (i % 4), 165 - 13 * i);
      Fill(context, disc, Hue(i * 30 + 180 * side));
    }
  }
  context.ResetClip();

  // One drawing through windows.
  for (int window = 0; window < 6; ++window) {
    const auto left = static_cast<std::int16_t>(20 + 102 * window);
    context.SetClipRegion({left, 350, static_cast<std::int16_t>(left + 90), 460});
    KSoftPath& sky = kit.Path();
    KSoftPath& moon = kit.Path();
    AddRectangle(sky, 0, 340, 640, 140);
    Fill(context, sky, KColor32(30, 36, 64, 255));
    AddCircle(moon, 70 + 100 * window, 400, 26);
    Fill(context, moon, KColor32(250, 240, 200, 255));
    for (int i = 0; i < 30; ++i) {
      KSoftPath& star = kit.Path();
      AddStar(star, (i * 197) % 640, 350 + (i * 61) % 110, 3 + i % 4, 5, 2);
      Fill(context, star, KColor32(255, 250, 220, 200));
    }
  }
}

}  // namespace gallery
