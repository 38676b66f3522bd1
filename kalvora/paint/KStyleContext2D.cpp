// KStyleContext2D: what it owns.
#include "kalvora/paint/KStyleContext2D.h"

#include <cstdlib>

#include "kalvora/paint/loops/loops.h"

KStyleContext2D::KStyleContext2D() { loops = &kalvora::ChosenLoops(); }

KStyleContext2D::~KStyleContext2D() {
  if (ownedTables & 1) std::free(table0);
  if (ownedTables & 2) std::free(table1);
  if (ownsScratch) std::free(scratch);
}
