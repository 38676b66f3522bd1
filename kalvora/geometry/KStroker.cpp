// KStroker: the stroke settings.
#include "kalvora/geometry/KStroker.h"

#include <algorithm>
#include <new>

#include "kalvora/raster/KStack.h"

KFixed KStroker::GeoQuality = kalvora::kHalf;

namespace {

// Written only where a client has changed it: threads may make and bind contexts at once.
void ResetGeoQuality() {
  if (KStroker::GeoQuality != kalvora::kHalf) KStroker::GeoQuality = kalvora::kHalf;
}

}  // namespace

KStroker::KStroker() : stack(new (std::nothrow) KStack) { ResetGeoQuality(); }

KStroker::~KStroker() {
  delete[] dashMemory_;
  delete stack;
}

void KStroker::SetLineWidth(KFixed width) {
  halfWidth = KFixed::FromRaw(width.raw > 0 ? width.raw >> 1 : 0);
  limitWidth = limit * halfWidth;
}

void KStroker::SetCaps(unsigned start, unsigned end) {
  startCap = start;
  endCap = end;
}

void KStroker::SetJoin(unsigned kind) { join = kind; }

void KStroker::SetMiterLimit(KFixed ratio) {
  limit = ratio;
  limitWidth = limit * halfWidth;
}

bool KStroker::SetDashes(const KFixed* lengths, unsigned count, KFixed phase) {
  const bool wanted = lengths && count != 0;
  // The memory is kept, so that setting dashes in every frame takes none.
  if (wanted && count > dashRoom_) {
    auto* larger = new (std::nothrow) KFixed[count];
    if (larger) std::copy_n(lengths, count, larger);
    delete[] dashMemory_;
    dashMemory_ = larger;
    dashRoom_ = larger ? count : 0;
  } else if (wanted) {
    std::copy_n(lengths, count, dashMemory_);
  }
  const bool dashed = wanted && dashMemory_;
  dashes = dashed ? dashMemory_ : nullptr;
  dashCount = dashed ? count : 0;
  dashPhase = dashed ? static_cast<std::uint32_t>(phase.raw) : 0;
  return dashed || !wanted;
}

void KStroker::SetFlatness(KFixed tolerance) { flatness_ = tolerance; }

void KStroker::ResetStroke() {
  startCap = endCap = 0;
  join = 1;
  halfWidth = kalvora::kHalf;
  // Wider than what the constructor gives: a stroker that was never bound to a target keeps 2.0.
  SetMiterLimit(KFixed::FromInt(4));
  SetDashes(nullptr, 0, kalvora::kZero);
  ResetGeoQuality();
}
