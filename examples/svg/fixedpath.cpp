// Paths: see the header.
#include "examples/svg/fixedpath.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace svg {

KFixed ToFixed(double value) {
  return KFixed::FromRaw(
      static_cast<std::int32_t>(std::lround(std::clamp(value, -32767.0, 32767.0) * 65536)));
}

// Neighbouring lines, and neighbouring curves, go into the path as one run.
void AppendTo(KSoftPath& path, const Outline& outline) {
  using Step = Outline::Step;
  const auto& steps = outline.Steps();
  std::vector<KVertex2D> points;
  bool drawn = false;  // the subpath has a segment
  for (std::size_t i = 0; i < steps.size();) {
    const Step::Kind kind = steps[i].kind;
    if (kind == Step::Move || kind == Step::Close) {
      const KVertex2D start = ToFixed(steps[i].end);
      if (kind == Step::Close) {
        // A subpath that is a closed point gets a segment, for the caps of its stroke.
        if (!drawn) path.LineTo(start);
        path.Close();
      }
      path.MoveTo(start);
      drawn = false;
      ++i;
      continue;
    }
    points.clear();
    unsigned pieces = 0;
    for (; i < steps.size() && steps[i].kind == kind; ++i, ++pieces) {
      if (kind == Step::Cubic) {
        points.push_back(ToFixed(steps[i].c1));
        points.push_back(ToFixed(steps[i].c2));
      }
      points.push_back(ToFixed(steps[i].end));
    }
    path.BezierTo(kind == Step::Cubic ? 3 : 1, points.data(), pieces);
    drawn = true;
  }
}

}  // namespace svg
