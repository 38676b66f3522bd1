// Flattening: paths into polygon rings.
#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/curves.h"
#include "kalvora/raster/Memory.h"
#include "kalvora/raster/ring.h"

namespace {

using namespace kalvora;

// Vertices of the ring of the subpath that `segment` opens, at the most: every straight piece adds
// one, every curve piece up to kMaxCurvePoints, the start point one. 0 when it cannot be counted.
unsigned RingReserve(const KSegment* segment) {
  std::uint64_t entries = ring::kLinks + 1;
  do {
    const std::uint64_t each = segment->Order() == 1 ? 1 : KStroker::kMaxCurvePoints;
    entries += segment->Pieces() * each;
    segment = segment->next;
  } while (segment && !segment->Opens());
  return entries * sizeof(KVertex2D) <= UINT32_MAX ? static_cast<unsigned>(entries) : 0;
}

/// One ring while it is being written.
struct RingWriter {
  KVertex2D* ring = nullptr;
  unsigned count = 0;

  void Add(KVertex2D p) { ring[++count] = ring::Vertex(p); }
  KVertex2D* Tail() { return ring + 1 + count; }
};

void AddPieces(RingWriter& writer, const KSegment* segment, KVertex2D& current,
               const KSoftMatrix3D* m, KFixed flatness) {
  const KVertex2D* p = segment->Points();
  const unsigned order = segment->Order();
  for (unsigned i = segment->Pieces(); i > 0; --i, p += order) {
    const KVertex2D end = m->Map(p[order - 1]);
    if (order == 1) {
      writer.Add(end);
    } else {
      // The curve's points go where the ring continues, its start point over the vertex that stands
      // there.
      KVertex2D* out = writer.Tail() - 1;
      const int n =
          order == 2 ? FlattenQuadratic(out, {current, m->Map(p[0]), end}, 1, flatness)
                     : FlattenCubic(out, {current, m->Map(p[0]), m->Map(p[1]), end}, 1, flatness);
      for (int k = 0; k < n; ++k) out[k] = ring::Vertex(out[k]);
      writer.count += static_cast<unsigned>(n) - 1;
    }
    current = end;
  }
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
                               bool onStack) {
  rings = nullptr;
  if (path->subpathCount == 0) return 0;
  const Memory memory{onStack ? stack : nullptr};
  rings =
      static_cast<KVertex2D**>(memory.Alloc(std::size_t{path->subpathCount} * sizeof(KVertex2D*)));
  if (!rings) return 0;
  unsigned count = 0;
  RingWriter writer;
  KVertex2D current = KVertex2D::Origin;
  for (const KSegment* segment = path->first; segment; segment = segment->next) {
    if (segment->Opens()) {
      const unsigned entries = RingReserve(segment);
      if (entries) writer.ring = static_cast<KVertex2D*>(memory.Alloc(entries * sizeof(KVertex2D)));
      if (!entries || !writer.ring) {
        FreeRings(rings, count, onStack);
        rings = nullptr;
        return 0;
      }
      rings[count++] = writer.ring;
      writer.count = 0;
      current = m->Map(*segment->Start());
      writer.Add(current);
    }
    AddPieces(writer, segment, current, m, Flatness());
    if (!segment->next || segment->next->Opens()) {
      ring::Close(writer.ring, writer.count);
      // What the reserve has too much goes back, so that the next ring follows closely.
      const auto bytes = static_cast<unsigned>((writer.count + ring::kLinks) * sizeof(KVertex2D));
      if (onStack) stack->ReAlloc(writer.ring, bytes);
    }
  }
  return count;
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
