// The loops a pixel at a time, for processors without vectors.
#define KALVORA_WIDTH plain
#define KALVORA_LANES 1
#include "kalvora/paint/loops/table.h"
