// Outline: the rings of a stroke, copied, with their winding numbers and area.
#ifndef KALVORA_TESTS_GEOMETRY_OUTLINE_H
#define KALVORA_TESTS_GEOMETRY_OUTLINE_H

#include <vector>

#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/raster/ring.h"

#include "tests/geometry/IdealStroke.h"

class Outline {
 public:
  static Outline Of(KStroker& stroker, const KSoftPath& path, const KSoftMatrix3D& m,
                    bool onStack = true, const KRect* clip = nullptr) {
    KVertex2D** rings = nullptr;
    const unsigned count = stroker.StrokePath(&path, rings, &m, onStack, clip);
    return Outline(stroker, rings, count, onStack);
  }
  static Outline Of(KStroker& stroker, const std::vector<KVertex2D>& points, bool closed,
                    const KSoftMatrix3D& m, bool onStack = true) {
    KVertex2D** rings = nullptr;
    const unsigned count = stroker.StrokePoly(points.data(), static_cast<unsigned>(points.size()),
                                              rings, &m, onStack, closed);
    return Outline(stroker, rings, count, onStack);
  }

  std::vector<std::vector<KVertex2D>> rings;

  std::vector<Pt> Vertices() const {
    std::vector<Pt> all;
    for (const auto& ring : rings) {
      for (const KVertex2D v : ring) all.push_back(ToPt(v));
    }
    return all;
  }

  int Winding(Pt p) const {
    int winding = 0;
    ForEachEdge([&](Pt a, Pt b) {
      if ((a.y <= p.y) == (b.y <= p.y)) return;
      const double side = Cross(b - a, p - a);
      if (a.y <= p.y ? side > 0 : side < 0) winding += a.y <= p.y ? 1 : -1;
    });
    return winding;
  }

  /// Areas times their winding numbers.
  double Area() const {
    double twice = 0;
    ForEachEdge([&](Pt a, Pt b) { twice += Cross(a, b); });
    return std::abs(twice) / 2;
  }

 private:
  Outline(KStroker& stroker, KVertex2D** from, unsigned count, bool onStack) {
    for (unsigned i = 0; i < count; ++i) {
      rings.emplace_back(from[i] + 1, from[i] + 1 + kalvora::ring::Count(from[i]));
    }
    stroker.FreeStroke(from, count, onStack);
  }

  template <typename Visit>
  void ForEachEdge(Visit visit) const {
    for (const auto& ring : rings) {
      for (std::size_t i = 0; i < ring.size(); ++i)
        visit(ToPt(ring[i]), ToPt(ring[(i + 1) % ring.size()]));
    }
  }
};

#endif
