// Where lines may break, and where what a reader takes for one character ends.
#ifndef KITS_TYPESET_BOUNDARIES_H
#define KITS_TYPESET_BOUNDARIES_H

#include <string_view>
#include <vector>

namespace kalvora::typeset {

/// Whether a line ends after the character, whatever its width.
constexpr bool EndsLine(char32_t c) {
  return (c >= U'\n' && c <= U'\r') || c == 0x85 || c == 0x2028 || c == 0x2029;
}

enum class Break : unsigned char { kNone, kAllowed, kMandatory };

/// Whether a line may, or must, begin before each character of the text (Unicode Standard Annex 14,
/// with numbers taken together as a whole); never before the first. One entry a character.
void FindLineBreaks(std::u32string_view text, std::vector<Break>& breaks);

/// Whether a grapheme cluster begins at each character (Unicode Standard Annex 29, extended
/// clusters). One entry a character.
void FindClusters(std::u32string_view text, std::vector<bool>& begins);

}  // namespace kalvora::typeset

#endif
