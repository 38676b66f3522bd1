// Unicode properties of characters: what the rules of lines and clusters ask for.
#ifndef KITS_TYPESET_PROPERTIES_H
#define KITS_TYPESET_PROPERTIES_H

#include <cstddef>
#include <cstdint>

namespace kalvora::typeset {

/// Line breaking classes, under the names of Unicode Standard Annex 14. Classes that its first rule
/// resolves (AI, CJ, SA, SG, XX) are resolved in the table; three are split by what later rules
/// ask.
enum class LineClass : std::uint8_t {
  kAL,
  kB2,
  kBA,
  kBB,
  kBK,
  kCB,
  kCL,
  kCM,
  kCP,
  kCPwide,
  kCR,
  kEB,
  kEM,
  kEX,
  kGL,
  kH2,
  kH3,
  kHL,
  kHY,
  kID,
  kIDpicture,
  kIN,
  kIS,
  kJL,
  kJT,
  kJV,
  kLF,
  kNL,
  kNS,
  kNU,
  kOP,
  kOPwide,
  kPO,
  kPR,
  kQU,
  kRI,
  kSP,
  kSY,
  kWJ,
  kZW,
  kZWJ
};

/// Classes of grapheme clusters (Unicode Standard Annex 29); kPicture is Extended_Pictographic.
enum class ClusterClass : std::uint8_t {
  kOther,
  kCR,
  kLF,
  kControl,
  kExtend,
  kZWJ,
  kRegionalIndicator,
  kPrepend,
  kSpacingMark,
  kL,
  kV,
  kT,
  kLV,
  kLVT,
  kPicture
};

struct Properties {
  LineClass line;
  ClusterClass cluster;
  bool emoji;  ///< shown as a picture unless a selector asks for text
};

/// Any value; what is no character is like one that is not assigned.
Properties PropertiesOf(char32_t character);

/// The first character of each range with equal properties, and these in the low 11 bits: line
/// class, cluster class (4 bits), emoji (1 bit).
extern const std::uint32_t kPropertyTable[];
extern const std::size_t kPropertyCount;

}  // namespace kalvora::typeset

#endif
