// Crowds: thousands of edges, of crossings, of things beside the picture.
#include "bench/crowds.h"

#include "bench/Workload.h"

namespace bench {

void AddCrowds(Workloads& rows) {
  rows.insert(
      rows.end(),
      {
          {"crowd/noisy-line-1", 0.5, [] { return NoisyLine(8000, 1, false); }, true, 8},
          {"crowd/noisy-line-3", 0.5, [] { return NoisyLine(8000, 3, false); }, true, 8},
          {"crowd/noisy-line-dashed", 1.0, [] { return NoisyLine(8000, 1, true); }, true, 15},
          {"crowd/far-dashes", 1.0, [] { return FarDashes(8000); }, true, 8},
          {"crowd/spikes-1000", 0.3, [] { return Ring(1000); }, true},
          {"crowd/spikes-10000", 0.5, [] { return Ring(10'000); }, true, 8},
          {"crowd/spikes-100000", 0.5, [] { return Ring(100'000); }, true, 8},
          {"crowd/chords-300", 0.4, [] { return Tangle(300); }, true, 8},
          {"crowd/chords-3000", 2, [] { return Tangle(3000); }, true, 12},
      });
}

}  // namespace bench
