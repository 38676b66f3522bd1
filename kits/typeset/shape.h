// Shaping: characters into glyphs, by HarfBuzz.
#ifndef KITS_TYPESET_SHAPE_H
#define KITS_TYPESET_SHAPE_H

#include "kits/typeset/content.h"

struct hb_buffer_t;
using hb_language_t = const struct hb_language_impl_t*;

namespace kalvora::typeset {

class Shaper {
 public:
  explicit Shaper(const std::string& language);
  ~Shaper();
  Shaper(const Shaper&) = delete;
  Shaper& operator=(const Shaper&) = delete;

  /// Shapes characters of an item by themselves; returns how many glyphs were appended, none where
  /// there is no font.
  std::uint32_t ShapePart(const Content& content, const Item& item, std::uint32_t begin,
                          std::uint32_t end, std::vector<Glyph>& glyphs);
  /// Shapes a text that is none of the paragraph's, an ellipsis, as if it stood at `character`.
  std::uint32_t ShapeMark(std::u32string_view mark, const Item& item, std::uint32_t character,
                          std::vector<Glyph>& glyphs);

 private:
  void Begin(const Item& item);
  std::uint32_t Finish(const Item& item, std::vector<Glyph>& glyphs);

  hb_buffer_t* buffer_;
  hb_language_t language_;
};

}  // namespace kalvora::typeset

#endif
