// KRect: a rectangle of whole pixels.
#ifndef KALVORA_CORE_KRECT_H
#define KALVORA_CORE_KRECT_H

#include <cstdint>

/// Whole pixels [left, right) x [top, bottom). Inverted and empty rectangles are legal and contain
/// nothing.
struct KRect {
  std::int16_t left;    ///< first column
  std::int16_t top;     ///< first row
  std::int16_t right;   ///< behind the last column
  std::int16_t bottom;  ///< behind the last row

  constexpr bool IsEmpty() const { return left >= right || top >= bottom; }  ///< or inverted
  constexpr bool operator==(const KRect&) const = default;
};

#endif
