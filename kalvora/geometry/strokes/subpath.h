// Subpaths: what is stroked in one go, be it part of a path or a polyline.
#ifndef KALVORA_GEOMETRY_STROKES_SUBPATH_H
#define KALVORA_GEOMETRY_STROKES_SUBPATH_H

#include <cstdint>

#include "kalvora/geometry/KSoftPath.h"

namespace kalvora {

/// One subpath: its start, and either records or points that follow.
struct Subpath {
  KVertex2D start;
  bool closed;
  const KSegment* segment;  ///< the record that opens it; null for a polyline
  const KVertex2D* points = nullptr;
  std::uint32_t count = 0;

  static Subpath Of(const KSegment* segment) {
    return {*segment->Start(), segment->Closed(), segment};
  }

  /// Calls visit(order, points, pieces) for every record of pieces, or all points of a polyline.
  template <typename Visit>
  void ForEach(Visit visit) const {
    if (!segment) {
      visit(1u, points, count);
      return;
    }
    const KSegment* s = segment;
    do {
      visit(s->Order(), s->Points(), s->Pieces());
      s = s->next;
    } while (s && !s->Opens());
  }
};

}  // namespace kalvora

#endif
