// The line chart.
#include "examples/dashboard/instruments.h"

namespace dashboard {
namespace {

void DrawGrid(Sheet& sheet, const Area& plot) {
  KSoftPath& grid = sheet.Things().Path();
  for (int i = 0; i <= 3; ++i) {
    const double y = plot.top + plot.Height() * i / 3;
    grid.MoveTo(At(plot.left, y));
    grid.LineTo(At(plot.right, y));
  }
  const KFixed dashes[] = {Fixed(3), Fixed(4)};
  sheet.Context().SetDashes(dashes, 2, Fixed(0));
  sheet.StrokePath(grid, kTrack, 1);
  sheet.Context().SetDashes(nullptr, 0, Fixed(0));
}

}  // namespace

void DrawChart(Sheet& sheet, const Area& area, const double* samples, int count, const char* name,
               const std::string& now) {
  sheet.Open(area);
  sheet.Write(name, area.left + 10, area.top + 17, kSmall, Align::kLeft, kDim);
  sheet.Write(now, area.right - 10, area.top + 18, kMedium, Align::kRight, kBright);
  const Area plot{area.left + 10, area.top + 26, area.right - 10, area.bottom - 12};
  DrawGrid(sheet, plot);
  const auto point = [&](int i) {
    return At(plot.left + plot.Width() * i / (count - 1), plot.bottom - plot.Height() * samples[i]);
  };
  KSoftPath& line = sheet.Things().Path();
  line.MoveTo(point(0));
  for (int i = 1; i < count; ++i) line.LineTo(point(i));

  KSoftPath& below = sheet.Things().Path();
  below = line;
  below.LineTo(At(plot.right, plot.bottom));
  below.LineTo(At(plot.left, plot.bottom));
  below.Close();
  const KColorStop stops[] = {{Fixed(0), KColor32(kCyan.red, kCyan.green, kCyan.blue, 140)},
                              {Fixed(1), KColor32(kCyan.red, kCyan.green, kCyan.blue, 0)}};
  KSoftColorRamp& fade = sheet.Things().Ramp();
  fade.SetLinear(At(0, plot.top), At(0, plot.bottom), sheet.ToDevice(), stops, 2);
  sheet.Context().SetFillLGrad(&fade);
  sheet.Context().DrawPath(&below);
  sheet.Context().SetNoFill();

  sheet.Context().SetJoin(kRoundJoin);
  sheet.StrokePath(line, kCyan, 2, kRoundCap);
  KSoftPath& dot = sheet.Things().Path();
  const double y = plot.bottom - plot.Height() * samples[count - 1];
  gallery::AddCircle(dot, plot.right, y, 4);
  sheet.FillPath(dot, kBright);
}

}  // namespace dashboard
