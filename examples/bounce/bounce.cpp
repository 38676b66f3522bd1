// A ball that bounces over the framebuffer /dev/fb0 for ten seconds.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "kalvora/kalvora.h"

int main() {
  KSoftContext2D context;
  if (!context.SetDisplay(KDisplayFramebuffer, 0, KFormat0888PM, 3)) {
    std::fprintf(stderr, "bounce: %s\n", context.LastError().text);
    return 1;
  }
  context.SetFlatness(KFixed(0.125f));
  const int width = static_cast<int>(context.GetTarget().width);
  const int height = static_cast<int>(context.GetTarget().height);
  if (width <= 48 || height <= 48) return 1;

  const KColor32 night(16, 32, 64, 255);
  context.Clear(night);
  context.Flip(true, nullptr);  // painted whole: no rectangle

  KSoftPath ball;
  const KFixed radius = KFixed::FromInt(20);
  ball.AddArc(KVertex2D::Origin, {radius, radius}, KFixed::FromInt(0), KFixed::FromInt(360));
  for (int frame = 0; frame < 600; ++frame) {
    const auto bounce = [frame](int size) { return 24 + std::abs(frame * 3 % (2 * size) - size); };
    const int x = bounce(width - 48);
    const int y = bounce(height - 48);
    // The ball with three pixels around it: that is also where it was before.
    const KRect dirty{static_cast<std::int16_t>(x - 24), static_cast<std::int16_t>(y - 24),
                      static_cast<std::int16_t>(x + 24), static_cast<std::int16_t>(y + 24)};
    context.Clear(night, &dirty);
    context.Transform().Identity();
    context.Transform().Translate({KFixed::FromInt(x), KFixed::FromInt(y)});
    context.SetFillColor(KColor32(255, 144, 0, 255));
    context.DrawPath(&ball);
    context.Flip(true, &dirty);  // covers all that was drawn since the last Flip
  }
  return 0;
}
