// Typesetter: breaks paragraphs into lines and draws them.
#ifndef EXAMPLES_TEXT_TYPESETTER_H
#define EXAMPLES_TEXT_TYPESETTER_H

#include <string>
#include <string_view>
#include <vector>

#include "examples/text/Fonts.h"

namespace typeset {

/// Sets text with the fonts of a context.
class Typesetter {
 public:
  /// `shapeAll` has HarfBuzz place every line, with the kerning of the font, not only the lines in
  /// scripts that cannot be read otherwise.
  Typesetter(Fonts& fonts, KSoftContext2D& context, bool shapeAll);

  /// The lines of a paragraph, each at most `width` wide unless a single character is wider. Lines
  /// end at spaces, which are dropped, and between ideographs; words that are too long are cut.
  std::vector<std::u32string> BreakLines(std::u32string_view paragraph, KFixed width);
  /// Width of a line by the fonts' advances.
  KFixed Measure(std::u32string_view line);
  /// From one baseline to the next.
  KFixed LineHeight() const;
  /// From the top of a line to its baseline.
  KFixed Ascent();

  /// Draws a line between left and left + width; lines that read from right to left end at the
  /// right. Returns how many glyphs could not be drawn.
  int DrawLine(std::u32string_view line, KVertex2D left, KFixed width);

 private:
  /// Draws a character of the context's font and returns its advance.
  KVertex2D DrawBeyond16Bits(char32_t character, KVertex2D pen);
  void DrawAt(std::u32string_view characters, const std::vector<KVertex2D>& positions);
  int DrawShaped(std::u32string_view line, KVertex2D left, KFixed width, bool rightToLeft);

  Fonts& fonts_;
  KSoftContext2D& context_;
  bool shapeAll_;
};

}  // namespace typeset

#endif
