// Workload: one row of the table: a name, a scene, and the ratio that the project aims at.
#ifndef BENCH_WORKLOAD_H
#define BENCH_WORKLOAD_H

#include <functional>
#include <string>
#include <vector>

#include "bench/Scene.h"

namespace bench {

struct Workload {
  std::string name;  ///< group/case
  /// Time / that of the fastest peer, or with `toCairo` / that of Cairo, that is aimed at; 0: none.
  double goal;
  std::function<Scene()> make;
  bool toCairo = false;
  /// Largest mean difference, 0..255 over the pixels that somebody paints, between pictures that
  /// count as the same.
  double tolerance = 3;
};

using Workloads = std::vector<Workload>;

/// Append the rows of one group.
void AddRectangles(Workloads& rows);
void AddGradients(Workloads& rows);
void AddImages(Workloads& rows);
void AddText(Workloads& rows);
void AddShapes(Workloads& rows);
void AddStrokes(Workloads& rows);
void AddCrowds(Workloads& rows);
/// SVG files in a folder.
void AddDrawings(Workloads& rows, const std::string& folder);

}  // namespace bench

#endif
