// Bidirectional order: the levels of characters, and the order of runs on a line.
#ifndef KITS_TYPESET_BIDI_H
#define KITS_TYPESET_BIDI_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "kalvora/typeset/KTextStyle.h"

namespace kalvora::typeset {

using Level = std::int8_t;  ///< odd where text runs from right to left

/// A part of a text that ends at a paragraph separator or at its end, and the level of its lines.
struct BidiPart {
  std::size_t end;
  Level base;
};

/// The level of each character (Unicode Standard Annex 9), and the parts of the text, which has at
/// least one. Where memory runs out, everything has the level of its part.
void FindLevels(std::u32string_view text, KTextDirection direction, std::vector<Level>& levels,
                std::vector<BidiPart>& parts);

/// The order in which runs of these levels stand on a line, from left to right.
void FindVisualOrder(const std::vector<Level>& levels, std::vector<std::uint32_t>& order);

}  // namespace kalvora::typeset

#endif
