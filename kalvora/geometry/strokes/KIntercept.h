// KIntercept: where a stroke stands on its path.
#ifndef KALVORA_GEOMETRY_STROKES_KINTERCEPT_H
#define KALVORA_GEOMETRY_STROKES_KINTERCEPT_H

#include <cstdint>

#include "kalvora/core/KVertex2D.h"
#include "kalvora/geometry/strokes/Visible.h"

/// A stretch of the path as the joins see it.
struct KStretch {
  KVertex2D direction;  ///< unit vector
  KVertex2D offset;     ///< from the path to the stroke's left side
  std::int64_t length;  ///< of the straight line, 16.16; 0 for curves

  KStretch Reversed() const { return {-direction, -offset, length}; }
};

/// A way along which a dash pattern runs: one line or one curve.
struct KDashWay {
  kalvora::Seen seen;       ///< what of it can show
  std::int64_t done = 0;    ///< how far the walk has come, 32 fraction bits
  std::int64_t length = 0;  ///< of the whole way; only known where not everything can show
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
  std::int64_t left = 0;   ///< of the present dash or gap, 32 fraction bits
  std::int64_t round = 0;  ///< length of the whole pattern; 0 when dashes meet without a gap
  bool hidden = false;     ///< within a dash that nobody sees and that ends on this way
  bool held = false;       ///< within the first dash, which is drawn at the end
  std::int64_t heldLength = 0;
  bool last = false;     ///< the next boundary ends the walk
  bool stopped = false;  ///< it has ended

  bool Draws() const { return on && !held && !hidden; }
  /// Goes on to the next dash or gap.
  void Advance();
  /// At the end of a gap before a dash that nobody sees, or of such a dash: goes on to the next
  /// one. False when something is to be drawn here, or goes to its end.
  bool PassBoundary(const KDashWay& way);
};

/// The working state of one stroke, subpath by subpath.
struct KIntercept {
  KFixed radius;  ///< of the pen

  KVertex2D point{};     ///< current point, user space
  KStretch before{};     ///< what ends at `point`
  KStretch next{};       ///< what begins there, given to a join
  KVertex2D start{};     ///< of the subpath
  KStretch first{};      ///< what begins at `start`
  bool empty = true;     ///< the subpath has no direction yet
  bool pending = false;  ///< the outline has not reached the two sides of `point`
  bool atStart = false;  ///< the next cap is the subpath's first

  KVertex2D heading{};  ///< direction of a dot
  KDash dash{};

  /// Length h tan(a / 2) from the end of an offset line to where it meets the next one, for the
  /// directions of the two lines; KFixed::NaN when they are too nearly parallel to meet.
  KFixed GetIntercept(KVertex2D from, KVertex2D to) const;
};

#endif
