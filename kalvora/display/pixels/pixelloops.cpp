// The loops for any processor, and the choice of those for wide vectors.
#define KALVORA_WIDTH plain
#define KALVORA_WIDTH_NAME "plain"
#include "kalvora/display/pixels/pixelloopsbody.h"

#if defined(__arm__)
#include <sys/auxv.h>
#endif

namespace kalvora {

namespace wide {
extern const PixelLoops kPixelLoops;
}

const PixelLoops& PlainPixelLoops() { return plain::kPixelLoops; }

const PixelLoops* WidePixelLoops() {
#if defined(__x86_64__) || defined(__i386__)
  return __builtin_cpu_supports("avx2") ? &wide::kPixelLoops : nullptr;
#elif KALVORA_WIDE_PIXELS
  constexpr unsigned long kNeon = 1ul << 12;  // HWCAP_NEON
  return (getauxval(AT_HWCAP) & kNeon) != 0 ? &wide::kPixelLoops : nullptr;
#else
  return nullptr;
#endif
}

}  // namespace kalvora
