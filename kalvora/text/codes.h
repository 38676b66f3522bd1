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
  Utf16Codes(const unsigned short* text, unsigned count) : units_(text), size_(count) {}

  /// The next code, and the place of its first unit. False at the end.
  bool Next(std::uint32_t& code, unsigned& place) {
    if (at_ == size_) return false;
    place = at_;
    code = units_[at_++];
    if ((code & 0xFC00) == 0xD800 && at_ < size_ && (units_[at_] & 0xFC00) == 0xDC00) {
      code = 0x10000 + ((code & 0x3FF) << 10 | (units_[at_++] & 0x3FFu));
    }
    return true;
  }

 private:
  const unsigned short* units_;
  unsigned size_;
  unsigned at_ = 0;
};

/// Of UTF-8. Places count characters, those that stand for broken bytes too.
class Utf8Codes {
 public:
  explicit Utf8Codes(std::string_view text) : at_(text.data()), end_(at_ + text.size()) {}

  bool Next(std::uint32_t& code, unsigned& place) {
    if (at_ == end_) return false;
    code = KUtf8::Next(at_, end_);
    place = count_++;
    return true;
  }

  /// How many codes are left.
  unsigned Count() const {
    unsigned left = 0;
    for (const char* p = at_; p != end_; ++left) KUtf8::Next(p, end_);
    return left;
  }

 private:
  const char* at_;
  const char* end_;
  unsigned count_ = 0;
};

/// Of glyph indices, as they are.
class Indices {
 public:
  Indices(const std::uint32_t* glyphs, unsigned count) : indices_(glyphs), size_(count) {}

  bool Next(std::uint32_t& index, unsigned& place) {
    if (at_ == size_) return false;
    place = at_;
    index = indices_[at_++];
    return true;
  }

 private:
  const std::uint32_t* indices_;
  unsigned size_;
  unsigned at_ = 0;
};

}  // namespace kalvora

#endif
