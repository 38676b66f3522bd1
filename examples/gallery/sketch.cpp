// Sketching: see the header.
#include "examples/gallery/sketch.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace gallery {

KFixed Fixed(double value) {
  return KFixed::FromRaw(static_cast<std::int32_t>(std::lround(value * 65536)));
}

KVertex2D Polar(double x, double y, double radius, double degrees) {
  const double angle = degrees * std::numbers::pi / 180;
  return At(x + radius * std::cos(angle), y + radius * std::sin(angle));
}

void AddCircle(KSoftPath& path, double x, double y, double r) {
  const double k = 0.5522847498 * r;  // the handle of a quarter circle
  path.MoveTo(At(x + r, y));
  path.CubicTo(At(x + r, y + k), At(x + k, y + r), At(x, y + r));
  path.CubicTo(At(x - k, y + r), At(x - r, y + k), At(x - r, y));
  path.CubicTo(At(x - r, y - k), At(x - k, y - r), At(x, y - r));
  path.CubicTo(At(x + k, y - r), At(x + r, y - k), At(x + r, y));
  path.Close();
}

void AddRectangle(KSoftPath& path, double x, double y, double width, double height) {
  path.MoveTo(At(x, y));
  path.LineTo(At(x + width, y));
  path.LineTo(At(x + width, y + height));
  path.LineTo(At(x, y + height));
  path.Close();
}

void AddStar(KSoftPath& path, double x, double y, double radius, int points, int step) {
  path.MoveTo(Polar(x, y, radius, -90));
  for (int i = 1; i < points; ++i) path.LineTo(Polar(x, y, radius, 360.0 * i * step / points - 90));
  path.Close();
}

void Fill(KSoftContext2D& context, const KSoftPath& path, KColor32 color) {
  context.SetFillColor(color);
  context.DrawPath(&path);
}

KColor32 Hue(double degrees, unsigned alpha) {
  const auto channel = [&](double shift) {
    const double wave = std::cos((degrees - shift) * std::numbers::pi / 180);
    return static_cast<unsigned>(std::lround(std::clamp(140 + 115 * wave, 0.0, 255.0)));
  };
  return {channel(0), channel(120), channel(240), alpha};
}

}  // namespace gallery
