// KUtf8: reading UTF-8.
#include "kalvora/text/KUtf8.h"

#include <cstdint>

// The first byte says how many follow. What the second may be keeps out longer forms of shorter
// characters, surrogates, and what lies beyond the last character.
char32_t KUtf8::Next(const char*& at, const char* end) {
  const auto byte = [](const char* p) { return static_cast<std::uint8_t>(*p); };
  const std::uint8_t first = byte(at++);
  if (first < 0x80) return first;
  if (first < 0xC2 || first > 0xF4) return kReplacement;
  const int following = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
  std::uint8_t lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  std::uint8_t highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  char32_t code = first & (0x3Fu >> following);
  for (int i = 0; i < following; ++i) {
    if (at == end || byte(at) < lowest || byte(at) > highest) return kReplacement;
    code = code << 6 | (byte(at++) & 0x3F);
    lowest = 0x80;
    highest = 0xBF;
  }
  return code;
}
