// Plots: time against the number of edges, crossings, dashes and pixels, as one SVG picture.
#ifndef BENCH_PLOTS_H
#define BENCH_PLOTS_H

#include <string>

#include "bench/measure.h"

namespace bench {

/// Measures Kalvora and the first peer, and writes the picture. False when the file cannot be
/// written.
bool WritePlots(const std::string& file, const Meter& meter, Plan plan);

}  // namespace bench

#endif
