// Flattening: curves into straight pieces, paths into polygon rings.
#include "kalvora/core/roots.h"
#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/raster/Memory.h"
#include "kalvora/raster/ring.h"

namespace {

using namespace kalvora;

// Halving (a + b) / 2 on the raw values, without losing the carry.
KFixed Middle(KFixed a, KFixed b) {
  return KFixed::FromRaw(static_cast<std::int32_t>((std::int64_t{a.raw} + b.raw) >> 1));
}
KVertex2D Middle(KVertex2D a, KVertex2D b) { return {Middle(a.x, b.x), Middle(a.y, b.y)}; }

/// Measures distances from the chord p0 p3 along its normal (-sin, cos).
class Chord {
 public:
  Chord(KVertex2D p0, KVertex2D p3) {
    const KVertex2D d = p3 - p0;
    point_ = d == KVertex2D::Origin;
    // Axis-parallel chords take exact values instead of the table's.
    if (d.y.raw == 0) {
      sin_ = kZero;
      cos_ = kOne;
    } else if (d.x.raw == 0) {
      sin_ = kOne;
      cos_ = kZero;
    } else {
      const KFixed angle = KFixed::ArcTan(d.x, d.y);
      sin_ = KFixed::Sin(angle);
      cos_ = KFixed::Cos(angle);
    }
  }

  /// Length of v across the chord. A chord of no length has no normal: the whole vector counts.
  std::int64_t Across(KVertex2D v) const {
    if (point_) return Abs(v.x.raw) + Abs(v.y.raw);
    return Abs(((std::int64_t{v.y.raw} * cos_.raw) >> 16) -
               ((std::int64_t{v.x.raw} * sin_.raw) >> 16));
  }

 private:
  KFixed sin_, cos_;
  bool point_;
};

/// Curves of ORDER + 1 points: how far the control points lie from the chord, and the halves at t =
/// 1/2.
template <int ORDER>
struct Curve {
  KVertex2D p[ORDER + 1];

  bool IsFlat(std::int64_t tolerance) const;
  void Split(Curve& a, Curve& b) const;
};

// The two control points are measured each on its own: on opposite sides of the chord their
// deviations would cancel, and an S would become a line.
template <>
bool Curve<3>::IsFlat(std::int64_t tolerance) const {
  const KVertex2D a = p[1] - p[0];
  const KVertex2D b = p[2] - p[3];
  // No projection is longer than its vector (the sines exceed 1 by less than 1/64).
  const std::int64_t bound = Abs(a.x.raw) + Abs(a.y.raw) + Abs(b.x.raw) + Abs(b.y.raw);
  if (bound + (bound >> 6) < tolerance) return true;
  const Chord chord(p[0], p[3]);
  return chord.Across(a) + chord.Across(b) < tolerance;
}

template <>
bool Curve<2>::IsFlat(std::int64_t tolerance) const {
  return Chord(p[0], p[2]).Across(p[1] - p[0]) < tolerance;
}

template <>
void Curve<3>::Split(Curve& a, Curve& b) const {
  const KVertex2D p01 = Middle(p[0], p[1]), p12 = Middle(p[1], p[2]), p23 = Middle(p[2], p[3]);
  const KVertex2D p012 = Middle(p01, p12), p123 = Middle(p12, p23);
  const KVertex2D middle = Middle(p012, p123);
  const KVertex2D p0 = p[0], p3 = p[3];
  a = {{p0, p01, p012, middle}};
  b = {{middle, p123, p23, p3}};
}

template <>
void Curve<2>::Split(Curve& a, Curve& b) const {
  const KVertex2D p01 = Middle(p[0], p[1]), p12 = Middle(p[1], p[2]);
  const KVertex2D middle = Middle(p01, p12);
  const KVertex2D p0 = p[0], p2 = p[2];
  a = {{p0, p01, middle}};
  b = {{middle, p12, p2}};
}

// Adaptive halving with the halves still to do on a small stack. A piece is taken as straight when
// it is flat enough, when the stack is full, or when the points left are just enough for what is
// pending.
template <int ORDER>
int Flatten(const Curve<ORDER>& curve, KVertex2D* out, int stride) {
  constexpr int kMostPending = 10;
  constexpr int kMostPieces = KStroker::kMaxCurvePoints - 1;  // the end point takes the last place
  const std::int64_t tolerance = 2 * std::int64_t{KStroker::GeoQuality.raw};
  Curve<ORDER> pending[kMostPending];
  int pendingCount = 0;
  int pieces = 0;
  Curve<ORDER> piece = curve;
  for (;;) {
    const bool full = pendingCount == kMostPending || pieces + pendingCount + 1 >= kMostPieces;
    if (!full && !piece.IsFlat(tolerance)) {
      piece.Split(piece, pending[pendingCount++]);
      continue;
    }
    *out = piece.p[0];
    out += stride;
    ++pieces;
    if (pendingCount == 0) break;
    piece = pending[--pendingCount];
  }
  *out = curve.p[ORDER];
  return pieces + 1;
}

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
               const KSoftMatrix3D* m) {
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
      const int n = order == 2
                        ? KStroker::GetBezierPts(out, current, m->Map(p[0]), end, 1)
                        : KStroker::GetBezierPts(out, current, m->Map(p[0]), m->Map(p[1]), end, 1);
      for (int k = 0; k < n; ++k) out[k] = ring::Vertex(out[k]);
      writer.count += static_cast<unsigned>(n) - 1;
    }
    current = end;
  }
}

}  // namespace

int KStroker::GetBezierPts(KVertex2D* out, KVertex2D p0, KVertex2D c1, KVertex2D c2, KVertex2D p3,
                           int stride) {
  return Flatten(Curve<3>{{p0, c1, c2, p3}}, out, stride);
}

int KStroker::GetBezierPts(KVertex2D* out, KVertex2D p0, KVertex2D c, KVertex2D p2, int stride) {
  return Flatten(Curve<2>{{p0, c, p2}}, out, stride);
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
    AddPieces(writer, segment, current, m);
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
