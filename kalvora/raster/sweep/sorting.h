// Sorting in place of what is nearly in order already.
#ifndef KALVORA_RASTER_SWEEP_SORTING_H
#define KALVORA_RASTER_SWEEP_SORTING_H

#include <cstddef>
#include <cstdint>
#include <utility>

namespace kalvora {

/// Takes each item down to its place among those `gap` apart. False when that took more than
/// `moves`.
template <typename T, typename Before>
bool InsertionSort(T* items, std::size_t count, std::size_t gap, std::size_t moves, Before before) {
  for (std::size_t i = gap; i < count; ++i) {
    if (!before(items[i], items[i - gap])) continue;
    const T item = items[i];
    std::size_t at = i;
    do {
      items[at] = items[at - gap];
      at -= gap;
      if (moves-- == 0) {
        items[at] = item;
        return false;
      }
    } while (at >= gap && before(item, items[at - gap]));
    items[at] = item;
  }
  return true;
}

/// Sorts by a total order: in one pass over what is in order, and never in more than about n^(4/3)
/// moves.
template <typename T, typename Before>
void SortNearlySorted(T* items, std::size_t count, Before before) {
  if (count == 2) {
    if (before(items[1], items[0])) std::swap(items[0], items[1]);
    return;
  }
  if (InsertionSort(items, count, 1, 8 * count, before)) return;
  std::size_t gap = 1;
  while (gap < count / 9) gap = 3 * gap + 1;
  for (; gap > 0; gap /= 3) InsertionSort(items, count, gap, SIZE_MAX, before);
}

}  // namespace kalvora

#endif
