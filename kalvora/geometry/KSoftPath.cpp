// KSoftPath: the chain of segment records.
#include "kalvora/geometry/KSoftPath.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <malloc.h>

namespace {

constexpr std::uint32_t kMostPieces = UINT32_MAX >> 4;
// Coordinates beyond +-8000 would overflow the rasterizer's arithmetic.
constexpr std::int32_t kFarthest = 8000 * kalvora::kOne.raw;

void FreeAll(KSegment* segment) {
  while (segment) {
    KSegment* next = segment->next;
    std::free(segment);
    segment = next;
  }
}

bool InRange(KVertex2D p) {
  return p.x.raw <= kFarthest && p.x.raw >= -kFarthest && p.y.raw <= kFarthest &&
         p.y.raw >= -kFarthest;
}

}  // namespace

// A record with room for `points` points, or null. Of the kept ones only the next is looked at, and
// one that is too small goes: paths that are built again and again end up with records that serve
// each of them. How large one is the heap knows: a word for it would make most records a third
// longer, and whoever draws many small paths waits for their memory.
KSegment* KSoftPath::NewSegment(std::size_t points) {
  constexpr std::size_t kMost = (SIZE_MAX - sizeof(KSegment)) / sizeof(KVertex2D);
  if (points > std::min<std::size_t>(kMost, UINT32_MAX)) return nullptr;
  const std::size_t bytes = sizeof(KSegment) + points * sizeof(KVertex2D);
  if (KSegment* kept = spare_) {
    spare_ = kept->next;
    if (malloc_usable_size(kept) >= bytes) return kept;
    std::free(kept);
  }
  return static_cast<KSegment*>(std::malloc(bytes));
}

bool KSoftPath::QuadTo(KVertex2D control, KVertex2D end) {
  const KVertex2D points[] = {control, end};
  return BezierTo(2, points, 1);
}

bool KSoftPath::CubicTo(KVertex2D control1, KVertex2D control2, KVertex2D end) {
  const KVertex2D points[] = {control1, control2, end};
  return BezierTo(3, points, 1);
}

void KSoftPath::Append(KSegment* segment) {
  segment->next = nullptr;
  (last ? last->next : first) = segment;
  last = segment;
}

bool KSoftPath::BezierTo(unsigned order, const KVertex2D* points, unsigned count) {
  if (count == 0 || count > kMostPieces || order < 1 || order > 3) return false;
  const std::size_t pointCount = std::size_t{order} * count;
  const unsigned opens = newSubpath ? 1 : 0;
  KSegment* segment = NewSegment(pointCount + opens);
  if (!segment) return false;
  segment->header = opens | order << 2 | count << 4;
  Append(segment);
  if (opens) {
    *segment->Start() = current;
    newSubpath = 0;
    subpathStart = segment;
    ++subpathCount;
  }
  std::memcpy(segment->Points(), points, pointCount * sizeof(KVertex2D));
  current = points[pointCount - 1];
  return true;
}

void KSoftPath::Reset() {
  Rewind();
  FreeAll(spare_);
  spare_ = nullptr;
}

void KSoftPath::Rewind() {
  if (last) {
    last->next = spare_;
    spare_ = first;
  }
  first = nullptr;
  subpathCount = 0;
  newSubpath = 1;
  subpathStart = last = nullptr;
}

KSoftPath& KSoftPath::operator=(const KSoftPath& source) {
  if (this == &source) return *this;
  Rewind();
  current = source.current;
  for (const KSegment* from = source.first; from; from = from->next) {
    const std::size_t points = from->PointCount();
    KSegment* copy = NewSegment(points);
    if (!copy) {
      Reset();
      return *this;
    }
    copy->header = from->header;
    std::memcpy(copy->Start(), from->Start(), points * sizeof(KVertex2D));
    Append(copy);
  }
  subpathCount = source.subpathCount;
  newSubpath = source.newSubpath;
  // Only the first record sets the subpath start, whichever subpath the source was on: a Close
  // right after a copy acts on the first subpath. Callers depend on it; do not point it at the last
  // one.
  if (first && first->Opens()) subpathStart = first;
  return *this;
}

bool KSoftPath::Transform(KSoftPath* out, const KSoftMatrix3D* m) const {
  if (!first) return true;
  const KSegment* const end = last;  // `out` may be this path itself
  const std::uint32_t count = subpathCount;
  out->subpathCount += count;
  out->current = current;
  out->newSubpath = newSubpath;
  bool fits = true;
  for (const KSegment* from = first;; from = from->next) {
    const std::size_t points = from->PointCount();
    KSegment* copy = out->NewSegment(points);
    if (!copy) return false;
    copy->header = from->header;
    for (std::size_t i = 0; i < points; ++i) {
      const KVertex2D p = from->Start()[i];
      const KVertex2D mapped = m->Map(p);
      copy->Start()[i] = mapped;
      fits = fits && InRange(p) && InRange(mapped);
    }
    out->Append(copy);
    if (copy->Opens()) out->subpathStart = copy;
    if (from == end) break;
  }
  if (fits) return true;
  out->Reset();
  return false;
}
