// Decoding UTF-8.
#include "examples/text/utf8.h"

namespace typeset {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Bytes that follow a first byte, -1 for a byte that can begin nothing.
int FollowingBytes(unsigned char first) {
  if (first < 0x80) return 0;
  if (first < 0xC2) return -1;
  if (first < 0xE0) return 1;
  if (first < 0xF0) return 2;
  return first < 0xF5 ? 3 : -1;
}

// The range of the second byte, which rules out what could be written shorter, surrogates, and what
// lies beyond the last character.
bool SecondByteFits(unsigned char first, unsigned char second) {
  switch (first) {
    case 0xE0:
      return second >= 0xA0;
    case 0xED:
      return second < 0xA0;
    case 0xF0:
      return second >= 0x90;
    case 0xF4:
      return second < 0x90;
    default:
      return true;
  }
}

}  // namespace

std::u32string DecodeUtf8(std::string_view bytes) {
  std::u32string characters;
  for (std::size_t i = 0; i < bytes.size();) {
    const auto first = static_cast<unsigned char>(bytes[i++]);
    const int following = FollowingBytes(first);
    char32_t character = following > 0 ? first & (0x3Fu >> following) : first;
    bool good = following >= 0;
    for (int k = 0; good && k < following; ++k) {
      const unsigned char next = i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0;
      good = (next & 0xC0) == 0x80 && (k > 0 || SecondByteFits(first, next));
      if (!good) break;
      character = character << 6 | (next & 0x3F);
      ++i;
    }
    characters += good ? character : kReplacement;
  }
  return characters;
}

}  // namespace typeset
