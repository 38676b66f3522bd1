// UTF-8 into characters, each with the place that it came from.
#ifndef KITS_TYPESET_UTF8_H
#define KITS_TYPESET_UTF8_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kalvora::typeset {

/// The characters of a text, and where in its bytes each begins; `offsets` holds one entry more,
/// the length. Every maximal part that is malformed, too long, a surrogate or beyond U+10FFFF
/// becomes one U+FFFD.
void DecodeUtf8(std::string_view bytes, std::u32string& characters,
                std::vector<std::uint32_t>& offsets);

}  // namespace kalvora::typeset

#endif
