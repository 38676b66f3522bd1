// The widths that are compiled for this processor family, from the narrowest to the widest.
#ifndef KALVORA_PAINT_LOOPS_WIDTHS_H
#define KALVORA_PAINT_LOOPS_WIDTHS_H

#if defined(__x86_64__) || defined(__i386__)
#define KALVORA_X86 1
#else
#define KALVORA_X86 0
#endif

// On ARMv7 the file is compiled for NEON, and used where the kernel reports it; ARMv6 has none.
#if defined(__aarch64__) || (defined(__arm__) && __ARM_ARCH >= 7)
#define KALVORA_NEON 1
#else
#define KALVORA_NEON 0
#endif

/// Calls X(namespace of the width) for each.
#if KALVORA_X86
#define KALVORA_EACH_WIDTH(X) X(plain) X(sse2) X(avx2)
#elif KALVORA_NEON
#define KALVORA_EACH_WIDTH(X) X(plain) X(neon)
#else
#define KALVORA_EACH_WIDTH(X) X(plain)
#endif

#endif
