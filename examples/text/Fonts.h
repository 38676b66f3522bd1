// Fonts: a primary font and those that stand in for it, by the character.
#ifndef EXAMPLES_TEXT_FONTS_H
#define EXAMPLES_TEXT_FONTS_H

#include <memory>
#include <string>
#include <vector>

#include "kalvora/kalvora.h"

#include "examples/text/Shaper.h"

namespace typeset {

/// One font file: the library's font, and HarfBuzz's view of it.
struct Typeface {
  KFTFont font;
  Shaper shaper;

  /// Throws Error when the file is no font.
  Typeface(const std::string& path, KFixed size);
  bool Has(char32_t character) const;
};

/// The fonts of a text, the first being the primary.
class Fonts {
 public:
  /// Throws Error when one is no font.
  Fonts(const std::vector<std::string>& paths, KFixed size, KSoftContext2D& context);
  ~Fonts();
  Fonts(const Fonts&) = delete;
  Fonts& operator=(const Fonts&) = delete;

  /// Gives them to the context, which a bind makes forget them.
  void Use();
  Typeface& Primary() { return *faces_.front(); }
  /// Who shows a character: the primary, a fallback, or when nobody has it the primary again.
  Typeface& For(char32_t character);

 private:
  KSoftContext2D& context_;
  std::vector<std::unique_ptr<Typeface>> faces_;
};

}  // namespace typeset

#endif
