// The list of peers: each is there when its library was found.
#include "bench/Peer.h"

namespace bench {

const std::vector<Peer>& Peers() {
  static const std::vector<Peer> peers{
      {"Kalvora", PrepareKalvora},
#ifdef KALVORA_BENCH_CAIRO
      {"Cairo", PrepareCairo},
#endif
#ifdef KALVORA_BENCH_PIXMAN
      {"pixman", PreparePixman},
#endif
#ifdef KALVORA_BENCH_AGG
      {"AGG", PrepareAgg},
#endif
#ifdef KALVORA_BENCH_QT
      {"Qt", PrepareQt},
#endif
  };
  return peers;
}

}  // namespace bench
