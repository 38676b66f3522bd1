// The loops for any processor, and the choice of those for wide vectors.
#define KALVORA_WIDTH plain
#define KALVORA_WIDTH_NAME "plain"
#define KALVORA_BY_HAND 0
#include "kalvora/display/pixels/pixelloopsbody.h"
#include "kalvora/support/processor.h"

namespace kalvora {

namespace wide {
extern const PixelLoops kPixelLoops;
}

const PixelLoops& PlainPixelLoops() { return plain::kPixelLoops; }

const PixelLoops* WidePixelLoops() {
#if KALVORA_WIDE_PIXELS
#if defined(__x86_64__) || defined(__i386__)
  constexpr Vectors kNeeded = Vectors::k32Bytes;
#else
  constexpr Vectors kNeeded = Vectors::k16Bytes;
#endif
  return WidestVectors() >= kNeeded ? &wide::kPixelLoops : nullptr;
#else
  return nullptr;
#endif
}

}  // namespace kalvora
