// Shaper: HarfBuzz, giving characters and positions that the library can draw.
#ifndef EXAMPLES_TEXT_SHAPER_H
#define EXAMPLES_TEXT_SHAPER_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kalvora/kalvora.h"

struct hb_font_t;

namespace typeset {

/// A shaped run: characters that stand for its glyphs, and where each is drawn.
struct ShapedRun {
  std::u32string characters;
  std::vector<KVertex2D> positions;  ///< from the start of the run on the baseline
  KFixed width = kalvora::kZero;
  int lost = 0;  ///< glyphs that no character stands for
};

/// Shapes text in one font at one size.
///
/// HarfBuzz answers with glyphs, the library draws characters: each glyph is drawn by a character
/// that the font maps to it. The joined forms of Arabic have codes of their own in many fonts;
/// glyphs without one are left out and counted.
class Shaper {
 public:
  Shaper(const std::string& path, KFixed size);
  ~Shaper();
  Shaper(const Shaper&) = delete;
  Shaper& operator=(const Shaper&) = delete;

  /// All of `text` is in one script.
  ShapedRun Shape(std::u32string_view text);

  /// Whether a text of this script must be shaped to be legible.
  static bool NeedsShaping(std::u32string_view text);
  static bool IsRightToLeft(std::u32string_view text);
  /// How many characters from the start are in one script; those of any script go along.
  static std::size_t ScriptRun(std::u32string_view text);
  /// Whether a character, a mark or a space, is best shown in the font of the one before.
  static bool Joins(char32_t character);

 private:
  void MapGlyphs();

  hb_font_t* font_;
  std::unordered_map<unsigned, char32_t> characters_;  // by glyph
};

}  // namespace typeset

#endif
