// The panel's layout and its make-believe engine.
#include "examples/dashboard/Dashboard.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "examples/dashboard/instruments.h"

namespace dashboard {
namespace {

struct Place {
  Area area;
  unsigned every;  ///< frames between two changes
};

// In the order of DrawInstrument.
constexpr Place kPlaces[] = {
    {{8, 8, 312, 40}, 60},      {{8, 48, 156, 192}, 1},  {{164, 48, 312, 192}, 1},
    {{8, 200, 312, 254}, 6},    {{8, 262, 312, 372}, 2}, {{8, 380, 206, 472}, 3},
    {{214, 380, 312, 472}, 10},
};

constexpr double kMostPower = 80;

double Wave(double seconds, double period, double phase) {
  return 0.5 + 0.5 * std::sin(2 * 3.14159265358979 * (seconds / period + phase));
}

double Speed(double t) { return 0.12 + 0.7 * Wave(t, 9, 0.7) + 0.04 * Wave(t, 1.3, 0); }
double Power(double t) {
  return std::clamp(0.2 + 0.55 * Wave(t, 4.5, 0.45) + 0.1 * Wave(t, 0.7, 0), 0.0, 1.0);
}

void Grow(KRect& all, const KRect& r) {
  all = {std::min(all.left, r.left), std::min(all.top, r.top), std::max(all.right, r.right),
         std::max(all.bottom, r.bottom)};
}

}  // namespace

Dashboard::Dashboard(KSoftContext2D& context, const char* font) : sheet(context, font) {
  PaintPhoto(photo);
}

KRect Dashboard::Draw(unsigned n) {
  if (n == 0) sheet.Context().Clear(kPage);
  bool any = false;
  KRect dirty{};
  for (int i = 0; i < kInstruments; ++i) {
    if (n % kPlaces[i].every != 0) continue;
    DrawInstrument(i, n);
    const KRect pixels = sheet.Pixels(kPlaces[i].area);
    if (any) {
      Grow(dirty, pixels);
    } else {
      dirty = pixels;
    }
    any = true;
  }
  return dirty;
}

void Dashboard::DrawInstrument(int which, unsigned n) {
  const Area& area = kPlaces[which].area;
  const double t = n / 60.0;
  sheet.Use(kits[which]);
  switch (which) {
    case 0:
      return DrawHeader(sheet, area, t);
    case 1:
      return DrawGauge(sheet, area, Speed(t), 240, "km/h", kCyan);
    case 2:
      return DrawGauge(sheet, area, Power(t), kMostPower, "kW", kGreen);
    case 3: {
      const double levels[] = {0.86 - 0.3 * Wave(t, 60, 0.75), 0.4 + 0.4 * Wave(t, 12, 0.2),
                               0.55 + 0.4 * Wave(t, 20, 0.6)};
      return DrawLevels(sheet, area, levels);
    }
    case 4: {
      double samples[kSamples];
      for (int i = 0; i < kSamples; ++i) samples[i] = Power(t - (kSamples - 1 - i) / 10.0);
      return DrawChart(sheet, area, samples, kSamples, "Power, last 7 s",
                       std::to_string(std::lround(kMostPower * Power(t))) + " kW");
    }
    case 5:
      return DrawPhoto(sheet, area, photo, Wave(t, 24, 0.75));
    default: {
      const double shares[] = {0.2 + Wave(t, 15, 0), 0.3 + Wave(t, 21, 0.3), 0.4};
      return DrawShares(sheet, area, shares);
    }
  }
}

}  // namespace dashboard
