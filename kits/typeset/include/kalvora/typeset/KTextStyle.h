// KTextStyle and KParagraphFormat: how the characters and the lines of a paragraph look.
#ifndef KALVORA_TYPESET_KTEXTSTYLE_H
#define KALVORA_TYPESET_KTEXTSTYLE_H

#include <cstdint>
#include <optional>
#include <string>

#include "kalvora/core/KColor32.h"
#include "kalvora/core/KFixed.h"

class KTypeface;

/// A length or a place in pixels, times 65536: 16.16 that goes on above, so that lines may be
/// longer than 32,767 pixels. y grows downward.
using KLength = std::int64_t;

/// The length of so many pixels.
constexpr KLength KPixels(std::int64_t pixels) { return pixels * 65536; }
/// The nearest whole pixel.
constexpr std::int64_t KRoundLength(KLength length) { return (length + 0x8000) >> 16; }

/// A width that lines never reach.
inline constexpr KLength KUnlimited = INT64_MAX / 4;

enum KTextAlign : std::int32_t {
  KAlignStart = 0,  ///< where the line begins: left, or right where it runs from right to left
  KAlignEnd = 1,
  KAlignCentre = 2,
  KAlignJustify = 3,  ///< like start, with wider spaces in lines that were broken to fit
};

enum KTextDirection : std::int32_t {
  KTextAuto = 0,  ///< by the first character that has a direction
  KTextLeftToRight = 1,
  KTextRightToLeft = 2,
};

/// How a range of characters looks.
struct KTextStyle {
  KTypeface* face = nullptr;          ///< borrowed; null shows in the fallbacks alone
  KFixed size = KFixed::FromInt(18);  ///< in pixels; held to 0 .. 4096
  std::optional<KColor32> color;      ///< straight; without one, the context's fill paint

  bool operator==(const KTextStyle&) const = default;
};

/// How the lines of a paragraph are made.
struct KParagraphFormat {
  /// Lines are at most so wide. One that cannot be is one character wide, or the one picture or
  /// ligature that stands for several: zero and negative widths give as narrow a column as there
  /// is.
  KLength width = KUnlimited;
  KTextAlign align = KAlignStart;
  KTextDirection direction = KTextAuto;
  /// The distance of lines, in heights that the fonts ask for; held to 0 .. 16.
  KFixed lineSpacing = KFixed::FromInt(1);
  unsigned maxLines = 0;  ///< what comes later is left out; 0 leaves nothing out
  bool wrap = true;       ///< else lines end only where the text says so
  /// A line that loses text ends in an ellipsis: the last of `maxLines`, and without `wrap` each
  /// that is too wide.
  bool ellipsis = false;
  std::string language = {};  ///< as in BCP 47, "sr" or "zh-Hant"; fonts show some characters by it

  bool operator==(const KParagraphFormat&) const = default;
};

#endif
