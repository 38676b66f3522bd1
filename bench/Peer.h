// Peer: a library that draws scenes.
#ifndef BENCH_PEER_H
#define BENCH_PEER_H

#include <memory>
#include <vector>

#include "bench/Scene.h"

namespace bench {

/// The pixels that everybody draws into: premultiplied words 0xAARRGGBB without padding.
struct Target {
  int width, height;
  std::uint32_t* pixels;
};

/// A scene turned into a peer's own objects: paths, images and gradients are made, and kept from
/// draw to draw, where the peer has such objects.
class Drawing {
 public:
  virtual ~Drawing() = default;
  virtual void Draw() = 0;
};

struct Peer {
  const char* name;
  /// Nothing when the peer cannot draw such a scene.
  std::unique_ptr<Drawing> (*prepare)(const Scene& scene, const Target& target);
};

/// Every peer of this build; the first is Kalvora.
const std::vector<Peer>& Peers();

std::unique_ptr<Drawing> PrepareKalvora(const Scene& scene, const Target& target);
std::unique_ptr<Drawing> PrepareCairo(const Scene& scene, const Target& target);
std::unique_ptr<Drawing> PreparePixman(const Scene& scene, const Target& target);
std::unique_ptr<Drawing> PrepareAgg(const Scene& scene, const Target& target);
std::unique_ptr<Drawing> PrepareQt(const Scene& scene, const Target& target);

}  // namespace bench

#endif
