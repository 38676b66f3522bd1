// KMem: bursts of eight words, aligned to eight bytes, with read-ahead.
#include "kalvora/support/KMem.h"

namespace {

// The bytes may belong to objects of any type.
using Word = std::uint32_t __attribute__((may_alias));

constexpr unsigned kReadAhead = 96;  // bytes beyond the start of the block being copied

template <typename T>
unsigned Misalignment(const T* p, unsigned alignment) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(p) & (alignment - 1));
}

// A hint, never a load: the address may lie beyond the source.
void Prefetch(const Word* p) {
  __builtin_prefetch(
      reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(p) + kReadAhead));
}

void Copy8(Word* dst, const Word* src) {
  const Word a = src[0], b = src[1], c = src[2], d = src[3];
  const Word e = src[4], f = src[5], g = src[6], h = src[7];
  dst[0] = a, dst[1] = b, dst[2] = c, dst[3] = d;
  dst[4] = e, dst[5] = f, dst[6] = g, dst[7] = h;
}

void Fill8(Word* dst, Word value) {
  dst[0] = value, dst[1] = value, dst[2] = value, dst[3] = value;
  dst[4] = value, dst[5] = value, dst[6] = value, dst[7] = value;
}

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
  switch (words) {
    case 7:
      dst[6] = src[6];
      [[fallthrough]];
    case 6:
      dst[5] = src[5];
      [[fallthrough]];
    case 5:
      dst[4] = src[4];
      [[fallthrough]];
    case 4:
      dst[3] = src[3];
      [[fallthrough]];
    case 3:
      dst[2] = src[2];
      [[fallthrough]];
    case 2:
      dst[1] = src[1];
      [[fallthrough]];
    case 1:
      dst[0] = src[0];
      [[fallthrough]];
    default:
      break;
  }
}

void FillRest(Word* dst, Word value, unsigned words) {
  for (; words >= 8; words -= 8, dst += 8) Fill8(dst, value);
  for (; words > 0; --words) *dst++ = value;
}

Word* AsWords(char* p) { return static_cast<Word*>(static_cast<void*>(p)); }
const Word* AsWords(const char* p) { return static_cast<const Word*>(static_cast<const void*>(p)); }

void CopyBytes(char* dst, const char* src, unsigned bytes) {
  for (; bytes > 0; --bytes) *dst++ = *src++;
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
  const auto byte = static_cast<unsigned char>(value);
  unsigned head = (4 - Misalignment(dst, 4)) % 4;
  if (bytes <= 2 || head > bytes) head = bytes;
  for (; head > 0; --head, --bytes) *dst++ = value;
  const unsigned words = bytes / 4;
  FillRest(AsWords(dst), byte * 0x01010101u, words);
  dst += words * 4;
  for (bytes %= 4; bytes > 0; --bytes) *dst++ = value;
}

void KMem::Memset32(std::uint32_t* dst, std::uint32_t value, unsigned words) {
  if (words == 0) return;
  Word* p = dst;
  if (Misalignment(p, 8) != 0) {
    *p++ = value;
    if (--words == 0) return;
  }
  if (words % 16 == 0) {
    for (; words > 0; words -= 16, p += 16) {
      Fill8(p, value);
      Fill8(p + 8, value);
    }
    return;
  }
  FillRest(p, value, words);
}
