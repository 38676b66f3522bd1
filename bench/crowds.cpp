// Crowds: see the header.
#include "bench/crowds.h"

#include <cmath>

#include "bench/scenes.h"
#include "tests/common/Random.h"

namespace bench {

Scene NoisyLine(int points, double width, bool dashed) {
  Random random(11);
  Path path;
  for (int i = 0; i < points; ++i) {
    const Point p{10 + 780.0 * i / points, 300.0 + random.Between(-64000, 64000) / 256.0};
    i ? path.LineTo(p) : path.MoveTo(p);
  }
  Pen pen{width, width > 1 ? Join::Round : Join::Miter, Cap::Butt, 4, {}};
  if (dashed) pen.dashes = {6, 4};
  return Of(Stroke(path, pen));
}

Scene FarDashes(double reach) {
  Path path;
  for (const double angle : {2.0, 2.2, 2.4, 2.6}) {
    const double x = (reach - 400) * std::cos(angle), y = (reach - 400) * std::sin(angle);
    const Point middle{400 * (angle - 1.8), 60};
    path.MoveTo({middle.x - x, middle.y - y});
    path.LineTo({middle.x + x, middle.y + y});
  }
  return Of(Stroke(path, {2, Join::Miter, Cap::Butt, 4, {6, 4}}));
}

Scene Ring(int edges) { return Of(Polygon(Spikes({400, 300}, 290, edges, 0.3))); }

Scene Tangle(int chords) {
  Random random(13);
  std::vector<Point> points;
  for (int i = 0; i < chords; ++i) {
    points.push_back(
        {random.Between(0, kWidth * 256) / 256.0, random.Between(0, kHeight * 256) / 256.0});
  }
  return Of(Polygon(points, kInk, true));
}

Scene CrossingStar(int corners) {
  corners |= 1;
  return Of(Polygon(Star({400, 300}, 290, corners, corners / 2)));
}

Scene Sized(double radius) { return Of(Polygon(Spikes({400, 300}, radius, 20, 0.5))); }

}  // namespace bench
