// KStroker: the stroke settings.
#include "kalvora/geometry/KStroker.h"

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
  delete[] dashes;
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
  KFixed* copy = nullptr;
  const bool wanted = lengths && count != 0;
  if (wanted) {
    copy = new (std::nothrow) KFixed[count];
    for (unsigned i = 0; copy && i < count; ++i) copy[i] = lengths[i];
  }
  delete[] dashes;
  dashes = copy;
  dashCount = copy ? count : 0;
  dashPhase = copy ? static_cast<std::uint32_t>(phase.raw) : 0;
  return copy || !wanted;
}

void KStroker::ResetStroke() {
  startCap = endCap = 0;
  join = 1;
  halfWidth = kalvora::kHalf;
  // Wider than what the constructor gives: a stroker that was never bound to a target keeps 2.0.
  SetMiterLimit(KFixed::FromInt(4));
  SetDashes(nullptr, 0, kalvora::kZero);
  ResetGeoQuality();
}
