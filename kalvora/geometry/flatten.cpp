// Flattening: paths into polygon rings.
#include <algorithm>
#include <cstddef>

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
  /// From the last vertex on, which is the curve's first point, through 2 or 3 more.
  bool AddCurve(const KVertex2D& start, const KVertex2D* rest, unsigned order,
                const Flatness& flatness) {
    if (!Reserve(KStroker::kMaxCurvePoints)) return false;
    KVertex2D* out = ring + count_;
    const int n = order == 3 ? FlattenCurve<3>(start, rest, out, flatness)
                             : FlattenCurve<2>(start, rest, out, flatness);
    count_ += static_cast<unsigned>(n) - 1;
    // The halves of a curve never leave its range: few have points to look through.
    const auto isLink = [](const KVertex2D& v) { return ring::IsLink(&v); };
    if (isLink(start) || std::any_of(rest, rest + order, isLink)) {
      for (int k = 0; k < n; ++k) out[k] = ring::Vertex(out[k]);
    }
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
    const std::size_t needed = std::size_t{count_} + points + ring::kLinks;  // words suffice
    return needed <= capacity_ || Grow(needed);
  }
  [[gnu::noinline]] bool Grow(std::uint64_t needed) {
    const std::uint64_t capacity = std::max({needed, 2 * std::uint64_t{capacity_}, kFirstCapacity});
    auto* moved = static_cast<KVertex2D*>(memory_.ReAlloc(ring, Bytes(capacity)));
    if (!moved) return false;
    ring = moved;
    capacity_ = static_cast<std::size_t>(capacity);
    return true;
  }

  const Memory memory_;
  unsigned count_ = 0;
  std::size_t capacity_ = 0;
};

/// What of a path no pixel of a clip shows.
class Unseen {
 public:
  /// Without a clip everything counts as seen.
  Unseen(const KRect* clip, const KSoftPath& path, const KSoftMatrix3D& m)
      : path_(path), matrix_(m), limited_(clip), several_(path.subpathCount > 1) {
    if (!clip) return;
    clip_ = {clip->left, clip->top, clip->right, clip->bottom};
    inside_ = {Range(clip->left, clip->right), Range(clip->top, clip->bottom)};
  }

  /// Whether the whole path lies beside the clip, on one side of it.
  bool Hides(const KSoftPath& path) const {
    if (!limited_) return false;
    VertexBox box;
    for (const KSegment* segment = path.first; segment; segment = segment->next) {
      Include(box, segment);
      if (!box.Misses(clip_, 0)) return false;
    }
    return true;
  }

  /// Whether the subpath's ring, in a path that is not hidden, lies beside the clip, so far that no
  /// crossing of its edges matters.
  [[gnu::noinline]] bool Hides(const Subpath& subpath) const {
    if (!limited_ || !several_) return false;
    const KVertex2D start = matrix_.Map(subpath.start);
    if (IsInside(start)) return false;
    VertexBox box;
    box.Include(start);
    subpath.ForEach([&](unsigned order, const KVertex2D* points, unsigned pieces) {
      for (std::size_t n = std::size_t{order} * pieces; n > 0; --n) {
        box.Include(matrix_.Map(*points++));
      }
    });
    return box.Misses(clip_, kLeastMargin) && box.Misses(clip_, Margin());
  }

  /// Whether a straight line may stand for the curve, in a subpath that is not hidden: it leaves
  /// as many top vertices and winds as often, as the curve only falls or only rises, and lies above
  /// or below the clip. One ring alone may be drawn by DrawSimplePolygon, where every vertex of a
  /// row counts; else the curve may lie far to the left or right as well.
  bool Hides(const KVertex2D& start, const KVertex2D* rest, unsigned order) const {
    return !IsInside(start) && IsBeside(start, rest, order);
  }

 private:
  /// Coordinates from `begin` on, 16.16.
  struct Range {
    std::uint32_t begin = 0x80000000, size = UINT32_MAX;

    constexpr Range() = default;
    constexpr Range(std::int32_t a, std::int32_t b)
        : begin(static_cast<std::uint32_t>(a) << 16),
          size(static_cast<std::uint32_t>(std::max(b - a, 0)) << 16) {}
    bool Holds(KFixed v) const { return static_cast<std::uint32_t>(v.raw) - begin < size; }
  };

  bool IsInside(KVertex2D v) const { return inside_.x.Holds(v.x) && inside_.y.Holds(v.y); }
  [[gnu::noinline]] bool IsBeside(const KVertex2D& start, const KVertex2D* rest,
                                  unsigned order) const {
    if (!limited_) return false;
    VertexBox box;
    box.Include(start);
    for (unsigned i = 0; i < order; ++i) box.Include(rest[i]);
    if (!box.Misses(clip_, several_ ? kLeastMargin : kFartherThanX)) return false;
    if (several_ && !box.Misses(clip_, Margin())) return false;
    const auto lower = [](KVertex2D a, KVertex2D b) { return a.y < b.y; };
    const auto higher = [](KVertex2D a, KVertex2D b) { return a.y > b.y; };
    return (!lower(rest[0], start) && std::is_sorted(rest, rest + order, lower)) ||
           (!higher(rest[0], start) && std::is_sorted(rest, rest + order, higher));
  }

  void Include(VertexBox& box, const KSegment* segment) const {
    const KVertex2D* point = segment->Start();
    for (unsigned n = segment->PointCount(); n > 0; --n) box.Include(matrix_.Map(*point++));
  }
  // How far beside the clip edges of the path cannot matter any more.
  std::int32_t Margin() const {
    if (path_.subpathCount > DrawnBox::kFewTops) return DrawnBox::kMargin;
    if (margin_ == 0) {
      VertexBox box;
      for (const KSegment* segment = path_.first; segment; segment = segment->next) {
        Include(box, segment);
      }
      margin_ = DrawnBox::MarginOf(box.Right() - box.Left() + 1);
    }
    return margin_;
  }

  static constexpr std::int32_t kFartherThanX = 1 << 16;
  static constexpr std::int32_t kLeastMargin = DrawnBox::MarginOf(0);

  const KSoftPath& path_;
  const KSoftMatrix3D& matrix_;
  mutable std::int32_t margin_ = 0;  // 0 until it is asked for
  KClip clip_{};
  struct {
    Range x, y;
  } inside_{};
  bool limited_, several_;
};

/// Adds subpaths to rings.
class Flattener {
 public:
  Flattener(const Memory& memory, const KSoftMatrix3D& m, const Flatness& flatness,
            const Unseen& unseen)
      : writer_(memory), matrix_(m), flatness_(flatness), unseen_(unseen) {}

  /// Adds the subpath that a record opens, and goes on to the next record that opens one, or to
  /// null. False: no memory.
  bool Add(const KSegment*& segment) {
    at_ = matrix_.Map(*segment->Start());
    bool added = writer_.Begin(at_);
    do {
      added = added && AddRecord(segment);
      segment = segment->next;
    } while (segment && !segment->Opens());
    if (added) writer_.Close();
    return added;
  }
  KVertex2D* Ring() const { return writer_.ring; }

 private:
  bool AddRecord(const KSegment* segment) {
    const unsigned order = segment->Order();
    KVertex2D mapped[3];
    const KVertex2D* points = segment->Points();
    for (unsigned i = segment->Pieces(); i > 0; --i, points += order) {
      const KVertex2D* rest = points;
      if (!matrix_.identity) {
        for (unsigned k = 0; k < order; ++k) mapped[k] = matrix_.Map(points[k]);
        rest = mapped;
      }
      const KVertex2D& end = rest[order - 1];
      const bool isLine = order == 1 || unseen_.Hides(at_, rest, order);
      if (!(isLine ? writer_.AddLine(end) : writer_.AddCurve(at_, rest, order, flatness_))) {
        return false;
      }
      at_ = end;
    }
    return true;
  }

  RingWriter writer_;
  const KSoftMatrix3D& matrix_;
  const Flatness& flatness_;
  const Unseen& unseen_;
  KVertex2D at_{};  // the current point
};

/// To entries `stride` apart.
template <int ORDER>
int FlattenApart(const KVertex2D& start, const KVertex2D* rest, KVertex2D* out, int stride) {
  KVertex2D points[KStroker::kMaxCurvePoints];
  const int n = FlattenCurve<ORDER>(start, rest, points, Flatness(KStroker::GeoQuality));
  for (int i = 0; i < n; ++i) out[std::ptrdiff_t{i} * stride] = points[i];
  return n;
}

}  // namespace

int KStroker::GetBezierPts(KVertex2D* out, KVertex2D p0, KVertex2D c1, KVertex2D c2, KVertex2D p3,
                           int stride) {
  const KVertex2D rest[] = {c1, c2, p3};
  return FlattenApart<3>(p0, rest, out, stride);
}

int KStroker::GetBezierPts(KVertex2D* out, KVertex2D p0, KVertex2D c, KVertex2D p2, int stride) {
  const KVertex2D rest[] = {c, p2};
  return FlattenApart<2>(p0, rest, out, stride);
}

unsigned KStroker::FlattenPath(KVertex2D**& rings, const KSoftPath* path, const KSoftMatrix3D* m,
                               bool onStack, const KRect* clip) {
  rings = nullptr;
  const Unseen unseen(clip, *path, *m);
  if (path->subpathCount == 0 || unseen.Hides(*path)) return 0;
  const Memory memory{onStack ? stack : nullptr};
  rings =
      static_cast<KVertex2D**>(memory.Alloc(std::size_t{path->subpathCount} * sizeof(KVertex2D*)));
  if (!rings) return 0;
  unsigned count = 0;
  const kalvora::Flatness flatness(Flatness());
  Flattener flattener(memory, *m, flatness, unseen);
  bool added = true;
  for (const KSegment* segment = path->first; segment && added;) {
    if (!segment->Opens()) {
      segment = segment->next;  // of a hidden subpath
      continue;
    }
    KVertex2D*& ring = rings[count++];
    ring = nullptr;
    if (unseen.Hides(Subpath::Of(segment))) {
      segment = segment->next;
      continue;
    }
    added = flattener.Add(segment);
    ring = flattener.Ring();
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
