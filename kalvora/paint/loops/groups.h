// Rows in groups of pixels: as many as fit, pointers and counts being left at the rest. On 32-bit
// ARM by instructions with lists of registers, which compilers do not make of single loads and
// stores, and two vectors at a time, so that no multiplication is waited for. Elsewhere it makes no
// difference, and mostly nothing is done here.
#ifndef KALVORA_PAINT_LOOPS_GROUPS_H
#define KALVORA_PAINT_LOOPS_GROUPS_H

#include "kalvora/paint/loops/lanes.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

// The first Thumb instructions lack some of those.
#if defined(__arm__) && (!defined(__thumb__) || defined(__thumb2__))
#define KALVORA_ARM 1
#define KALVORA_LOOP(body) "1:\n\t" body "subs %[turns], %[turns], #1\n\tbne 1b"
#endif

#if defined(KALVORA_ARM) && KALVORA_LANES == 4

/// d = c, 16 pixels at a time.
inline void FillGroups(std::uint32_t*& to, const std::uint32_t* end, Words c) {
  std::ptrdiff_t turns = (end - to) / 16;
  if (turns <= 0) return;
  asm volatile(
      "vmov q8, %q[c]\n\tvmov q9, %q[c]\n\tvmov q10, %q[c]\n\tvmov q11, %q[c]\n" KALVORA_LOOP(
          "vstmia %[to]!, {d16-d23}\n\t")
      : [to] "+r"(to), [turns] "+r"(turns)
      : [c] "w"(c)
      : "d16", "d17", "d18", "d19", "d20", "d21", "d22", "d23", "cc", "memory");
}

/// d = s, 16 pixels at a time.
inline void CopyGroups(std::uint32_t*& to, const std::uint32_t*& source, int& n) {
  int turns = n / 16;
  if (turns <= 0) return;
  n %= 16;
  asm volatile(KALVORA_LOOP("vldmia %[source]!, {d16-d23}\n\tvstmia %[to]!, {d16-d23}\n\t")
               : [to] "+r"(to), [source] "+r"(source), [turns] "+r"(turns)
               :
               : "d16", "d17", "d18", "d19", "d20", "d21", "d22", "d23", "cc", "memory");
}

// d' = floor(d rest / 256) + s for the pixels d of q8 and q9, into q10 and q11.
#define KALVORA_OVER(rest0, rest1, s0, s1)                                                  \
  "vshr.u16 q10, q8, #8\n\tvshr.u16 q11, q9, #8\n\t"                                        \
  "vbic.i16 q8, #0xff00\n\tvbic.i16 q9, #0xff00\n\t"                                        \
  "vmul.i16 q10, q10, " rest0 "\n\tvmul.i16 q11, q11, " rest1 "\n\tvmul.i16 q8, q8, " rest0 \
  "\n\tvmul.i16 q9, q9, " rest1                                                             \
  "\n\tvsri.16 q10, q8, #8\n\tvsri.16 q11, q9, #8\n\t"                                      \
  "vadd.i32 q10, q10, " s0 "\n\tvadd.i32 q11, q11, " s1 "\n\tvstmia %[to]!, {d20-d23}\n\t"

/// d = over(d, s), one colour for all pixels, 8 pixels at a time.
inline void OverGroups(std::uint32_t*& to, int& n, Words s) {
  int turns = n / 8;
  if (turns <= 0) return;
  n %= 8;
  asm volatile(KALVORA_LOOP("vldmia %[to], {d16-d19}\n\t" KALVORA_OVER("%q[rest]", "%q[rest]",
                                                                       "%q[s]", "%q[s]"))
               : [to] "+r"(to), [turns] "+r"(turns)
               : [s] "w"(s), [rest] "w"(BothRest(s))
               : "d16", "d17", "d18", "d19", "d20", "d21", "d22", "d23", "cc", "memory");
}

/// d = over(d, s), 8 pixels at a time.
inline void OverGroups(std::uint32_t*& to, const std::uint32_t*& source, int& n) {
  int turns = n / 8;
  if (turns <= 0) return;
  n %= 8;
  // As in BothRest.
  asm volatile(KALVORA_LOOP("vldmia %[source]!, {d24-d27}\n\tvldmia %[to], {d16-d19}\n\t"
                            "vshr.u32 q14, q12, #24\n\tvshr.u32 q15, q13, #24\n\t"
                            "vsra.u32 q14, q12, #31\n\tvsra.u32 q15, q13, #31\n\t"
                            "vsub.i32 q14, %q[all], q14\n\tvsub.i32 q15, %q[all], q15\n\t"
                            "vsli.32 q14, q14, #16\n\tvsli.32 q15, q15, #16\n\t" KALVORA_OVER(
                                "q14", "q15", "q12", "q13"))
               : [to] "+r"(to), [source] "+r"(source), [turns] "+r"(turns)
               : [all] "w"(All(256))
               : "d16", "d17", "d18", "d19", "d20", "d21", "d22", "d23", "d24", "d25", "d26", "d27",
                 "d28", "d29", "d30", "d31", "cc", "memory");
}

#undef KALVORA_OVER

/// A colour's channels, eight times each.
struct ColorPlanes {
  uint8x8_t b, g, r, a;

  explicit ColorPlanes(std::uint32_t c)
      : b(vdup_n_u8(static_cast<std::uint8_t>(c))),
        g(vdup_n_u8(static_cast<std::uint8_t>(c >> 8))),
        r(vdup_n_u8(static_cast<std::uint8_t>(c >> 16))),
        a(vdup_n_u8(static_cast<std::uint8_t>(c >> 24))) {}
};

// With a weight m + k, k being 1 above 128, d' = floor((d (255 - m) + c m + (k ? c : d)) / 256): of
// 8-bit numbers, channel by channel. From d16 to d19 and m in d20.
#define KALVORA_LERP(b, g, r, a)                                                         \
  "vmvn d21, d20\n\tvmull.u8 q12, d16, d21\n\tvmull.u8 q13, d17, d21\n\t"                \
  "vmull.u8 q14, d18, d21\n\tvmull.u8 q15, d19, d21\n\tvcgt.u8 d21, d20, %P[half]\n\t"   \
  "vmlal.u8 q12, %P[b], d20\n\tvmlal.u8 q13, %P[g], d20\n\tvmlal.u8 q14, %P[r], d20\n\t" \
  "vmlal.u8 q15, %P[a], d20\n\tvbit d16, %P[b], d21\n\tvbit d17, %P[g], d21\n\t"         \
  "vbit d18, %P[r], d21\n\tvbit d19, %P[a], d21\n\tvaddw.u8 q12, q12, d16\n\t"           \
  "vaddw.u8 q13, q13, d17\n\tvaddw.u8 q14, q14, d18\n\tvaddw.u8 q15, q15, d19\n\t"       \
  "vshrn.i16 " b ", q12, #8\n\tvshrn.i16 " g ", q13, #8\n\tvshrn.i16 " r                 \
  ", q14, #8\n\t"                                                                        \
  "vshrn.i16 " a ", q15, #8\n\t"

/// d = lerp(d, c, mask) of a row of 8 pixels or more. The last eight may overlap: they are made of
/// the pixels as they were.
inline void LerpMaskedRow(std::uint32_t* to, const std::uint8_t* mask, int n,
                          const ColorPlanes& c) {
  int turns = (n - 1) / 8;
  asm volatile(
      "vld4.8 {d16-d19}, [%[end]]\n\tvld1.8 {d20}, [%[maskEnd]]\n\t" KALVORA_LERP(
          "d4", "d5", "d6", "d7") "cmp %[turns], #0\n\tbeq 2f\n"
      KALVORA_LOOP("vld4.8 {d16-d19}, [%[to]]\n\tvld1.8 {d20}, [%[mask]]!\n\t"
                   KALVORA_LERP("d16", "d17", "d18", "d19") "vst4.8 {d16-d19}, [%[to]]!\n\t")
      "\n2:\tvst4.8 {d4-d7}, [%[end]]"
      : [to] "+r"(to), [mask] "+r"(mask), [turns] "+r"(turns)
      : [end] "r"(to + n - 8), [maskEnd] "r"(mask + n - 8), [b] "w"(c.b), [g] "w"(c.g),
        [r] "w"(c.r), [a] "w"(c.a), [half] "w"(vdup_n_u8(128))
      : "d4", "d5", "d6", "d7", "d16", "d17", "d18", "d19", "d20", "d21", "d24", "d25", "d26",
        "d27", "d28", "d29", "d30", "d31", "cc", "memory");
}

#undef KALVORA_LERP

/// The same of a row of 4 to 7 pixels, which two vectors hold, the second one `last` pixels behind
/// the first: weights are made of the mask's bytes together.
inline void LerpMaskedPair(std::uint32_t* to, const std::uint8_t* mask, int last, Words lo,
                           Words hi) {
  // d' = d (256 - w) + c w, two channels of each pixel at a time.
  Words a = Load(to), b = Load(to + last), first, w, second, rest;
  asm("vmov %e[w], %[m0], %[m1]\n\tvcgt.u8 %e[rest], %e[w], %P[half]\n\t"
      "vmovl.u8 %q[w], %e[w]\n\tvsubw.s8 %q[w], %q[w], %e[rest]\n\t"
      "vmov %q[second], %q[w]\n\tvzip.16 %q[w], %q[second]\n\t"
      "vsub.i16 %q[rest], %q[all], %q[w]\n\tvshr.u16 %q[first], %q[a], #8\n\t"
      "vbic.i16 %q[a], #0xff00\n\tvmul.i16 %q[first], %q[first], %q[rest]\n\t"
      "vmul.i16 %q[a], %q[a], %q[rest]\n\tvmla.i16 %q[first], %q[hi], %q[w]\n\t"
      "vmla.i16 %q[a], %q[lo], %q[w]\n\tvsub.i16 %q[rest], %q[all], %q[second]\n\t"
      "vsri.16 %q[first], %q[a], #8\n\tvshr.u16 %q[a], %q[b], #8\n\t"
      "vbic.i16 %q[b], #0xff00\n\tvmul.i16 %q[a], %q[a], %q[rest]\n\t"
      "vmul.i16 %q[b], %q[b], %q[rest]\n\tvmla.i16 %q[a], %q[hi], %q[second]\n\t"
      "vmla.i16 %q[b], %q[lo], %q[second]\n\tvsri.16 %q[a], %q[b], #8"
      : [a] "+w"(a), [b] "+w"(b), [first] "=&w"(first), [w] "=&w"(w), [second] "=&w"(second),
        [rest] "=&w"(rest)
      : [m0] "r"(LoadAs<std::uint32_t>(mask)), [m1] "r"(LoadAs<std::uint32_t>(mask + last)),
        [half] "w"(vdup_n_u8(128)), [all] "w"(All(0x01000100)), [lo] "w"(lo), [hi] "w"(hi));
  Store(to, first);
  Store(to + last, a);
}

#else

inline void FillGroups(std::uint32_t*& to, const std::uint32_t* end, Words c) {
  for (; to <= end - 4 * kLanes; to += 4 * kLanes) {
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) Store(to + k * kLanes, c);
  }
}
inline void CopyGroups(std::uint32_t*&, const std::uint32_t*&, int&) {}
inline void OverGroups(std::uint32_t*&, int&, Words) {}
inline void OverGroups(std::uint32_t*&, const std::uint32_t*&, int&) {}

#endif

/// to[i] = table[index[i]], 4 pixels at a time.
#if defined(KALVORA_ARM)
inline void PickGroups(std::uint32_t*& to, const std::uint32_t*& index, int& n,
                       const std::uint32_t* table) {
  int turns = n / 4;
  if (turns <= 0) return;
  n %= 4;
  asm volatile(
      KALVORA_LOOP("ldmia %[index]!, {r4, r5, r6, r8}\n\tldr r4, [%[table], r4, lsl #2]\n\t"
                   "ldr r5, [%[table], r5, lsl #2]\n\tldr r6, [%[table], r6, lsl #2]\n\t"
                   "ldr r8, [%[table], r8, lsl #2]\n\tstmia %[to]!, {r4, r5, r6, r8}\n\t")
      : [to] "+r"(to), [index] "+r"(index), [turns] "+r"(turns)
      : [table] "r"(table)
      : "r4", "r5", "r6", "r8", "cc", "memory");
}
#undef KALVORA_LOOP
#undef KALVORA_ARM
#else
inline void PickGroups(std::uint32_t*& to, const std::uint32_t*& index, int& n,
                       const std::uint32_t* table) {
  for (; n >= 4; n -= 4, to += 4, index += 4) {
    const std::uint32_t a = table[index[0]], b = table[index[1]];
    const std::uint32_t c = table[index[2]], d = table[index[3]];
    to[0] = a, to[1] = b, to[2] = c, to[3] = d;
  }
}
#endif

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
