// Decoding UTF-8, as the library reads it.
#include "kits/typeset/utf8.h"

#include "kalvora/text/KUtf8.h"

namespace kalvora::typeset {

void DecodeUtf8(std::string_view bytes, std::u32string& characters,
                std::vector<std::uint32_t>& offsets) {
  characters.clear();
  offsets.clear();
  const char *at = bytes.data(), *const end = at + bytes.size();
  while (at != end) {
    offsets.push_back(static_cast<std::uint32_t>(at - bytes.data()));
    characters.push_back(KUtf8::Next(at, end));
  }
  offsets.push_back(static_cast<std::uint32_t>(bytes.size()));
}

}  // namespace kalvora::typeset
