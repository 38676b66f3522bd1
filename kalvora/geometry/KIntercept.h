// KIntercept: the working state of one stroke, and the rings it is building.
#ifndef KALVORA_GEOMETRY_KINTERCEPT_H
#define KALVORA_GEOMETRY_KINTERCEPT_H

#include <cstdint>

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/geometry/pen.h"

class KStack;

/// One side of a stroke: the left or the right of the direction of travel, seen on the screen.
enum class KSide : std::uint8_t { Left, Right };

/// A stretch of the path as the joins see it.
struct KRun {
  KVertex2D direction;  ///< unit vector
  KVertex2D offset;     ///< from the path to the stroke's left side
  std::int64_t length;  ///< of the straight line, 16.16; 0 for curves

  KRun Reversed() const { return {-direction, -offset, length}; }
};

/// Where a walk along a dashed subpath stands in the pattern.
///
/// A closed subpath that begins within a dash holds that dash back: at its end the walk goes on
/// along its beginning, so that the dash is drawn in one piece with what leads up to it.
struct KDash {
  const KFixed* lengths = nullptr;  ///< null for a solid line
  std::uint32_t count = 0;
  std::uint32_t index = 0;
  bool on = true;
  std::int64_t left = 0;  ///< of the present dash or gap, 32 fraction bits
  bool held = false;      ///< within the first dash, which is drawn at the end
  std::int64_t heldLength = 0;
  bool last = false;     ///< the next boundary ends the walk
  bool stopped = false;  ///< it has ended

  bool Draws() const { return on && !held; }
  /// Goes on to the next dash or gap.
  void Advance();
};

/// Where a stroke stands, and its output.
///
/// A subpath's outline is the sum of simple pieces: one parallelogram for every straight line, one
/// wedge for every join, one half pen for every cap. All pieces turn the same way, so that no
/// winding number is ever smaller than the number of pieces above the point, and the non-zero rule
/// fills their union: no holes, however wide the pen and however short the lines. What two
/// neighbours share cancels, which leaves the left side of the path walked forward and the right
/// side walked backward; on the inner side of a join the outline runs through the vertex itself,
/// unless the lines are long enough for the crossing of the two sides.
struct KIntercept {
  KIntercept(const kalvora::Pen& strokePen, const KSoftMatrix3D* m, KStack* scratch)
      : pen(strokePen), matrix(m), stack(scratch) {}

  kalvora::Pen pen;
  const KSoftMatrix3D* matrix;

  // --- the path
  KVertex2D point{};     ///< current point, user space
  KRun run{};            ///< what ends at `point`
  KRun next{};           ///< what begins there, given to a join
  KVertex2D start{};     ///< of the subpath
  KRun first{};          ///< what begins at `start`
  bool empty = true;     ///< the subpath has no direction yet
  bool pending = false;  ///< the outline has not reached the two sides of `point`
  bool atStart = false;  ///< the next cap is the subpath's first
  bool crossed = false;  ///< the last join took the crossing of its inner sides
  KSide inner{};         ///< of the last join

  KVertex2D heading{};  ///< direction of a dot
  KDash dash{};

  // --- the ring being built: the left side grows from the front, the right side from the back
  KVertex2D* ring = nullptr;
  std::uint32_t reserve = 0;  ///< room for the next ring
  std::uint32_t room = 0;     ///< vertices that fit
  std::uint32_t left = 0;     ///< vertices of the left side
  std::uint32_t right = 0;    ///< vertices of the right side

  // --- the output
  KVertex2D** rings = nullptr;
  std::uint32_t count = 0;
  std::uint64_t most = 0;  ///< entries of `rings`
  bool failed = false;     ///< memory ran out: nothing more is written

  /// Length h tan(a / 2) from the end of an offset line to where it meets the next one, for the
  /// directions of the two lines; KFixed::NaN when they are too nearly parallel to meet.
  KFixed GetIntercept(KVertex2D from, KVertex2D to) const;

  /// The array for at most so many rings. False when memory runs out.
  bool AllocRings(std::uint64_t ringCount);
  /// Begins a subpath at `point`. False when memory runs out.
  bool Open();
  /// Begins the outline with `next`.
  void Begin();
  /// Goes on to the end of `next`.
  void MoveTo(KVertex2D p) {
    run = next;
    point = p;
    pending = true;
  }
  /// Appends a vertex, given in user space, to a side.
  void Add(KSide side, KVertex2D p);
  void AddBoth(KVertex2D p, KVertex2D offset) {
    Add(KSide::Left, p + offset);
    Add(KSide::Right, p - offset);
  }
  /// Reaches the two sides of the current point.
  void Arrive() {
    if (pending) AddBoth(point, run.offset);
    pending = false;
  }
  /// After the closing join: when the inner sides cross, the inner ring begins at the crossing.
  void CloseInnerSide();
  /// Puts the right side behind the left one, last vertex first.
  void Fold();
  /// Finishes the ring: one outline, or the two sides each on its own.
  void FinishOne();
  void FinishTwo();
  /// Drops the ring.
  void Drop();
  /// The rings; after a failure null, and no rings.
  KVertex2D** Result();

 private:
  void* Alloc(std::uint64_t bytes);
  void* ReAlloc(void* p, std::uint64_t bytes);
  void Free(void* p);
  bool Grow();
  void Fail();

  KStack* stack;  // null for the C heap
};

#endif
