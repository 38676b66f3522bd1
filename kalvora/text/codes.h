// Reading character codes from text, one after another.
#ifndef KALVORA_TEXT_CODES_H
#define KALVORA_TEXT_CODES_H

#include <cstdint>
#include <string_view>

#include "kalvora/text/KUtf8.h"

namespace kalvora {

/// Of 16-bit units. Surrogate pairs are one code; half a pair alone is a code of its own.
class Utf16Codes {
 public:
  Utf16Codes(const unsigned short* text, unsigned count) : units(text), size(count) {}

  /// The next code, and the place of its first unit. False at the end.
  bool Next(std::uint32_t& code, unsigned& place) {
    if (at == size) return false;
    place = at;
    code = units[at++];
    if ((code & 0xFC00) == 0xD800 && at < size && (units[at] & 0xFC00) == 0xDC00) {
      code = 0x10000 + ((code & 0x3FF) << 10 | (units[at++] & 0x3FFu));
    }
    return true;
  }

 private:
  const unsigned short* units;
  unsigned size;
  unsigned at = 0;
};

/// Of UTF-8. Places count characters, those that stand for broken bytes too.
class Utf8Codes {
 public:
  explicit Utf8Codes(std::string_view text) : at(text.data()), end(at + text.size()) {}

  bool Next(std::uint32_t& code, unsigned& place) {
    if (at == end) return false;
    code = KUtf8::Next(at, end);
    place = count++;
    return true;
  }

  /// How many codes are left.
  unsigned Count() const {
    unsigned left = 0;
    for (const char* p = at; p != end; ++left) KUtf8::Next(p, end);
    return left;
  }

 private:
  const char* at;
  const char* end;
  unsigned count = 0;
};

/// Of glyph indices, as they are.
class Indices {
 public:
  Indices(const std::uint32_t* glyphs, unsigned count) : indices(glyphs), size(count) {}

  bool Next(std::uint32_t& index, unsigned& place) {
    if (at == size) return false;
    place = at;
    index = indices[at++];
    return true;
  }

 private:
  const std::uint32_t* indices;
  unsigned size;
  unsigned at = 0;
};

}  // namespace kalvora

#endif
