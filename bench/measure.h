// Draws one workload with every peer, compares the pictures, and measures the peers in turns.
#ifndef BENCH_MEASURE_H
#define BENCH_MEASURE_H

#include <optional>
#include <string>
#include <vector>

#include "bench/Meter.h"
#include "bench/Peer.h"
#include "bench/Workload.h"

namespace bench {

/// Between Kalvora's picture and a peer's: 0..255, channels apart, over the pixels that either
/// paints.
struct Difference {
  double mean = 0;
  int max = 0;
};

struct Result {
  double cost = 0;  ///< of one draw: the median of the rounds, in the meter's units
  Difference difference;
  bool same = true;  ///< the pictures agree, so that the cost may be compared
};

struct Row {
  const Workload* workload;
  std::vector<std::optional<Result>> results;  ///< one a peer; nothing where it cannot draw it

  /// Kalvora's cost / the peer's. Nothing without a picture like Kalvora's.
  std::optional<double> Ratio(std::size_t peer) const;
  std::optional<double> RatioToFastest() const;
};

struct Plan {
  double budget = 120'000;  ///< microseconds for one peer and workload
  double round = 400;       ///< microseconds that a round lasts at least
  std::size_t peers = 100;  ///< of the list, from Kalvora on, at most
  std::string pictures;     ///< a folder to write every picture into, as PPM; may be empty
};

Row Measure(const Workload& workload, const Meter& meter, const Plan& plan);

}  // namespace bench

#endif
