// KClipRings: copying rings and finding their top vertices.
#include "kalvora/raster/KClipRings.h"

#include <algorithm>
#include <cstdlib>

#include "kalvora/raster/KStack.h"
#include "kalvora/raster/VertexBox.h"
#include "kalvora/raster/ring.h"

using namespace kalvora;

KClipRings::~KClipRings() { std::free(memory_); }

void KClipRings::Clear() {
  active = false;
  nodes = nullptr;
  nodeCount = 0;
}

KClip KClipRings::Seen(const KClip& clip) const {
  if (!active) return clip;
  return {std::max(clip.x0, box.x0), std::max(clip.y0, box.y0), std::min(clip.x1, box.x1),
          std::min(clip.y1, box.y1)};
}

bool KClipRings::NeedRoom(std::size_t bytes) {
  if (bytes <= room_) return true;
  std::free(memory_);
  memory_ = std::malloc(bytes);
  room_ = memory_ ? bytes : 0;
  return memory_;
}

void KClipRings::Set(KVertex2D* const* rings, unsigned count, KStack* stack) {
  Clear();
  active = true;
  box = {0, 0, 0, 0};
  if (count == 0) return;
  std::size_t vertices = 0;
  for (unsigned i = 0; i < count; ++i) vertices += ring::Count(rings[i]) + ring::kLinks;
  // Between two top vertices of a ring there is a lower one.
  if (!NeedRoom(vertices * sizeof(KVertex2D) + vertices / 2 * sizeof(KMergeNode))) return;
  auto** copies =
      static_cast<KVertex2D**>(stack->Alloc(static_cast<unsigned>(count * sizeof(KVertex2D*))));
  if (!copies) return;
  auto* to = static_cast<KVertex2D*>(memory_);
  VertexBox around;
  for (unsigned i = 0; i < count; ++i) {
    copies[i] = to;
    to = std::copy_n(rings[i], ring::Count(rings[i]) + ring::kLinks, to);
    around.Include(copies[i]);
  }
  KMergeNode* found = nullptr;
  nodeCount = GetMergePts(found, copies, count, stack);
  nodes = reinterpret_cast<KMergeNode*>(to);
  std::copy_n(found, nodeCount, nodes);
  if (nodeCount > 0) box = around.Pixels();
  stack->DeAlloc(found);
  stack->DeAlloc(copies);
}
