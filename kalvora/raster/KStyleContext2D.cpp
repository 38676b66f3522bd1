// KStyleContext2D: what it owns.
#include "kalvora/raster/KStyleContext2D.h"

#include <cstdlib>

KStyleContext2D::~KStyleContext2D() {
  if (ownedTables & 1) std::free(table0);
  if (ownedTables & 2) std::free(table1);
  if (ownsScratch) std::free(scratch);
}
