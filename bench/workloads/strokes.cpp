// Stroked polylines and curves, solid and dashed.
#include "bench/Workload.h"
#include "bench/scenes.h"
#include "tests/common/Random.h"

namespace bench {

namespace {

// Lines of a diagram: many short pieces that turn by any angle.
Path Polylines() {
  Random random(7);
  Path path;
  for (int i = 0; i < 12; ++i) {
    for (int k = 0; k <= 40; ++k) {
      const Point p{20 + 19.0 * k, 30.0 + 48 * i + random.Between(-20, 20)};
      k ? path.LineTo(p) : path.MoveTo(p);
    }
  }
  return path;
}

// Garlands of smooth curves.
Path Curves() {
  Random random(9);
  Path path;
  for (int i = 0; i < 12; ++i) {
    const double y = 30 + 48 * i;
    double lean = 25;
    path.MoveTo({10, y});
    for (int k = 0; k < 15; ++k) {
      const double x = 10 + 52 * k;
      const double next = -25 * (0.5 + random.Below(100) / 100.0) * (lean > 0 ? 1 : -1);
      path.CubicTo({x + 17, y + lean}, {x + 35, y - next}, {x + 52, y});
      lean = next;
    }
  }
  return path;
}

Workload Row(const char* name, double goal, Path (*path)(), double width, Join join,
             std::vector<double> dashes = {}) {
  const auto make = [=] { return Of(Stroke(path(), {width, join, Cap::Butt, 4, dashes})); };
  // Dashes drift apart along a curve: each library measures its own chords.
  return {name, goal, make, true, dashes.empty() ? 6.0 : 15.0};
}

}  // namespace

void AddStrokes(Workloads& rows) {
  const std::vector<double> dashes{6, 4};
  rows.insert(rows.end(), {
                              Row("stroke/lines-1-miter", 0.3, Polylines, 1, Join::Miter),
                              Row("stroke/lines-1-round", 0.3, Polylines, 1, Join::Round),
                              Row("stroke/lines-2-miter", 0.3, Polylines, 2, Join::Miter),
                              Row("stroke/lines-2-round", 0.3, Polylines, 2, Join::Round),
                              Row("stroke/lines-8-miter", 0.3, Polylines, 8, Join::Miter),
                              Row("stroke/lines-8-round", 0.3, Polylines, 8, Join::Round),
                              Row("stroke/curves-1", 0.45, Curves, 1, Join::Round),
                              Row("stroke/curves-2", 0.45, Curves, 2, Join::Round),
                              Row("stroke/curves-8", 0.55, Curves, 8, Join::Round),
                              Row("stroke/dashed-lines", 0.35, Polylines, 2, Join::Miter, dashes),
                              Row("stroke/dashed-curves", 0.45, Curves, 2, Join::Round, dashes),
                          });
}

}  // namespace bench
