// StrokeRings: the rings of a stroke, built from their two sides.
#ifndef KALVORA_GEOMETRY_STROKES_STROKERINGS_H
#define KALVORA_GEOMETRY_STROKES_STROKERINGS_H

#include <cstdint>

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/raster/Memory.h"

namespace kalvora {

/// One side of a stroke: the left or the right of the direction of travel, seen on the screen.
enum class Side : std::uint8_t { kLeft, kRight };

constexpr Side Opposite(Side side) { return side == Side::kLeft ? Side::kRight : Side::kLeft; }

/// The list of finished rings, and one that grows: its left side from the front of its memory, its
/// right side from the back. When memory runs out, everything after that is ignored, and the result
/// is nothing.
class StrokeRings {
 public:
  StrokeRings(const KSoftMatrix3D& m, Memory memory) : matrix_(m), memory_(memory) {}

  /// Takes the list for at most so many rings.
  void AllocList(std::uint64_t most);
  /// Begins a ring with room for so many vertices; it grows when it needs more. False when memory
  /// has run out.
  bool Open(std::uint32_t reserve);
  bool IsOpen() const { return ring_; }
  bool Failed() const { return failed_; }

  /// Appends a vertex, given in user space, to a side, or to both.
  void Add(Side side, KVertex2D p);
  void AddBoth(KVertex2D left, KVertex2D right);
  /// Number of a side's vertices.
  std::uint32_t Count(Side side) const { return side == Side::kLeft ? left_ : right_; }
  /// The most steps of one fan.
  static constexpr unsigned kMostFanSteps = 48;
  /// The side ends with a0 c0 a1 c1 ... an, where the pen's inner half swept backward from a0 to an
  /// and its lines crossed at the c, one pair for every step. Goes on along a0 c0 c1 ... an, back
  /// along the a, and once more along the c: what was swept the other way around turns like
  /// everything else.
  void TurnFan(Side side, unsigned steps);
  /// The side begins where it ends.
  void BeginAtEnd(Side side);
  /// Puts the right side behind the left one, last vertex first.
  void Fold();
  /// Finishes the ring: one outline, or the two sides each on its own.
  void FinishOne();
  void FinishTwo();
  /// Drops the ring.
  void Drop();
  /// The number of rings, and the rings; after a failure null, and no rings.
  std::uint32_t Take(KVertex2D**& rings);

 private:
  bool Grow();
  void Put(Side side, KVertex2D mapped);
  void Fail();

  const KSoftMatrix3D& matrix_;
  Memory memory_;
  KVertex2D* ring_ = nullptr;
  std::uint32_t room_ = 0;   // vertices that fit
  std::uint32_t left_ = 0;   // vertices of the left side
  std::uint32_t right_ = 0;  // vertices of the right side
  KVertex2D** rings_ = nullptr;
  std::uint32_t count_ = 0;
  std::uint64_t most_ = 0;  // entries of the list
  bool failed_ = false;
};

}  // namespace kalvora

#endif
