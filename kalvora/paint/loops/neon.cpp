// The loops on 16-byte vectors of ARM processors.
#include "kalvora/paint/loops/widths.h"

#if KALVORA_NEON
#define KALVORA_WIDTH neon
#define KALVORA_LANES 4
#include "kalvora/paint/loops/table.h"
#endif
