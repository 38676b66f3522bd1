// The photo: a lake at dusk, painted once into a pixmap and shown through a moving window.
#include <cmath>

#include "examples/dashboard/instruments.h"

namespace dashboard {
namespace {

constexpr int kWidth = 480;
constexpr int kHeight = 180;
constexpr double kShore = 112;

void FillBand(KSoftContext2D& context, double top, double bottom, KColor32 from, KColor32 to) {
  const KColorStop stops[] = {{Fixed(0), from}, {Fixed(1), to}};
  KSoftColorRamp ramp;
  ramp.SetLinear(At(0, top), At(0, bottom), stops, 2);
  context.SetFillLGrad(&ramp);
  context.DrawRectangle(At(0, top), At(kWidth, bottom));
}

void DrawSun(KSoftContext2D& context, double x, double y) {
  const KColorStop stops[] = {{Fixed(0), KColor32(255, 246, 214, 255)},
                              {Fixed(0.16), KColor32(255, 232, 170, 255)},
                              {Fixed(0.2), KColor32(255, 200, 120, 150)},
                              {Fixed(1), KColor32(255, 150, 90, 0)}};
  KSoftColorRamp glow;
  glow.SetRadial(At(x, y), Fixed(110), stops, 4);
  context.SetFillColor(KColor32(0, 0, 0, 0));  // radial ramps blend when the colour would
  context.SetFillRGrad(&glow);
  context.DrawRectangle(At(0, 0), At(kWidth, kShore));
}

/// The height of a ridge at x: a few waves of different lengths.
double Ridge(double x, int layer) {
  const double far = 3 - layer;
  return kShore - 14 - far * 13 - 10 * std::sin(x / (23 + 9 * far) + layer * 2.1) -
         6 * std::sin(x / (9 + 3 * far) + layer * 5.3) - 2 * std::sin(x / 4 + layer);
}

void DrawRidge(KSoftContext2D& context, int layer, KColor32 color) {
  KSoftPath ridge;
  ridge.MoveTo(At(0, kShore));
  for (int x = 0; x <= kWidth; x += 2) ridge.LineTo(At(x, Ridge(x, layer)));
  ridge.LineTo(At(kWidth, kShore));
  ridge.Close();
  gallery::Fill(context, ridge, color);
}

void DrawWater(KSoftContext2D& context, double sun) {
  FillBand(context, kShore, kHeight, KColor32(208, 124, 96, 255), KColor32(28, 34, 66, 255));
  for (int i = 0; i < 26; ++i) {
    const double y = kShore + 2 + i * 2.6;
    const double width = 12 + i * 1.6 + 8 * std::sin(i * 2.4);
    const double x = sun + 5 * std::sin(i * 1.7);
    KSoftPath glint;
    gallery::AddRectangle(glint, x - width / 2, y, width, 1.2);
    gallery::Fill(context, glint, KColor32(255, 214, 150, static_cast<unsigned>(150 - i * 4)));
  }
}

}  // namespace

void PaintPhoto(KSoftPixmap& photo) {
  photo.Create(kWidth, kHeight, KFormat0888PM);
  KSoftContext2D context;
  context.SetFlatness(KFixed(0.125f));
  if (photo.pixels == nullptr || !context.RenderToTexture(&photo)) return;
  const double sun = 236;
  FillBand(context, 0, kShore, KColor32(44, 46, 98, 255), KColor32(244, 156, 98, 255));
  DrawSun(context, sun, 62);
  DrawRidge(context, 0, KColor32(150, 92, 112, 255));
  DrawRidge(context, 1, KColor32(104, 66, 96, 255));
  DrawRidge(context, 2, KColor32(62, 46, 76, 255));
  DrawWater(context, sun);
}

void DrawPhoto(Sheet& sheet, const Area& area, KSoftPixmap& photo, double pan) {
  sheet.Open(area);
  if (photo.pixels == nullptr) return;
  KSoftContext2D& context = sheet.Context();
  // A window with round corners; clip paths are given in device pixels.
  KSoftPath& round = sheet.Things().Path();
  const double r = 8;
  round.MoveTo(At(area.left + r, area.top));
  round.LineTo(At(area.right - r, area.top));
  round.QuadTo(At(area.right, area.top), At(area.right, area.top + r));
  round.LineTo(At(area.right, area.bottom - r));
  round.QuadTo(At(area.right, area.bottom), At(area.right - r, area.bottom));
  round.LineTo(At(area.left + r, area.bottom));
  round.QuadTo(At(area.left, area.bottom), At(area.left, area.bottom - r));
  round.LineTo(At(area.left, area.top + r));
  round.QuadTo(At(area.left, area.top), At(area.left + r, area.top));
  round.Close();
  KSoftPath& window = sheet.Things().Path();
  round.Transform(&window, &sheet.ToDevice());
  context.SetClipPath(&window, KFillNonZero);
  const double height = kHeight;
  const double width = height * area.Width() / area.Height();
  const double left = (kWidth - width) * pan;
  context.DrawSubPixmap(&photo, At(area.left, area.top), At(area.right, area.bottom), At(left, 0),
                        At(left + width, height));
  context.SetClipPath(nullptr, KFillNonZero);
  sheet.Write("Lake at dusk", area.left + 10, area.bottom - 9, kSmall, Align::kLeft, kBright);
}

}  // namespace dashboard
