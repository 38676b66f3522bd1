// Loops: the choice of a width.
#include "kalvora/paint/loops/loops.h"

#include <cstdlib>
#include <cstring>
#include <iterator>

#include "kalvora/paint/loops/widths.h"

#if KALVORA_X86
#include <cpuid.h>
#elif defined(__arm__)
#include <sys/auxv.h>
#endif

namespace kalvora {

#define KALVORA_DECLARE(width) \
  namespace width {            \
  extern const Loops kLoops;   \
  }
KALVORA_EACH_WIDTH(KALVORA_DECLARE)
#undef KALVORA_DECLARE

namespace {

#define KALVORA_TAKE(width) &width::kLoops,
constexpr const Loops* kCompiled[] = {KALVORA_EACH_WIDTH(KALVORA_TAKE)};
#undef KALVORA_TAKE

#if KALVORA_X86
/// What a leaf of CPUID tells; zeros where the processor does not have it.
struct CpuId {
  unsigned a = 0, b = 0, c = 0, d = 0;

  explicit CpuId(unsigned leaf) { __get_cpuid_count(leaf, 0, &a, &b, &c, &d); }
};

/// Whether the system saves the registers of 16 and 32 bytes.
bool SavesVectors() {
  unsigned low, high;
  asm("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (low & 6) == 6;
}

// By hand: the compiler's own functions for it weigh more than all loops of plain words.
std::size_t CountX86() {
  const CpuId basic(1);
  if (!(basic.d & bit_SSE2)) return 1;
  constexpr unsigned kAvx = bit_OSXSAVE | bit_AVX;
  const bool avx2 = (basic.c & kAvx) == kAvx && SavesVectors() && (CpuId(7).b & bit_AVX2);
  return avx2 ? 3 : 2;
}
#endif

/// How many of them this processor has; each one includes those before it.
std::size_t CountUsable() {
#if KALVORA_X86
  return CountX86();
#elif KALVORA_NEON && defined(__arm__)
  constexpr unsigned long kNeon = 1ul << 12;  // HWCAP_NEON
  return getauxval(AT_HWCAP) & kNeon ? 2 : 1;
#else
  return std::size(kCompiled);
#endif
}

struct Usable {
  const Loops* loops[std::size(kCompiled) + 1] = {};
  const Loops* chosen = nullptr;

  Usable() {
    const std::size_t count = CountUsable();
    const char* wanted = std::getenv("K_WIDTH");
    chosen = kCompiled[count - 1];
    for (std::size_t i = 0; i < count; ++i) {
      loops[i] = kCompiled[i];
      if (wanted && std::strcmp(wanted, loops[i]->name) == 0) chosen = loops[i];
    }
  }
};

const Usable& Widths() {
  static const Usable usable;
  return usable;
}

}  // namespace

const Loops* const* UsableLoops() { return Widths().loops; }

const Loops& ChosenLoops() { return *Widths().chosen; }

}  // namespace kalvora
