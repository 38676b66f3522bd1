// DashPattern: a stroke's dash lengths, and whether a subpath can be cut by them.
#ifndef KALVORA_GEOMETRY_STROKES_DASHPATTERN_H
#define KALVORA_GEOMETRY_STROKES_DASHPATTERN_H

#include <cstdint>

#include "kalvora/geometry/strokes/KIntercept.h"
#include "kalvora/geometry/strokes/subpath.h"

namespace kalvora {

class DashPattern {
 public:
  /// No pattern, and a solid line, when `lengths` is null or empty, has a negative entry, or leaves
  /// no gaps. `phase` is where subpaths start in the pattern, a signed 16.16 number.
  DashPattern(const KFixed* lengths, std::uint32_t count, std::uint32_t phase);

  bool IsSolid() const { return !start_.lengths; }
  /// The longest dash or gap.
  KFixed Longest() const { return longest_; }
  /// The state at a subpath's start.
  const KDash& Start() const { return start_; }
  /// How many ends of dashes and gaps lie on the subpath: never too few, and no more than one above
  /// kMostBoundaries.
  std::uint32_t Boundaries(const Subpath& subpath) const;

  /// Subpaths with more boundaries, and those that would bring a stroke's total above
  /// kMostInStroke, are drawn solid.
  static constexpr std::uint32_t kMostBoundaries = 1 << 16;
  static constexpr std::uint32_t kMostInStroke = 1 << 17;

 private:
  KDash start_;
  KFixed longest_ = kZero;
  std::int64_t round_ = 0;  // length of the whole pattern, 32 fraction bits
  std::uint64_t boundariesOfRound_ = 0;
};

}  // namespace kalvora

#endif
