// The loops for wide vectors, AVX2 or NEON: built with their instructions, where there are any.
#if defined(__AVX2__) || defined(__ARM_NEON)
#define KALVORA_WIDTH wide
#define KALVORA_WIDTH_NAME "wide"
#define KALVORA_BY_HAND 1
#include "kalvora/display/pixels/pixelloopsbody.h"
#endif
