// The bidirectional algorithm, which FriBidi knows.
#include "kits/typeset/bidi.h"

#include <algorithm>
#include <cstddef>

#include <fribidi.h>

namespace kalvora::typeset {

namespace {

FriBidiParType BaseOf(KTextDirection direction) {
  switch (direction) {
    case KTextLeftToRight:
      return FRIBIDI_PAR_LTR;
    case KTextRightToLeft:
      return FRIBIDI_PAR_RTL;
    default:
      return FRIBIDI_PAR_ON;  // by the first character that has a direction, else left to right
  }
}

Level LevelOf(FriBidiParType base) { return static_cast<Level>(FRIBIDI_IS_RTL(base)); }

bool EndsPart(char32_t c) {
  return c == U'\n' || c == U'\r' || (c >= 0x1C && c <= 0x1E) || c == 0x85 || c == 0x2029;
}

std::size_t EndOfPart(std::u32string_view text, std::size_t begin) {
  std::size_t end = begin;
  while (end < text.size() && !EndsPart(text[end])) ++end;
  if (end < text.size()) end += text.substr(end, 2) == U"\r\n" ? 2 : 1;
  return end;
}

}  // namespace

void FindLevels(std::u32string_view text, KTextDirection direction, std::vector<Level>& levels,
                std::vector<BidiPart>& parts) {
  levels.resize(text.size());
  parts.clear();
  std::vector<FriBidiCharType> types;
  std::vector<FriBidiBracketType> brackets;
  std::size_t begin = 0;
  do {
    const std::size_t end = EndOfPart(text, begin);
    const auto length = static_cast<FriBidiStrIndex>(end - begin);
    FriBidiParType base = BaseOf(direction);
    if (length > 0) {
      static_assert(sizeof(FriBidiChar) == sizeof(char32_t));
      const auto* characters = reinterpret_cast<const FriBidiChar*>(text.data() + begin);
      types.resize(end - begin);
      brackets.resize(end - begin);
      fribidi_get_bidi_types(characters, length, types.data());
      fribidi_get_bracket_types(characters, length, types.data(), brackets.data());
      if (fribidi_get_par_embedding_levels_ex(types.data(), brackets.data(), length, &base,
                                              levels.data() + begin) == 0) {
        std::fill_n(levels.begin() + static_cast<std::ptrdiff_t>(begin), length, LevelOf(base));
      }
    }
    parts.push_back({end, LevelOf(base)});
    begin = end;
  } while (begin < text.size());
}

void FindVisualOrder(const std::vector<Level>& levels, std::vector<std::uint32_t>& order) {
  order.resize(levels.size());
  int highest = 0, lowestOdd = 127;
  for (std::size_t i = 0; i < levels.size(); ++i) {
    order[i] = static_cast<std::uint32_t>(i);
    highest = std::max<int>(highest, levels[i]);
    if (levels[i] & 1) lowestOdd = std::min<int>(lowestOdd, levels[i]);
  }
  // From the highest level down, what stands at a level and above is turned around.
  for (int level = highest; level >= lowestOdd; --level) {
    for (std::size_t i = 0; i < levels.size();) {
      std::size_t end = i;
      while (end < levels.size() && levels[end] >= level) ++end;
      std::reverse(order.begin() + static_cast<std::ptrdiff_t>(i),
                   order.begin() + static_cast<std::ptrdiff_t>(end));
      i = std::max(end, i + 1);
    }
  }
}

}  // namespace kalvora::typeset
