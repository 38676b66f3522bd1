// Loading fonts and choosing among them.
#include "examples/text/Fonts.h"

#include "examples/common/Error.h"

namespace typeset {

Typeface::Typeface(const std::string& path, KFixed size) : shaper(path, size) {
  if (!font.LoadFont(path.c_str(), 0)) throw examples::Error(path + " is not a font");
  font.SetFontSize(size);
}

bool Typeface::Has(char32_t character) const {
  std::uint32_t index = 0;
  return font.GlyphIndex(character, index) && index != 0;
}

Fonts::Fonts(const std::vector<std::string>& paths, KFixed size, KSoftContext2D& context)
    : context_(context) {
  for (const std::string& path : paths) faces_.push_back(std::make_unique<Typeface>(path, size));
  Use();
}

void Fonts::Use() {
  std::vector<KFTFont*> others;
  for (std::size_t i = 1; i < faces_.size(); ++i) others.push_back(&faces_[i]->font);
  const KArray<KFTFont*> list = {static_cast<std::uint32_t>(others.size()), others.data()};
  context_.SetFont(&Primary().font);
  context_.SetFallbackFonts(&list, nullptr);
}

Fonts::~Fonts() {
  context_.SetFallbackFonts(nullptr, nullptr);
  context_.SetFont(nullptr);
}

Typeface& Fonts::For(char32_t character) {
  if (Primary().Has(character)) return Primary();
  if (character <= 0xFFFF) {
    const KFTFont* font = context_.GetFallback(static_cast<unsigned short>(character));
    for (auto& face : faces_) {
      if (&face->font == font && face->Has(character)) return *face;
    }
  } else {
    // The library's table knows 16-bit codes; beyond, the fonts are asked one by one.
    for (auto& face : faces_) {
      if (face->Has(character)) return *face;
    }
  }
  return Primary();
}

}  // namespace typeset
