// The drawing context's clip rectangle and clip path.
#include <algorithm>

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/raster/KClipRings.h"

namespace {

// Clip rectangles hold 16-bit numbers; what lies beyond on a larger target is never drawn.
std::int16_t ClipEdge(std::uint32_t size) {
  return static_cast<std::int16_t>(std::min<std::uint32_t>(size, INT16_MAX));
}

}  // namespace

void KSoftContext2D::SetClipRegion(KRect rect) {
  if (!mStyle) return;
  // An inverted rectangle is kept and draws nothing.
  mStyle->clip = {std::max<std::int16_t>(rect.left, 0), std::max<std::int16_t>(rect.top, 0),
                  std::min(rect.right, ClipEdge(mTarget.width)),
                  std::min(rect.bottom, ClipEdge(mTarget.height))};
}

void KSoftContext2D::SetClipPath(const KSoftPath* path, KFillRule rule) {
  if (!mClipRings) return;
  mClipRings->Clear();
  if (!path || !path->first || !stack) return;
  mClipRule = rule;
  // Clip paths are given in device coordinates: the user transform does not apply.
  const KSoftMatrix3D identity;
  KVertex2D** rings = nullptr;
  const unsigned count = FlattenPath(rings, path, &identity, true);
  mClipRings->Set(rings, count, stack);
  FreeRings(rings, count, true);
}

void KSoftContext2D::ResetClip() {
  if (mStyle) mStyle->clip = {0, 0, ClipEdge(mTarget.width), ClipEdge(mTarget.height)};
  SetClipPath(nullptr, KFillNonZero);
}
