// KRect: a rectangle of whole pixels.
#ifndef KALVORA_CORE_KRECT_H
#define KALVORA_CORE_KRECT_H

#include <cstdint>

/// Whole pixels [left, right) x [top, bottom). Inverted and empty rectangles are legal and contain
/// nothing.
struct KRect {
  std::int16_t left;
  std::int16_t top;
  std::int16_t right;
  std::int16_t bottom;

  constexpr bool IsEmpty() const { return left >= right || top >= bottom; }
  constexpr bool operator==(const KRect&) const = default;
};

#endif
