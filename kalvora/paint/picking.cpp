// The fillers of a pick paint.
#include "kalvora/paint/picking.h"

#include "kalvora/paint/KStyleContext2D.h"

template <bool AA>
void DrawPick(const KStyleContext2D* style) {
  // RoundPixel takes a point halfway between two pixels to the lower one.
  if (style->y != kalvora::RoundPixel(style->pickY)) return;
  const std::int32_t x = kalvora::RoundPixel(style->pickX);
  if (x < style->x0 || x >= style->x1 || !style->pickHit) return;
  if (AA && style->lineBuffer[x] == 0) return;
  *style->pickHit = true;
}

template void DrawPick<false>(const KStyleContext2D* style);
template void DrawPick<true>(const KStyleContext2D* style);
