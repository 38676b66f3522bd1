// Looking up the properties of a character.
#include "kits/typeset/properties.h"

#include <algorithm>

namespace kalvora::typeset {

Properties PropertiesOf(char32_t character) {
  const std::uint32_t last = std::min<std::uint32_t>(character, 0x10FFFF) << 11 | 0x7FF;
  const std::uint32_t word =
      *(std::upper_bound(kPropertyTable, kPropertyTable + kPropertyCount, last) - 1);
  return {static_cast<LineClass>(word >> 5 & 0x3F), static_cast<ClusterClass>(word >> 1 & 0xF),
          (word & 1) != 0};
}

}  // namespace kalvora::typeset
