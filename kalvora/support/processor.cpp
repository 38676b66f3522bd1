// Processors: by hand, because the compiler's own functions for it weigh 5 KB.
#include "kalvora/support/processor.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#elif defined(__arm__)
#include <sys/auxv.h>
#endif

namespace kalvora {

#if defined(__x86_64__) || defined(__i386__)
namespace {

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

}  // namespace

Vectors WidestVectors() {
  const CpuId basic(1);
  if (!(basic.d & bit_SSE2)) return Vectors::kNone;
  constexpr unsigned kAvx = bit_OSXSAVE | bit_AVX;
  const bool avx2 = (basic.c & kAvx) == kAvx && SavesVectors() && (CpuId(7).b & bit_AVX2);
  return avx2 ? Vectors::k32Bytes : Vectors::k16Bytes;
}
#elif defined(__aarch64__)
Vectors WidestVectors() { return Vectors::k16Bytes; }
#elif defined(__arm__)
Vectors WidestVectors() {
  constexpr unsigned long kNeon = 1ul << 12;  // HWCAP_NEON
  return (getauxval(AT_HWCAP) & kNeon) != 0 ? Vectors::k16Bytes : Vectors::kNone;
}
#else
Vectors WidestVectors() { return Vectors::kNone; }
#endif

}  // namespace kalvora
