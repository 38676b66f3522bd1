// The loops on 32-byte vectors of x86 processors since 2013.
#include "kalvora/paint/loops/widths.h"

#if KALVORA_X86
#define KALVORA_WIDTH avx2
#define KALVORA_LANES 8
#include "kalvora/paint/loops/table.h"
#endif
