// Content: what a paragraph's text is before it has lines: characters, levels, runs and glyphs.
#ifndef KITS_TYPESET_CONTENT_H
#define KITS_TYPESET_CONTENT_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "kalvora/typeset/KTextStyle.h"

#include "kits/typeset/bidi.h"

namespace kalvora::typeset {

/// What lines ask of a character.
struct Unit {
  std::int32_t advance = 0;  ///< of the glyphs that begin with it; 0 within
  bool mayBreak : 1 = false;
  bool mustBreak : 1 = false;
  bool cluster : 1 = false;    ///< a grapheme cluster begins
  bool glyphs : 1 = false;     ///< glyphs of its own begin, so that the text may be cut before it
  bool unsafe : 1 = false;     ///< cut here, both sides have to be shaped again
  bool space : 1 = false;      ///< hangs over the end of a line
  bool stretches : 1 = false;  ///< justified lines widen it
  bool ideograph : 1 = false;  ///< justified lines may put space before it
};

struct Glyph {
  std::uint32_t index;
  bool unsafe;              ///< cut before it, both sides have to be shaped again
  std::uint32_t character;  ///< the first of those that it stands for, with its neighbours
  std::int32_t advance;     ///< 16.16 pixels to the right
  std::int32_t x, y;        ///< where it is drawn, from the pen, y downward
};

/// Characters of one style, font, script and level.
struct Item {
  std::uint32_t begin, end;  ///< characters
  std::uint32_t style;       ///< its place among the styles
  KTypeface* face;           ///< null when there is no font at all
  KFixed size;
  std::uint32_t script;  ///< HarfBuzz's tag
  Level level;
  bool tab = false;              ///< one tab stop, which has no glyph
  std::uint32_t firstGlyph = 0;  ///< glyphs go from left to right
  std::uint32_t glyphCount = 0;

  bool IsRightToLeft() const { return (level & 1) != 0; }
};

/// A style's size as it is shown.
inline KFixed SizeOf(const KTextStyle& style) {
  return std::clamp(style.size, KFixed::FromInt(0), KFixed::FromInt(4096));
}

/// A style from a byte on, up to the next one's.
struct StyleRun {
  std::uint32_t begin;
  KTextStyle style;
};

struct Content {
  std::string text;
  std::vector<StyleRun> styles;  ///< the first begins at 0
  std::vector<KTypeface*> fallbacks;

  std::u32string characters;
  std::vector<std::uint32_t> offsets;  ///< the byte of each character, and the length
  std::vector<Unit> units;             ///< one more than characters
  std::vector<BidiPart> parts;
  std::vector<Item> items;
  std::vector<Glyph> glyphs;

  std::uint32_t Size() const { return static_cast<std::uint32_t>(characters.size()); }
  /// The last character that begins at or before a byte; the end for the end and beyond.
  std::uint32_t CharacterAt(std::size_t byte) const;
  /// The item of a character that there is.
  std::uint32_t ItemOf(std::uint32_t character) const;
  /// The style of a byte.
  const KTextStyle& StyleAt(std::size_t byte) const { return styles[StyleIndex(byte)].style; }
  std::uint32_t StyleIndex(std::size_t byte) const;
};

/// Fills in everything after the text, its styles and the fallbacks. With `keep`, items that are as
/// they were when this was called last keep their glyphs: for edits, and for styles.
void Analyse(Content& content, const KParagraphFormat& format, bool keep);

/// What a font takes above and below the baseline, and the gap that it asks for between lines.
struct FontHeights {
  KLength ascent = 0, descent = 0, gap = 0;
};
FontHeights HeightsOf(const KTypeface* face, KFixed size);

}  // namespace kalvora::typeset

#endif
