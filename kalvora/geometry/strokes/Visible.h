// Visible: what of a stroke can show, so that the rest need not be built.
#ifndef KALVORA_GEOMETRY_STROKES_VISIBLE_H
#define KALVORA_GEOMETRY_STROKES_VISIBLE_H

#include <cstdint>

#include "kalvora/core/KRect.h"
#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/geometry/direction.h"
#include "kalvora/geometry/strokes/subpath.h"

namespace kalvora {

/// The part of a way that can show, in the way's own measure; nothing when it ends before it
/// begins.
struct Seen {
  std::int64_t begin = INT64_MIN, end = INT64_MAX;

  bool IsAll() const { return begin == INT64_MIN; }
  /// Whether nothing from a to b can show.
  bool Misses(std::int64_t a, std::int64_t b) const { return b < begin || a > end; }
};

/// A rectangle of device pixels, widened by what the outline reaches beyond its path.
class Visible {
 public:
  /// `clip` null: everything counts. `reach`, and the length of the longest dash, are 16.16 device
  /// pixels.
  Visible(const KRect* clip, const KSoftMatrix3D& m, std::int64_t reach, std::int64_t longestDash);

  bool IsAll() const { return all_; }
  /// The sides of the rectangle beyond which p lies, a bit each.
  unsigned SidesOf(KVertex2D p) const;
  /// Whether outlines around p stay within the range of 16.16; beyond it, coordinates wrap.
  bool IsInPlane(KVertex2D p) const;
  /// Whether the whole subpath lies beyond one side.
  bool Hides(const Subpath& subpath) const;
  /// What can show of the straight line, which measures `length`.
  Seen Of(KVertex2D from, KVertex2D to, std::int64_t length) const;

 private:
  Vector Map(KVertex2D p) const;

  const KSoftMatrix3D& matrix_;
  std::int64_t reach_;
  Vector least_{}, most_{};
  bool all_, short_;
};

}  // namespace kalvora

#endif
