// KClipRings: the rings of a clip path, ready to be merged with those of a shape.
#ifndef KALVORA_RASTER_KCLIPRINGS_H
#define KALVORA_RASTER_KCLIPRINGS_H

#include <cstddef>
#include <cstdint>

#include "kalvora/raster/KMergeNode.h"
#include "kalvora/raster/KRowStyle.h"

/// Copies of rings that outlive the draws they clip. The memory is kept for the next ones, so that
/// a clip path that is set in every frame takes nothing from the heap.
class KClipRings {
 public:
  bool active = false;  ///< there is a clip path, if only one that lets nothing through
  KMergeNode* nodes = nullptr;
  std::uint32_t nodeCount = 0;
  KClip box{0, 0, 0, 0};  ///< the pixels around the rings: others are outside

  KClipRings() = default;
  ~KClipRings();
  KClipRings(const KClipRings&) = delete;
  KClipRings& operator=(const KClipRings&) = delete;

  /// What of a clip rectangle the clip path may let through.
  KClip Seen(const KClip& clip) const;
  /// Ends the clip path.
  void Clear();
  /// Clips to `count` rings, which are copied. Without them, or when memory runs out, nothing is
  /// let through. `stack` is used and left as it was.
  void Set(KVertex2D* const* rings, unsigned count, KStack* stack);

 private:
  bool NeedRoom(std::size_t bytes);

  void* memory_ = nullptr;  // the rings, then the nodes
  std::size_t room_ = 0;
};

#endif
