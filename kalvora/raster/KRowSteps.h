// KRowSteps: rows of a draw as the steps that they are made of, of which no coverage has been
// computed yet. Plain data, for fillers whose vectors compute it.
#ifndef KALVORA_RASTER_KROWSTEPS_H
#define KALVORA_RASTER_KROWSTEPS_H

#include <cstdint>

/// A step is what lies between a left and a right edge over a part of a row's height; a row is
/// covered by the sum of its steps, as KRowStyle::ComputeAA computes it. Edges come in pairs: those
/// of step i are edges 2 i and 2 i + 1.
struct KRowSteps {
  static constexpr int kMost = 32;

  struct Row {
    std::uint32_t* pixels;  ///< its first
    std::int32_t end;  ///< one past its last step; they begin where those of the row before end
  };

  // Of edges, 16.16:
  std::int32_t top[2 * kMost], bottom[2 * kMost];  ///< x where the step begins and ends
  std::int32_t height[2 * kMost];  ///< of its step; those of a row sum up to 1.0 at most
  /// Height gained per pixel of x. Of the wrong sign, it is 0 in a step of the whole height; in
  /// others the edge is vertical at its middle then.
  std::int32_t slope[2 * kMost];
  Row row[kMost];
  std::int32_t rows;    ///< each of one step or more
  std::int32_t x0, x1;  ///< columns that may be painted
};

#endif
