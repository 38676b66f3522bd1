// The loops on 16-byte vectors, which every 64-bit x86 processor has.
#include "kalvora/paint/loops/widths.h"

#if KALVORA_X86
#define KALVORA_WIDTH sse2
#define KALVORA_LANES 4
#include "kalvora/paint/loops/table.h"
#endif
