// KStyleContext2D: what it owns, and the opacity of a draw.
#include "kalvora/paint/KStyleContext2D.h"

#include <algorithm>
#include <cstdlib>

#include "kalvora/paint/KPaint.h"
#include "kalvora/paint/loops/loops.h"

KStyleContext2D::KStyleContext2D() { loops = &kalvora::ChosenLoops(); }

KStyleContext2D::~KStyleContext2D() {
  if (ownedTables & 1) std::free(table0);
  if (ownedTables & 2) std::free(table1);
  if (ownsScratch) std::free(scratch);
}

std::int32_t KStyleContext2D::PaintOpacity() const {
  const std::int64_t shared = (std::int64_t{paint->opacity} * share) >> 16;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(shared, 0, 256));
}
