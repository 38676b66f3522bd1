// The outline of a rectangle with elliptical corners.
#include "kalvora/geometry/ellipticalrect.h"

#include <algorithm>

#include "kalvora/core/roots.h"

namespace kalvora {

bool AddEllipticalRect(KSoftPath* path, KVertex2D centre, KVertex2D half, KVertex2D radii,
                       const std::array<std::int32_t, 32>& circle) {
  half = {Abs(half.x), Abs(half.y)};
  radii = {std::min(Abs(radii.x), half.x), std::min(Abs(radii.y), half.y)};
  const KVertex2D inner = half - radii;
  // The corner that each quarter of the circle turns around.
  const KVertex2D corners[] = {
      {inner.x, inner.y}, {-inner.x, inner.y}, {-inner.x, -inner.y}, {inner.x, -inner.y}};
  bool complete = true;
  for (std::size_t quarter = 0; quarter < 4; ++quarter) {
    KVertex2D arc[4];
    for (std::size_t i = 0; i < 4; ++i) {
      const std::size_t at = 8 * quarter + 2 * i;
      const KVertex2D unit = {KFixed::FromRaw(circle[at]), KFixed::FromRaw(circle[at + 1])};
      arc[i] = centre + corners[quarter] + KVertex2D{radii.x * unit.x, radii.y * unit.y};
    }
    if (quarter == 0) {
      path->MoveTo(arc[0]);
    } else {
      complete = path->LineTo(arc[0]) && complete;
    }
    complete = path->BezierTo(3, arc + 1, 1) && complete;
  }
  path->Close();
  return complete;
}

}  // namespace kalvora
