// Flattening: paths into polygon rings.
#include <algorithm>

#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/curves.h"
#include "kalvora/geometry/strokes/subpath.h"
#include "kalvora/raster/Memory.h"
#include "kalvora/raster/VertexBox.h"
#include "kalvora/raster/polygon.h"
#include "kalvora/raster/ring.h"

namespace {

using namespace kalvora;

/// One ring while it is being written, the newest allocation.
class RingWriter {
 public:
  explicit RingWriter(const Memory& memory) : memory_(memory) {}

  /// Begins a ring. False, here and below: no memory.
  bool Begin(KVertex2D p) {
    ring = nullptr;
    count_ = 0;
    capacity_ = 0;
    return AddLine(p);
  }
  bool AddLine(KVertex2D p) {
    if (!Reserve(1)) return false;
    ring[++count_] = ring::Vertex(p);
    return true;
  }
  /// From the last vertex on, which is the curve's first point.
  bool AddCurve(const KVertex2D (&p)[4], unsigned order, KFixed flatness) {
    if (!Reserve(KStroker::kMaxCurvePoints)) return false;
    KVertex2D* out = ring + count_;
    const int n = order == 2 ? FlattenQuadratic(out, {p[0], p[1], p[2]}, 1, flatness)
                             : FlattenCubic(out, p, 1, flatness);
    for (int k = 0; k < n; ++k) out[k] = ring::Vertex(out[k]);
    count_ += static_cast<unsigned>(n) - 1;
    return true;
  }
  /// Gives back what was reserved too much, so that the next ring follows closely.
  void Close() {
    ring::Close(ring, count_);
    void* fitted = memory_.ReAlloc(ring, Bytes(std::uint64_t{count_} + ring::kLinks));
    if (fitted) ring = static_cast<KVertex2D*>(fitted);
  }

  KVertex2D* ring = nullptr;

 private:
  static constexpr std::uint64_t kFirstCapacity = 1024;

  static std::uint64_t Bytes(std::uint64_t entries) { return entries * sizeof(KVertex2D); }
  bool Reserve(unsigned points) {
    const std::uint64_t needed = std::uint64_t{count_} + points + ring::kLinks;
    return needed <= capacity_ || Grow(needed);
  }
  bool Grow(std::uint64_t needed) {
    const std::uint64_t capacity = std::max({needed, 2 * capacity_, kFirstCapacity});
    auto* moved = static_cast<KVertex2D*>(memory_.ReAlloc(ring, Bytes(capacity)));
    if (!moved) return false;
    ring = moved;
    capacity_ = capacity;
    return true;
  }

  const Memory memory_;
  unsigned count_ = 0;
  std::uint64_t capacity_ = 0;
};

/// What of a path no pixel of a clip shows.
class Unseen {
 public:
  /// Without a clip everything counts as seen.
  Unseen(const KRect* clip, const KSoftPath& path, const KSoftMatrix3D& m)
      : matrix_(m), limited_(clip), several_(path.subpathCount > 1) {
    if (clip) clip_ = {clip->left, clip->top, clip->right, clip->bottom};
  }

  /// Whether the subpath's ring lies beside the clip. A ring among others does so from where
  /// RasterPolygon drops it.
  bool Hides(const Subpath& subpath) const {
    if (!limited_) return false;
    const KVertex2D start = matrix_.Map(subpath.start);
    if (IsInside(start)) return false;
    VertexBox box;
    box.Include(start);
    subpath.ForEach([&](unsigned order, const KVertex2D* points, unsigned pieces) {
      for (std::size_t n = std::size_t{order} * pieces; n > 0; --n) {
        box.Include(matrix_.Map(*points++));
      }
    });
    return box.Misses(clip_, several_ ? DrawnBox::kMargin : 0);
  }

  /// Whether a straight line may stand for the curve, in a subpath that is not hidden: it leaves
  /// as many top vertices and winds as often, as the curve only falls or only rises, and lies above
  /// or below the clip. One ring alone may be drawn by DrawSimplePolygon, where every vertex of a
  /// row counts; else the curve may lie far to the left or right as well.
  bool Hides(const KVertex2D* p, unsigned order) const {
    if (!limited_ || IsInside(p[0])) return false;
    VertexBox box;
    for (unsigned i = 0; i <= order; ++i) box.Include(p[i]);
    if (!box.Misses(clip_, several_ ? DrawnBox::kMargin : kFartherThanX)) return false;
    const auto lower = [](KVertex2D a, KVertex2D b) { return a.y < b.y; };
    const auto higher = [](KVertex2D a, KVertex2D b) { return a.y > b.y; };
    return std::is_sorted(p, p + order + 1, lower) || std::is_sorted(p, p + order + 1, higher);
  }

 private:
  bool IsInside(KVertex2D v) const {
    const std::int32_t x = v.x.raw >> 16, y = v.y.raw >> 16;
    return x >= clip_.x0 && x < clip_.x1 && y >= clip_.y0 && y < clip_.y1;
  }

  static constexpr std::int32_t kFartherThanX = 1 << 16;

  const KSoftMatrix3D& matrix_;
  KClip clip_{};
  bool limited_, several_;
};

bool AddPieces(RingWriter& writer, const KSegment* segment, KVertex2D& current,
               const KSoftMatrix3D* m, KFixed flatness, const Unseen& unseen) {
  const KVertex2D* points = segment->Points();
  const unsigned order = segment->Order();
  for (unsigned i = segment->Pieces(); i > 0; --i, points += order) {
    KVertex2D p[4] = {current};
    for (unsigned k = 0; k < order; ++k) p[k + 1] = m->Map(points[k]);
    current = p[order];
    const bool line = order == 1 || unseen.Hides(p, order);
    if (!(line ? writer.AddLine(current) : writer.AddCurve(p, order, flatness))) return false;
  }
  return true;
}

}  // namespace

int KStroker::GetBezierPts(KVertex2D* out, KVertex2D p0, KVertex2D c1, KVertex2D c2, KVertex2D p3,
                           int stride) {
  return FlattenCubic(out, {p0, c1, c2, p3}, stride, GeoQuality);
}

int KStroker::GetBezierPts(KVertex2D* out, KVertex2D p0, KVertex2D c, KVertex2D p2, int stride) {
  return FlattenQuadratic(out, {p0, c, p2}, stride, GeoQuality);
}

unsigned KStroker::FlattenPath(KVertex2D**& rings, const KSoftPath* path, const KSoftMatrix3D* m,
                               bool onStack, const KRect* clip) {
  rings = nullptr;
  if (path->subpathCount == 0) return 0;
  const Memory memory{onStack ? stack : nullptr};
  rings =
      static_cast<KVertex2D**>(memory.Alloc(std::size_t{path->subpathCount} * sizeof(KVertex2D*)));
  if (!rings) return 0;
  unsigned count = 0;
  const Unseen unseen(clip, *path, *m);
  RingWriter writer(memory);
  bool hidden = true, added = true;
  KVertex2D current = KVertex2D::Origin;
  for (const KSegment* segment = path->first; segment && added; segment = segment->next) {
    if (segment->Opens()) {
      rings[count++] = nullptr;
      hidden = unseen.Hides(Subpath::Of(segment));
      current = m->Map(*segment->Start());
      added = hidden || writer.Begin(current);
    }
    if (hidden) continue;
    added = added && AddPieces(writer, segment, current, m, Flatness(), unseen);
    if (added && (!segment->next || segment->next->Opens())) writer.Close();
    rings[count - 1] = writer.ring;
  }
  if (added) return count;
  FreeRings(rings, count, onStack);
  rings = nullptr;
  return 0;
}

void KStroker::FreeRings(KVertex2D** rings, unsigned count, bool onStack) {
  if (!rings) return;
  FreeRingVertices(rings, count, onStack);
  Memory{onStack ? stack : nullptr}.Free(rings);
}

// The scratch stack is last-in-first-out.
void KStroker::FreeRingVertices(KVertex2D** rings, unsigned count, bool onStack) {
  const Memory memory{onStack ? stack : nullptr};
  while (count > 0) memory.Free(rings[--count]);
}
