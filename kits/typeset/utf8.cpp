// Decoding UTF-8.
#include "kits/typeset/utf8.h"

namespace kalvora::typeset {

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

// The character at `i`, which moves behind it.
char32_t Next(std::string_view bytes, std::size_t& i) {
  const auto first = static_cast<unsigned char>(bytes[i++]);
  const int following = FollowingBytes(first);
  if (following < 0) return kReplacement;
  char32_t character = following > 0 ? first & (0x3Fu >> following) : first;
  for (int k = 0; k < following; ++k) {
    const unsigned char next = i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0;
    if ((next & 0xC0) != 0x80 || (k == 0 && !SecondByteFits(first, next))) return kReplacement;
    character = character << 6 | (next & 0x3F);
    ++i;
  }
  return character;
}

}  // namespace

void DecodeUtf8(std::string_view bytes, std::u32string& characters,
                std::vector<std::uint32_t>& offsets) {
  characters.clear();
  offsets.clear();
  for (std::size_t i = 0; i < bytes.size();) {
    offsets.push_back(static_cast<std::uint32_t>(i));
    characters.push_back(Next(bytes, i));
  }
  offsets.push_back(static_cast<std::uint32_t>(bytes.size()));
}

}  // namespace kalvora::typeset
