// The header, the level bars and the ring of shares.
#include <cmath>
#include <cstdio>
#include <string>

#include "examples/dashboard/instruments.h"

namespace dashboard {

void DrawHeader(Sheet& sheet, const Area& area, double seconds) {
  sheet.Open(area);
  // The sign of the house: a kite of four triangles.
  const double x = area.left + 18;
  const double y = area.CentreY();
  const KColor32 colors[] = {kCyan, kGreen, kOrange, kRed};
  for (int i = 0; i < 4; ++i) {
    KSoftPath& triangle = sheet.Things().Path();
    triangle.MoveTo(At(x, y));
    triangle.LineTo(Polar(x, y, 11, 90 * i - 90));
    triangle.LineTo(Polar(x, y, 11, 90 * i));
    triangle.Close();
    sheet.FillPath(triangle, colors[i]);
  }
  sheet.Write("Kalvora", area.left + 36, y + 5, kMedium, Align::kLeft, kBright);
  const int whole = static_cast<int>(seconds);
  char time[16];
  std::snprintf(time, sizeof time, "%d:%02d:%02d", whole / 3600 % 100, whole / 60 % 60, whole % 60);
  sheet.Write(time, area.right - 12, y + 5, kMedium, Align::kRight, kDim);
}

void DrawLevels(Sheet& sheet, const Area& area, const double (&values)[3]) {
  sheet.Open(area);
  const KColor32 colors[] = {kGreen, kOrange, kCyan};
  const char* const names[] = {"Fuel", "Oil 90\xB0", "Battery"};
  for (int i = 0; i < 3; ++i) {
    const double y = area.top + 12 + 15 * i;
    sheet.Write(names[i], area.left + 12, y + 3, kSmall, Align::kLeft, kDim);
    const Area track{area.left + 62, y - 3, area.right - 14, y + 3};
    sheet.FillRound(track, 3, kTrack);
    const double end = track.left + 6 + (track.Width() - 6) * values[i];
    sheet.FillRound({track.left, track.top, end, track.bottom}, 3, colors[i]);
  }
}

void DrawShares(Sheet& sheet, const Area& area, const double (&shares)[3]) {
  sheet.Open(area);
  const KColor32 colors[] = {kCyan, kOrange, kGreen};
  const double radius = 34;
  double start = -90;
  double sum = 0;
  for (const double share : shares) sum += share;
  for (int i = 0; i < 3; ++i) {
    const double sweep = 360 * shares[i] / sum;
    sheet.StrokeArc(area.CentreX(), area.CentreY(), radius, start + 2, sweep - 4, colors[i], 11);
    start += sweep;
  }
  const std::string percent = std::to_string(std::lround(100 * shares[0] / sum)) + " %";
  sheet.Write(percent, area.CentreX(), area.CentreY() + 5, kMedium, Align::kCentre, kBright);
}

}  // namespace dashboard
