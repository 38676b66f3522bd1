// The round gauge: dial, pointer, hub.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "examples/dashboard/instruments.h"

namespace dashboard {
namespace {

constexpr double kStart = 135;  // degrees, clockwise from the right
constexpr double kSweep = 270;
constexpr int kTicks = 24;  // every third is a major one, with a number

void DrawDial(Sheet& sheet, double x, double y, double radius, double most) {
  sheet.StrokeArc(x, y, radius, kStart, kSweep, kTrack, 7, kRoundCap);
  KSoftPath& minor = sheet.Things().Path();
  KSoftPath& major = sheet.Things().Path();
  for (int i = 0; i <= kTicks; ++i) {
    const double angle = kStart + kSweep * i / kTicks;
    KSoftPath& path = i % 3 == 0 ? major : minor;
    path.MoveTo(Polar(x, y, radius - (i % 3 == 0 ? 15 : 12), angle));
    path.LineTo(Polar(x, y, radius - 8, angle));
  }
  sheet.StrokePath(minor, kTrack, 1);
  sheet.StrokePath(major, kDim, 1.5);
  for (int i = 0; i <= kTicks; i += 3) {
    const double angle = (kStart + kSweep * i / kTicks) * std::numbers::pi / 180;
    sheet.Write(std::to_string(std::lround(most * i / kTicks)), x + (radius - 24) * std::cos(angle),
                y + (radius - 24) * std::sin(angle) + 3, kSmall, Align::kCentre, kDim);
  }
}

/// The arc up to the value, from its own colour to red.
void DrawValue(Sheet& sheet, double x, double y, double radius, double value, KColor32 color) {
  KSoftContext2D& context = sheet.Context();
  const KColorStop stops[] = {{Fixed(0), color}, {Fixed(0.7), color}, {Fixed(1), kRed}};
  KSoftColorRamp& ramp = sheet.Things().Ramp();
  ramp.SetLinear(At(x - radius, y), At(x + radius, y), sheet.ToDevice(), stops, 3);
  KSoftPath& arc = sheet.Things().Path();
  arc.AddArc(At(x, y), At(radius, radius), Fixed(kStart), Fixed(std::max(kSweep * value, 0.1)));
  context.SetStrokeLGrad(&ramp);
  context.SetLineWidth(Fixed(7));
  context.SetCaps(kRoundCap, kRoundCap);
  context.DrawPath(&arc);
  context.SetNoStroke();
}

void DrawPointer(Sheet& sheet, double x, double y, double length, double angle, KColor32 color) {
  KSoftPath& pointer = sheet.Things().Path();
  pointer.MoveTo(Polar(x, y, length, angle));
  pointer.LineTo(Polar(x, y, 5, angle + 90));
  pointer.LineTo(Polar(x, y, 14, angle + 180));
  pointer.LineTo(Polar(x, y, 5, angle - 90));
  pointer.Close();
  sheet.FillPath(pointer, color);

  const KColorStop stops[] = {{Fixed(0), KColor32(0xA0, 0xAC, 0xC0, 255)},
                              {Fixed(1), KColor32(0x30, 0x3A, 0x4C, 255)}};
  KSoftColorRamp& metal = sheet.Things().Ramp();
  metal.SetRadial(At(x - 3, y - 3), Fixed(12), sheet.ToDevice(), stops, 2);
  KSoftPath& hub = sheet.Things().Path();
  gallery::AddCircle(hub, x, y, 9);
  sheet.Context().SetFillRGrad(&metal);
  sheet.Context().DrawPath(&hub);
  sheet.Context().SetNoFill();
}

}  // namespace

void DrawGauge(Sheet& sheet, const Area& area, double value, double most, const char* unit,
               KColor32 color) {
  sheet.Open(area);
  const double x = area.CentreX();
  const double y = area.top + area.Height() * 0.54;
  const double radius = area.Width() * 0.42;
  DrawDial(sheet, x, y, radius, most);
  DrawValue(sheet, x, y, radius, value, color);
  DrawPointer(sheet, x, y, radius - 18, kStart + kSweep * value, kBright);
  const double below = y + radius * 0.74;
  sheet.Write(std::to_string(std::lround(most * value)), x, below, kLarge, Align::kCentre, kBright);
  sheet.Write(unit, x, below + 12, kSmall, Align::kCentre, kDim);
}

}  // namespace dashboard
