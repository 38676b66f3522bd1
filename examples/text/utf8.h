// UTF-8 into characters.
#ifndef EXAMPLES_TEXT_UTF8_H
#define EXAMPLES_TEXT_UTF8_H

#include <string>
#include <string_view>

namespace typeset {

/// The characters of a UTF-8 text. Every sequence that is malformed, too long, a surrogate or
/// beyond U+10FFFF becomes U+FFFD.
std::u32string DecodeUtf8(std::string_view bytes);

}  // namespace typeset

#endif
