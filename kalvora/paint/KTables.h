// KTables: the constant tables of bicubic weights and of the unit circle.
#ifndef KALVORA_PAINT_KTABLES_H
#define KALVORA_PAINT_KTABLES_H

#include <array>
#include <cstdint>

struct KTables {
  /// Catmull-Rom weights (a = -0.5) by straight lines: 32 segments of the unit interval, each four
  /// (slope, intercept) pairs, one a tap, 16.16. With f a 16-bit fraction, the weight of tap j is
  /// ((slope f) >> 16) + intercept, from segment f >> 11.
  static const std::array<std::int32_t, 256> KBicubic;

  /// The unit circle from (1, 0) counter-clockwise: four cubic quarter arcs of four (x, y) points,
  /// 16.16.
  static const std::array<std::int32_t, 32> KCircle;
};

#endif
