// Scenes whose size is a parameter: for the table and for the plots.
#ifndef BENCH_CROWDS_H
#define BENCH_CROWDS_H

#include "bench/Scene.h"

namespace bench {

/// A chart of that many points at random heights.
Scene NoisyLine(int points, double width, bool dashed);
/// Four dashed lines across a corner of the target, to +-reach pixels.
Scene FarDashes(double reach);
/// A ring of spikes: as many edges, no crossing.
Scene Ring(int edges);
/// A polygon of that many random chords.
Scene Tangle(int chords);
/// A star whose corners are each joined to the one opposite: about corners^2 / 2 crossings.
Scene CrossingStar(int corners);
/// A ring of ten spikes with that radius.
Scene Sized(double radius);

}  // namespace bench

#endif
