// From text to glyphs: levels, boundaries, items, and what can be kept of them.
#include "kits/typeset/content.h"

#include <algorithm>

#include <hb.h>

#include "kalvora/typeset/KTypeface.h"

#include "kits/typeset/boundaries.h"
#include "kits/typeset/itemize.h"
#include "kits/typeset/properties.h"
#include "kits/typeset/shape.h"
#include "kits/typeset/utf8.h"

namespace kalvora::typeset {

namespace {

std::int32_t Saturate(std::int64_t v) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(v, INT32_MIN, INT32_MAX));
}

// Notes in the units of an item where its glyphs begin.
void NoteGlyphs(Content& content, const Item& item) {
  if (item.glyphCount == 0) {
    for (std::uint32_t i = item.begin; i < item.end; ++i) {
      content.units[i].glyphs = content.units[i].cluster;
    }
  }
  for (std::uint32_t i = 0; i < item.glyphCount; ++i) {
    const Glyph& glyph = content.glyphs[item.firstGlyph + i];
    Unit& unit = content.units[glyph.character];
    unit.glyphs = true;
    unit.unsafe |= glyph.unsafe;
    unit.advance = Saturate(std::int64_t{unit.advance} + glyph.advance);
  }
}

// Whether an item that was made before an edit has the glyphs that this one needs.
bool IsSame(const Item& a, const Item& b) {
  return a.end - a.begin == b.end - b.begin && a.face == b.face && a.size == b.size &&
         a.script == b.script && a.level == b.level && a.tab == b.tab;
}

// The items and glyphs of before an edit, to take from.
class Before {
 public:
  // Takes them out of the content, whose text is still the old one.
  explicit Before(Content& content) {
    characters_.swap(content.characters);
    items_.swap(content.items);
    glyphs_.swap(content.glyphs);
  }

  // Finds out what changed in the text.
  void Compare(std::u32string_view text) {
    const std::size_t most = std::min(text.size(), characters_.size());
    const auto differ = std::mismatch(text.begin(), text.begin() + most, characters_.begin());
    same_ = static_cast<std::uint32_t>(differ.first - text.begin());
    changed_ = same_ < text.size() || same_ < characters_.size();
    std::size_t tail = 0;
    while (tail < most - same_ &&
           text[text.size() - 1 - tail] == characters_[characters_.size() - 1 - tail]) {
      ++tail;
    }
    sameAgain_ = static_cast<std::uint32_t>(text.size() - tail);
    moved_ = static_cast<std::int64_t>(characters_.size()) - static_cast<std::int64_t>(text.size());
  }

  // Takes over the glyphs of an item that the edit did not touch. Items come in their order.
  bool Take(Content& content, Item& item) {
    // HarfBuzz looks at five characters around an item.
    constexpr std::uint32_t kContext = 5;
    std::int64_t moved = 0;
    if (changed_ && item.end + kContext > same_) {
      if (item.begin < sameAgain_ + kContext) return false;
      moved = moved_;
    }
    const auto begin = static_cast<std::uint32_t>(item.begin + moved);
    while (next_ < items_.size() && items_[next_].begin < begin) ++next_;
    if (next_ == items_.size() || items_[next_].begin != begin || !IsSame(items_[next_], item)) {
      return false;
    }
    item.firstGlyph = static_cast<std::uint32_t>(content.glyphs.size());
    item.glyphCount = items_[next_].glyphCount;
    for (std::uint32_t i = 0; i < item.glyphCount; ++i) {
      Glyph glyph = glyphs_[items_[next_].firstGlyph + i];
      glyph.character = static_cast<std::uint32_t>(glyph.character - moved);
      content.glyphs.push_back(glyph);
    }
    return true;
  }

 private:
  std::u32string characters_;
  std::vector<Item> items_;
  std::vector<Glyph> glyphs_;
  std::size_t next_ = 0;
  bool changed_ = false;
  std::uint32_t same_ = 0;       // characters up to here are the same
  std::uint32_t sameAgain_ = 0;  // and from here on
  std::int64_t moved_ = 0;       // by so many, towards the old place
};

// What hangs over the end of a line: spaces that may be broken after, and what ends lines.
bool Hangs(char32_t c, LineClass line) {
  if (c == U'\t' || c == 0x3000 || (c >= 0x2000 && c <= 0x200A && c != 0x2007)) return true;
  return line == LineClass::kSP || line == LineClass::kZW || line == LineClass::kBK ||
         line == LineClass::kCR || line == LineClass::kLF || line == LineClass::kNL;
}

void FillUnits(Content& content) {
  std::vector<Break> breaks;
  std::vector<bool> clusters;
  FindLineBreaks(content.characters, breaks);
  FindClusters(content.characters, clusters);
  content.units.assign(content.characters.size() + 1, Unit());
  for (std::size_t i = 0; i < content.characters.size(); ++i) {
    const char32_t c = content.characters[i];
    const LineClass line = PropertiesOf(c).line;
    Unit& unit = content.units[i];
    unit.mayBreak = breaks[i] == Break::kAllowed && clusters[i];
    unit.mustBreak = breaks[i] == Break::kMandatory;
    unit.cluster = clusters[i];
    // A space with a mark on it is something to see.
    const bool alone = i + 1 == clusters.size() || clusters[i + 1] || c == U'\r';
    unit.space = alone && Hangs(c, line);
    unit.stretches = c == U' ' || c == 0xA0 || c == 0x3000;
    unit.ideograph = line == LineClass::kID;
  }
  content.units.back().cluster = content.units.back().glyphs = true;
}

}  // namespace

std::uint32_t Content::CharacterAt(std::size_t byte) const {
  const auto after = std::upper_bound(offsets.begin(), offsets.end(), byte);
  return static_cast<std::uint32_t>(after - offsets.begin()) - 1;
}

std::uint32_t Content::ItemOf(std::uint32_t character) const {
  const auto after =
      std::upper_bound(items.begin(), items.end(), character,
                       [](std::uint32_t c, const Item& item) { return c < item.begin; });
  return static_cast<std::uint32_t>(after - items.begin()) - 1;
}

std::uint32_t Content::StyleIndex(std::size_t byte) const {
  const auto after =
      std::upper_bound(styles.begin(), styles.end(), byte,
                       [](std::size_t b, const StyleRun& run) { return b < run.begin; });
  return static_cast<std::uint32_t>(after - styles.begin()) - 1;
}

void Analyse(Content& content, const KParagraphFormat& format, bool keep) {
  Before before(content);
  DecodeUtf8(content.text, content.characters, content.offsets);
  before.Compare(content.characters);
  FillUnits(content);
  std::vector<Level> levels;
  FindLevels(content.characters, format.direction, levels, content.parts);
  Itemize(content, levels);
  Shaper shaper(format.language);
  for (Item& item : content.items) {
    if (!keep || !before.Take(content, item)) {
      item.firstGlyph = static_cast<std::uint32_t>(content.glyphs.size());
      item.glyphCount = shaper.ShapePart(content, item, item.begin, item.end, content.glyphs);
    }
    NoteGlyphs(content, item);
  }
}

FontHeights HeightsOf(const KTypeface* face, KFixed size) {
  hb_font_extents_t extents = {};
  if (!face || !face->IsLoaded()) return {};
  hb_font_get_h_extents(face->Shaping(), &extents);
  const std::int64_t units = std::max(1u, hb_face_get_upem(hb_font_get_face(face->Shaping())));
  const auto scaled = [&](std::int64_t v) { return v * size.raw / units; };
  return {scaled(extents.ascender), scaled(-std::int64_t{extents.descender}),
          scaled(std::max(0, extents.line_gap))};
}

}  // namespace kalvora::typeset
