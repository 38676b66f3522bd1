// KMem: bursts of eight words, aligned to eight bytes, with read-ahead.
#include "kalvora/support/KMem.h"

namespace {

// The bytes may belong to objects of any type.
using Word = std::uint32_t __attribute__((may_alias));
// Copied as a whole, so that compilers load and store several registers at a time.
struct __attribute__((may_alias)) Block {
  std::uint32_t words[8];
};

constexpr unsigned kReadAhead = 96;  // bytes beyond the start of the block being copied

unsigned Misalignment(const void* p, unsigned alignment) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(p) & (alignment - 1));
}

Word* AsWords(char* p) { return static_cast<Word*>(static_cast<void*>(p)); }
const Word* AsWords(const char* p) { return static_cast<const Word*>(static_cast<const void*>(p)); }

// A hint, never a load: the address may lie beyond the source.
void Prefetch(const void* p) {
  const std::uintptr_t ahead = reinterpret_cast<std::uintptr_t>(p) + kReadAhead;
  __builtin_prefetch(reinterpret_cast<const void*>(ahead));
}

void Copy8(Word* dst, const Word* src) {
  *static_cast<Block*>(static_cast<void*>(dst)) =
      *static_cast<const Block*>(static_cast<const void*>(src));
}

#if defined(__arm__)
// From a list of registers, of which ARM11 stores two a cycle: compilers store them one by one.
void Fill8(Word* dst, Word value) {
  register Word a asm("r4") = value;
  register Word b asm("r5") = value;
  register Word c asm("r6") = value;
  register Word d asm("r8") = value;
  asm volatile(
      "stmia %0!, {r4, r5, r6, r8}\n\t"
      "stmia %0, {r4, r5, r6, r8}"
      : "+r"(dst)
      : "r"(a), "r"(b), "r"(c), "r"(d)
      : "memory");
}
#else
void Fill8(Word* dst, Word value) {
  dst[0] = value, dst[1] = value, dst[2] = value, dst[3] = value;
  dst[4] = value, dst[5] = value, dst[6] = value, dst[7] = value;
}
#endif

void CopyWords(Word* dst, const Word* src, unsigned words) {
  if (words == 0) return;
  if (Misalignment(src, 8) != 0) {
    *dst++ = *src++;
    --words;
  }
  for (; words >= 8; words -= 8, dst += 8, src += 8) {
    Prefetch(src);
    Copy8(dst, src);
  }
  if (words & 4) {
    dst[0] = src[0], dst[1] = src[1], dst[2] = src[2], dst[3] = src[3];
    dst += 4;
    src += 4;
  }
  if (words & 2) {
    dst[0] = src[0], dst[1] = src[1];
    dst += 2;
    src += 2;
  }
  if (words & 1) *dst = *src;
}

void FillWords(Word* dst, Word value, unsigned words) {
  if (words == 0) return;
  if (Misalignment(dst, 8) != 0) {
    *dst++ = value;
    if (--words == 0) return;
  }
  if (words % 16 == 0) {
    for (; words > 0; words -= 16, dst += 16) {
      Fill8(dst, value);
      Fill8(dst + 8, value);
    }
    return;
  }
  for (; words >= 8; words -= 8, dst += 8) Fill8(dst, value);
  for (; words > 0; --words) *dst++ = value;
}

void CopyBytes(char* dst, const char* src, unsigned bytes) {
  for (; bytes > 0; --bytes) *dst++ = *src++;
}

// 0 to 3 bytes.
void FillFewBytes(char* dst, char value, unsigned bytes) {
  if (bytes > 0) dst[0] = value;
  if (bytes > 1) dst[1] = value;
  if (bytes > 2) dst[2] = value;
}

// Bytes to copy before both pointers are word aligned, or `bytes` when they never are.
unsigned CopyHead(const char* dst, const char* src, unsigned bytes) {
  const unsigned misalignment = Misalignment(src, 4);
  if (misalignment != Misalignment(dst, 4)) return bytes;
  if (misalignment == 0) return 0;
  return bytes < 7 ? bytes : 4 - misalignment;
}

}  // namespace

void KMem::Memcpy(char* dst, const char* src, unsigned bytes) {
  const unsigned head = CopyHead(dst, src, bytes);
  CopyBytes(dst, src, head);
  dst += head;
  src += head;
  bytes -= head;
  const unsigned words = bytes / 4;
  CopyWords(AsWords(dst), AsWords(src), words);
  CopyBytes(dst + words * 4, src + words * 4, bytes % 4);
}

void KMem::Memcpy32(std::uint32_t* dst, const std::uint32_t* src, unsigned words) {
  CopyWords(dst, src, words);
}

void KMem::Memset(char* dst, char value, unsigned bytes) {
  const unsigned toBoundary = (4 - Misalignment(dst, 4)) % 4;
  const unsigned head = bytes > 2 ? toBoundary : bytes;
  FillFewBytes(dst, value, head);
  dst += head;
  bytes -= head;
  FillWords(AsWords(dst), static_cast<unsigned char>(value) * 0x01010101u, bytes / 4);
  FillFewBytes(dst + (bytes & ~3u), value, bytes % 4);
}

void KMem::Memset32(std::uint32_t* dst, std::uint32_t value, unsigned words) {
  FillWords(dst, value, words);
}
