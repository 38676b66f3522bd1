// KSoftPath: a vector path of lines, quadratic and cubic Bezier pieces.
#ifndef KALVORA_GEOMETRY_KSOFTPATH_H
#define KALVORA_GEOMETRY_KSOFTPATH_H

#include <cstddef>
#include <cstdint>

#include "kalvora/core/KSoftMatrix3D.h"

/// Pieces of the same order that follow each other, a block of the C heap. The points follow the
/// record: first the subpath's start point when it opens a subpath, then pieces x order points.
struct KSegment {
  std::uint32_t
      header;  ///< bit 0 opens a subpath; bit 1 that subpath is closed; bits 2-3 order; 4-31 pieces
  KSegment* next;  ///< null behind the last

  bool Opens() const { return header & 1; }           ///< opens a subpath
  bool Closed() const { return header & 2; }          ///< that subpath is closed
  unsigned Order() const { return header >> 2 & 3; }  ///< 1 lines, 2 quadratic, 3 cubic
  unsigned Pieces() const { return header >> 4; }     ///< of that order
  KVertex2D* Start() { return reinterpret_cast<KVertex2D*>(this + 1); }  ///< first point
  const KVertex2D* Start() const { return reinterpret_cast<const KVertex2D*>(this + 1); }  ///< same
  KVertex2D* Points() { return Start() + (header & 1); }              ///< of the pieces
  const KVertex2D* Points() const { return Start() + (header & 1); }  ///< of the pieces
  /// Start point included.
  unsigned PointCount() const { return (header & 1) + Pieces() * Order(); }
};

/// A path in its own user space: subpaths of lines and curves. Build it with MoveTo, LineTo,
/// QuadTo, CubicTo, ArcTo and Close, draw it any number of times (drawing never changes it), and go
/// on appending whenever you like. Coordinates are 16.16; drawing is exact within +-8000 pixels. A
/// path belongs to one thread at a time.
class KALVORA_API KSoftPath {
 public:
  std::uint32_t subpathCount = 0;         ///< opened so far
  KSegment* first = nullptr;              ///< null: the path is empty
  KSegment* subpathStart = nullptr;       ///< the record that opened the current subpath
  KSegment* last = nullptr;               ///< where pieces are appended
  KVertex2D current = KVertex2D::Origin;  ///< where the next piece begins
  std::uint8_t newSubpath = 1;            ///< the next segment opens a subpath at `current`

  KSoftPath() = default;
  ~KSoftPath() { Reset(); }
  KSoftPath(const KSoftPath& source) { *this = source; }  ///< a deep copy
  /// A deep copy. Afterwards Close acts on the copy's first subpath, whichever was current in the
  /// source.
  KSoftPath& operator=(const KSoftPath& source);

  void MoveTo(KVertex2D p) {  ///< opens a subpath
    current = p;
    newSubpath = 1;
  }
  bool LineTo(KVertex2D p) { return BezierTo(1, &p, 1); }               ///< false: no memory
  bool QuadTo(KVertex2D control, KVertex2D end);                        ///< false: no memory
  bool CubicTo(KVertex2D control1, KVertex2D control2, KVertex2D end);  ///< false: no memory
  /// Marks the current subpath closed; without one, nothing.
  void Close() {
    if (subpathStart) subpathStart->header |= 2;
  }
  /// Appends `count` pieces of `order` points each (1 line, 2 quadratic, 3 cubic; the last point of
  /// a piece is its end). False, and no change, when count is 0, the order is not 1 to 3, or memory
  /// runs out.
  bool BezierTo(unsigned order, const KVertex2D* points, unsigned count);
  /// Appends the elliptical arc from `current` to `end` around `centre`, axis-parallel radii (x,
  /// y). `direction` true runs toward growing angles, which is clockwise on the screen. Equal
  /// points make a whole turn. A start or end point off the ellipse is joined to it by a straight
  /// line; a radius of 0 gives a straight line to `end`. False when memory runs out.
  bool ArcTo(KVertex2D end, KVertex2D centre, KVertex2D radii, bool direction);
  /// Appends a new subpath: the elliptical arc around `centre` from the angle `start` on over
  /// `sweep`, in degrees that grow clockwise on the screen. A sweep of 360 degrees or more, either
  /// way, is the whole ellipse, closed; one of 0 is a point. False when memory runs out.
  bool AddArc(KVertex2D centre, KVertex2D radii, KFixed start, KFixed sweep);
  /// Frees everything and returns to the empty state; `current` stays.
  void Reset();
  /// The same, but the memory is kept for the segments to come: a path that is built again in the
  /// same way, frame by frame, takes nothing from the heap.
  void Rewind();
  /// Appends this path, mapped through m (affine part), to `out`. When a coordinate, before or
  /// after, exceeds +-8000 the whole of `out` is emptied and the result is false; when memory runs
  /// out, `out` keeps what was appended so far. `out`'s current point becomes this path's,
  /// unmapped.
  bool Transform(KSoftPath* out, const KSoftMatrix3D* m) const;
  /// Does nothing; called when a path is complete.
  void Finalize() {}

 private:
  KSegment* NewSegment(std::size_t points);
  void Append(KSegment* segment);

  KSegment* spare_ = nullptr;  // records that Rewind kept, in the order they were made
};

#endif
