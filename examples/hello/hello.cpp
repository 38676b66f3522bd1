// Draws an orange star in a ring on dark blue and writes it as hello.ppm.
#include <cstdio>

#include "kalvora/kalvora.h"

int main() {
  KSoftPixmap picture;
  picture.Create(200, 200, KFormat0888PM);
  KSoftContext2D context;
  if (!picture.pixels || !context.RenderToTexture(&picture)) return 1;
  context.SetFlatness(KFixed(0.125f));  // curves within an eighth of a pixel

  context.Clear(KColor32(16, 32, 64, 255));
  KSoftPath star;
  const int points[][2] = {{100, 10}, {154, 176}, {13, 73}, {187, 73}, {46, 176}};
  star.MoveTo({KFixed::FromInt(points[0][0]), KFixed::FromInt(points[0][1])});
  for (const auto& p : points) star.LineTo({KFixed::FromInt(p[0]), KFixed::FromInt(p[1])});
  context.SetFillColor(KColor32(255, 144, 0, 255));
  context.DrawPath(&star);
  context.SetNoFill();
  context.SetStrokeColor(KColor32(255, 208, 128, 255));
  context.SetLineWidth(KFixed::FromInt(4));
  const KVertex2D centre = {KFixed::FromInt(100), KFixed::FromInt(100)};
  const KVertex2D radii = {KFixed::FromInt(94), KFixed::FromInt(94)};
  context.DrawArc(centre, radii, KFixed::FromInt(0), KFixed::FromInt(360));

  std::FILE* file = std::fopen("hello.ppm", "wb");
  if (!file) return 1;
  std::fprintf(file, "P6 200 200 255\n");
  for (const std::uint32_t* p = picture.Row32(0); p < picture.Row32(200); ++p) {
    const KColor32 c = KColor32::FromWord(*p);
    std::fprintf(file, "%c%c%c", c.red, c.green, c.blue);
  }
  return std::fclose(file) == 0 ? 0 : 1;
}
