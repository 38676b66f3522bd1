// What a line consists of: parts of items, cut and shaped again where that is needed, in their
// order on the line; and the marks that are not in the text.
#include <algorithm>

#include "kalvora/typeset/KTypeface.h"

#include "kits/typeset/linemaker.h"

namespace kalvora::typeset {

namespace {

KLength WidthOf(const Glyph* glyphs, std::uint32_t count) {
  KLength width = 0;
  for (std::uint32_t i = 0; i < count; ++i) width += glyphs[i].advance;
  return width;
}

}  // namespace

KLength LineMaker::TabWidth(const Item& item, KLength x) {
  mark_.clear();
  const std::uint32_t count = shaper_.ShapeMark(U" ", item, 0, mark_);
  const KLength stop = 8 * (count > 0 ? WidthOf(mark_.data(), count) : item.size.raw / 2);
  return stop > 0 && x >= 0 ? stop - x % stop : 0;
}

KLength LineMaker::HyphenWidth(std::uint32_t character) {
  mark_.clear();
  const Item item = MarkItem(content_.ItemOf(character), U'-');
  const std::uint32_t count = shaper_.ShapeMark(U"-", item, character, mark_);
  return WidthOf(mark_.data(), count);
}

Line& LineMaker::BeginLine(std::uint32_t begin, std::uint32_t end, bool hard) {
  Line line = {};
  line.begin = begin;
  line.end = line.contentEnd = end;
  while (line.contentEnd > begin && content_.units[line.contentEnd - 1].space) --line.contentEnd;
  line.firstPiece = static_cast<std::uint32_t>(layout_.pieces.size());
  line.base = content_.parts[part_].base;
  line.hard = hard;
  x_ = 0;
  return layout_.lines.emplace_back(line);
}

void LineMaker::DropLine() {
  const Line& line = layout_.lines.back();
  std::size_t glyphs = layout_.glyphs.size();
  for (std::size_t i = line.firstPiece; i < layout_.pieces.size(); ++i) {
    if (layout_.pieces[i].reshaped)
      glyphs = std::min<std::size_t>(glyphs, layout_.pieces[i].firstGlyph);
  }
  layout_.glyphs.resize(glyphs);
  layout_.pieces.resize(line.firstPiece);
  layout_.lines.pop_back();
}

bool LineMaker::WasReshaped(const Line& line) const {
  return std::any_of(layout_.pieces.begin() + line.firstPiece, layout_.pieces.end(),
                     [](const Piece& piece) { return piece.reshaped && !piece.mark; });
}

void LineMaker::AddPieces(Line& line, std::uint32_t end) {
  if (line.begin == end) return;
  for (std::uint32_t i = content_.ItemOf(line.begin); i < content_.items.size(); ++i) {
    const Item& item = content_.items[i];
    if (item.begin >= end) break;
    const std::uint32_t from = std::max(item.begin, line.begin), to = std::min(item.end, end);
    const std::uint32_t middle = std::clamp(line.contentEnd, from, to);
    if (from < middle) AddPiece(line, i, from, middle);
    if (middle < to) AddPiece(line, i, middle, to);
  }
}

void LineMaker::AddPiece(Line& line, std::uint32_t index, std::uint32_t begin, std::uint32_t end) {
  const Item& item = content_.items[index];
  Piece piece = {};
  piece.item = index;
  piece.face = item.face;
  piece.begin = begin;
  piece.end = end;
  piece.level = begin < line.contentEnd ? item.level : line.base;  // spaces at the end: rule L1
  if (item.tab) {
    piece.width = TabWidth(item, x_);
  } else if (!TakeGlyphs(piece)) {
    piece.reshaped = true;
    piece.firstGlyph = static_cast<std::uint32_t>(layout_.glyphs.size());
    piece.glyphCount = shaper_.ShapePart(content_, item, begin, end, layout_.glyphs);
  }
  piece.width += WidthOf(layout_.GlyphsOf(content_, piece), piece.glyphCount);
  x_ += piece.width;
  layout_.pieces.push_back(piece);
}

// Takes the glyphs of a part of an item as they are, if both ends may be cut like that.
bool LineMaker::TakeGlyphs(Piece& piece) const {
  const Item& item = content_.items[piece.item];
  const auto clean = [&](std::uint32_t at) {
    if (at == item.begin || at == item.end) return true;
    return content_.units[at].glyphs && !content_.units[at].unsafe;
  };
  if (!clean(piece.begin) || !clean(piece.end)) return false;
  const auto* glyphs = content_.glyphs.data() + item.firstGlyph;
  const auto* glyphsEnd = glyphs + item.glyphCount;
  const auto find =
      [&](std::uint32_t at) {  // the first glyph, from the left, on the other side of it
        return static_cast<std::uint32_t>(std::partition_point(glyphs, glyphsEnd,
                                                               [&](const Glyph& glyph) {
                                                                 return (glyph.character < at) !=
                                                                        item.IsRightToLeft();
                                                               }) -
                                          glyphs);
      };
  const std::uint32_t a = find(piece.begin), b = find(piece.end);
  piece.firstGlyph = item.firstGlyph + std::min(a, b);
  piece.glyphCount = std::max(a, b) - std::min(a, b);
  return true;
}

// An ellipsis in place of the characters from begin to end.
void LineMaker::AddEllipsis(std::uint32_t begin, std::uint32_t end) {
  if (content_.items.empty()) return;
  const std::uint32_t before = std::max(begin, layout_.lines.back().begin + 1) - 1;
  Item item = MarkItem(content_.ItemOf(before), 0x2026);
  const bool has = item.face && item.face->Has(0x2026);
  if (!has) item = MarkItem(content_.ItemOf(before), U'.');
  AddMark(has ? U"\u2026" : U"...", item, begin, end);
  layout_.pieces.back().level = layout_.lines.back().base;
}

// A soft hyphen that is seen.
void LineMaker::AddHyphen(std::uint32_t at) {
  AddMark(U"-", MarkItem(content_.ItemOf(at), U'-'), at, at + 1);
}

// An item like that of a character, in a font that has a mark.
Item LineMaker::MarkItem(std::uint32_t index, char32_t mark) const {
  Item item = content_.items[index];
  if (item.face && item.face->Has(mark)) return item;
  const auto consider = [&](KTypeface* face) {
    if (face && face->Has(mark)) item.face = face;
    return face && face->Has(mark);
  };
  if (!consider(content_.styles[item.style].style.face)) {
    std::find_if(content_.fallbacks.begin(), content_.fallbacks.end(), consider);
  }
  return item;
}

void LineMaker::AddMark(std::u32string_view mark, const Item& item, std::uint32_t begin,
                        std::uint32_t end) {
  Piece piece = {};
  piece.item = content_.ItemOf(std::min(begin, content_.Size() - 1));
  piece.face = item.face;
  piece.begin = begin;
  piece.end = end;
  piece.level = item.level;
  piece.reshaped = piece.mark = true;
  piece.firstGlyph = static_cast<std::uint32_t>(layout_.glyphs.size());
  piece.glyphCount = shaper_.ShapeMark(mark, item, begin, layout_.glyphs);
  piece.width = WidthOf(layout_.glyphs.data() + piece.firstGlyph, piece.glyphCount);
  markWidth_ = piece.width;
  layout_.pieces.push_back(piece);
}

void LineMaker::FinishLine() {
  Line& line = layout_.lines.back();
  line.pieceCount = static_cast<std::uint32_t>(layout_.pieces.size()) - line.firstPiece;
  SortPieces(line);
  Measure(line);
}

void LineMaker::SortPieces(const Line& line) {
  if (line.pieceCount < 2) return;
  const auto first = layout_.pieces.begin() + line.firstPiece;
  levels_.clear();
  for (std::uint32_t i = 0; i < line.pieceCount; ++i) levels_.push_back(first[i].level);
  FindVisualOrder(levels_, order_);
  sorted_.clear();
  for (const std::uint32_t i : order_) sorted_.push_back(first[i]);
  std::copy(sorted_.begin(), sorted_.end(), first);
}

void LineMaker::Measure(Line& line) {
  KLength hanging = 0;
  FontHeights line_ = {};
  const auto consider = [&](const KTypeface* face, KFixed size) {
    const FontHeights font = HeightsOf(face, size);
    line_.ascent = std::max(line_.ascent, font.ascent);
    line_.descent = std::max(line_.descent, font.descent);
    line_.gap = std::max(line_.gap, font.gap);
  };
  for (std::uint32_t i = 0; i < line.pieceCount; ++i) {
    const Piece& piece = layout_.pieces[line.firstPiece + i];
    const Item& item = content_.items[piece.item];
    (piece.begin >= line.contentEnd && !piece.mark ? hanging : line.width) += piece.width;
    consider(piece.face, item.size);
  }
  if (line.pieceCount == 0) {
    const KTextStyle& style = content_.StyleAt(content_.offsets[line.begin]);
    consider(style.face || content_.fallbacks.empty() ? style.face : content_.fallbacks[0],
             SizeOf(style));
  }
  line.x = (line.base & 1) != 0 ? -hanging : 0;  // from `left`, which is not known yet
  const KFixed spacing = std::clamp(format_.lineSpacing, KFixed::FromInt(0), KFixed::FromInt(16));
  line.height = (line_.ascent + line_.descent + line_.gap) * spacing.raw >> 16;
  line.baseline = line_.ascent;
}

}  // namespace kalvora::typeset
