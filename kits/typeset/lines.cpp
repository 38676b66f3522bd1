// Making lines: where they end, the pieces that they consist of, and their places.
#include <algorithm>

#include "kalvora/typeset/KTypeface.h"

#include "kits/typeset/layout.h"
#include "kits/typeset/shape.h"

namespace kalvora::typeset {

namespace {

constexpr char32_t kSoftHyphen = 0xAD;
// How often a line is made again, shorter, because glyphs have become wider where it was cut.
constexpr int kAttempts = 4;

bool EndsLine(char32_t c) {
  return (c >= U'\n' && c <= U'\r') || c == 0x85 || c == 0x2028 || c == 0x2029;
}

KLength WidthOf(const Glyph* glyphs, std::uint32_t count) {
  KLength width = 0;
  for (std::uint32_t i = 0; i < count; ++i) width += glyphs[i].advance;
  return width;
}

class LineMaker {
 public:
  LineMaker(const Content& content, const KParagraphFormat& format, Layout& layout)
      : content_(content),
        format_(format),
        layout_(layout),
        shaper_(format.language),
        limit_(format.width >= KUnlimited ? KUnlimited : std::max<KLength>(format.width, 0)) {}

  void Run();

 private:
  struct End {
    std::uint32_t at;
    bool hard;            // the text says so
    bool hyphen = false;  // the last character is a soft hyphen that shows
  };

  // Where lines end.
  End FindEnd(std::uint32_t begin, KLength limit);
  std::uint32_t FindCut(std::uint32_t begin, std::uint32_t end, KLength limit);
  std::uint32_t CutBefore(std::uint32_t begin, std::uint32_t end) const;
  std::uint32_t EarlierEnd(std::uint32_t begin, std::uint32_t end) const;
  KLength Advance(std::uint32_t character, KLength x);
  KLength TabWidth(const Item& item, KLength x);
  KLength HyphenWidth(std::uint32_t character);
  bool TextFollows(std::uint32_t character) const;

  // What lines consist of.
  std::uint32_t MakeLine(std::uint32_t begin, bool last);
  bool MustBeCut(std::uint32_t begin, End end, bool last);
  std::uint32_t FillLine(std::uint32_t begin, End end);
  void CutLine(std::uint32_t begin, std::uint32_t shown, std::uint32_t end);
  Line& BeginLine(std::uint32_t begin, std::uint32_t end, bool hard);
  void AddPieces(Line& line, std::uint32_t end);
  void AddPiece(Line& line, std::uint32_t item, std::uint32_t begin, std::uint32_t end);
  void AddEllipsis(std::uint32_t begin, std::uint32_t end);
  void AddHyphen(std::uint32_t at);
  Item MarkItem(std::uint32_t index, char32_t mark) const;
  void AddMark(std::u32string_view mark, const Item& item, std::uint32_t begin, std::uint32_t end);
  bool TakeGlyphs(Piece& piece) const;
  void DropLine();
  bool WasReshaped(const Line& line) const;

  // Where they stand.
  void FinishLine();
  void Measure(Line& line);
  void PlaceLines();
  void Stretch(Line& line);
  void SortPieces(const Line& line);

  const Content& content_;
  const KParagraphFormat& format_;
  Layout& layout_;
  Shaper shaper_;
  std::vector<Glyph> mark_;  // one that is measured
  KLength markWidth_ = 0;    // of the latest that was added
  KLength limit_;
  std::size_t part_ = 0;
  KLength x_ = 0;  // the width of the pieces of the line that is made
  std::vector<Level> levels_;
  std::vector<std::uint32_t> order_;
  std::vector<Piece> sorted_;
};

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

KLength LineMaker::Advance(std::uint32_t i, KLength x) {
  if (content_.characters[i] != U'\t') return content_.units[i].advance;
  return TabWidth(content_.items[content_.ItemOf(i)], x);
}

// Where a line ends that begins at `begin`: as late as its width allows, between words if possible.
LineMaker::End LineMaker::FindEnd(std::uint32_t begin, KLength limit) {
  std::uint32_t end = begin;  // the last place where it may end
  KLength x = 0;
  for (std::uint32_t i = begin; i < content_.Size(); ++i) {
    const Unit& unit = content_.units[i];
    if (i > begin && unit.mustBreak) return {i, true};
    if (i > begin && unit.mayBreak &&
        (content_.characters[i - 1] != kSoftHyphen || x + HyphenWidth(i - 1) <= limit)) {
      end = i;
    }
    const KLength advance = Advance(i, x);
    if (i > begin && !unit.space && unit.glyphs && unit.cluster && x + advance > limit) {
      const bool hyphen = end > begin && content_.characters[end - 1] == kSoftHyphen;
      return {end > begin ? end : i, false, hyphen};
    }
    x += advance;
  }
  return {content_.Size(), true};
}

// How much of a line can be shown in so much space, wherever it ends.
std::uint32_t LineMaker::FindCut(std::uint32_t begin, std::uint32_t end, KLength limit) {
  std::uint32_t cut = begin;
  KLength x = 0;
  for (std::uint32_t i = begin; i < end; ++i) {
    if (content_.units[i].glyphs && content_.units[i].cluster) {
      if (x > limit) return cut;
      cut = i;
    }
    x += Advance(i, x);
  }
  return x > limit ? cut : end;
}

// The last place before `end` where glyphs may be parted.
std::uint32_t LineMaker::CutBefore(std::uint32_t begin, std::uint32_t end) const {
  do {
    --end;
  } while (end > begin && !(content_.units[end].glyphs && content_.units[end].cluster));
  return end;
}

// The place before `end` where a line may end best; its begin if there is none.
std::uint32_t LineMaker::EarlierEnd(std::uint32_t begin, std::uint32_t end) const {
  for (std::uint32_t i = end - 1; i > begin; --i) {
    if (content_.units[i].mayBreak) return i;
  }
  return CutBefore(begin, end);
}

// Whether a line, be it an empty one, comes after what ends at `character`.
bool LineMaker::TextFollows(std::uint32_t character) const {
  return character < content_.Size() ||
         (character > 0 && EndsLine(content_.characters[character - 1]));
}

void LineMaker::Run() {
  layout_.lines.clear();
  layout_.pieces.clear();
  layout_.glyphs.clear();
  layout_.width = layout_.height = 0;
  layout_.complete = true;
  std::uint32_t at = 0;
  bool more = true;
  while (more) {
    const bool last = layout_.lines.size() + 1 == format_.maxLines;
    const std::uint32_t begin = at;
    at = MakeLine(begin, last);
    more = at > begin && TextFollows(at);
    if (last && more) layout_.complete = more = false;
  }
  PlaceLines();
}

std::uint32_t LineMaker::MakeLine(std::uint32_t begin, bool last) {
  while (part_ + 1 < content_.parts.size() && content_.parts[part_].end <= begin) ++part_;
  const End end = FindEnd(begin, format_.wrap ? limit_ : KUnlimited);
  if (!format_.ellipsis || !MustBeCut(begin, end, last)) return FillLine(begin, end);

  const std::uint32_t hidden = last ? content_.Size() : end.at;
  std::uint32_t text = FindEnd(begin, KUnlimited).at;  // what is hidden ends there at the latest
  while (text > begin && content_.units[text - 1].space) --text;
  // What is cut may be wider than it was with what followed, and ellipses differ by font: try
  // again.
  std::uint32_t shown = FindCut(begin, text, limit_);
  CutLine(begin, shown, hidden);
  for (int attempt = 0; layout_.lines.back().width > limit_ && shown > begin; ++attempt) {
    DropLine();
    const std::uint32_t before = CutBefore(begin, shown);
    shown = attempt < kAttempts ? FindCut(begin, before, limit_ - markWidth_) : begin;
    CutLine(begin, shown, hidden);
  }
  layout_.complete = false;
  return hidden;
}

bool LineMaker::MustBeCut(std::uint32_t begin, End end, bool last) {
  if (last && end.at > begin && TextFollows(end.at)) return true;
  if (format_.wrap) return false;
  std::uint32_t text = end.at;
  while (text > begin && content_.units[text - 1].space) --text;
  return FindCut(begin, text, limit_) < text;
}

// A line with everything up to `end`; or, where cut glyphs have become wider than they were, with
// less. Returns its end.
std::uint32_t LineMaker::FillLine(std::uint32_t begin, End end) {
  for (int attempt = 0;; ++attempt) {
    Line& line = BeginLine(begin, end.at, end.hard);
    AddPieces(line, end.hyphen ? end.at - 1 : end.at);
    if (end.hyphen) AddHyphen(end.at - 1);
    FinishLine();
    if (!format_.wrap || line.width <= limit_ || attempt == kAttempts || !WasReshaped(line))
      return end.at;
    const std::uint32_t earlier = EarlierEnd(begin, line.contentEnd);
    if (earlier == begin) return end.at;
    DropLine();
    end = {earlier, false};
  }
}

// A line that shows characters up to `shown`, and an ellipsis for the others.
void LineMaker::CutLine(std::uint32_t begin, std::uint32_t shown, std::uint32_t end) {
  Line& line = BeginLine(begin, end, true);
  line.contentEnd = end;
  AddPieces(line, shown);
  AddEllipsis(shown, end);
  FinishLine();
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
             style.size);
  }
  line.x = (line.base & 1) != 0 ? -hanging : 0;  // from `left`, which is not known yet
  const KFixed spacing = std::clamp(format_.lineSpacing, KFixed::FromInt(0), KFixed::FromInt(16));
  line.height = (line_.ascent + line_.descent + line_.gap) * spacing.raw >> 16;
  line.baseline = line_.ascent;
}

// What a justified line's places get, once its width is known.
void LineMaker::Stretch(Line& line) {
  const KLength missing = limit_ - line.width;
  if (line.hard || missing <= 0) return;
  for (const bool spaces : {true, false}) {
    line.stretchesSpaces = spaces;
    line.stretch = 1;
    KLength places = 0;
    VisitClusters(content_, layout_, line, [&](const GlyphCluster& c) {
      places += StretchOf(content_, line, c.begin, c.end);
    });
    line.stretch = places > 0 ? missing / places : 0;
    if (places == 0) continue;
    line.width += line.stretch * places;
    return;
  }
}

void LineMaker::PlaceLines() {
  KLength widest = 0;
  for (const Line& line : layout_.lines) widest = std::max(widest, line.width);
  if (limit_ == KUnlimited) limit_ = widest;
  for (Line& line : layout_.lines) {
    if (format_.align == KAlignJustify) Stretch(line);
    const KLength room = limit_ - line.width;
    const bool rightToLeft = (line.base & 1) != 0;
    const bool atEnd = format_.align == KAlignEnd;
    line.left = format_.align == KAlignCentre ? room / 2 : rightToLeft != atEnd ? room : 0;
    line.x += line.left;
    line.top = layout_.height;
    line.baseline += line.top;
    layout_.height += line.height;
    layout_.width = std::max(layout_.width, line.width);
  }
}

}  // namespace

void MakeLines(const Content& content, const KParagraphFormat& format, Layout& layout) {
  LineMaker(content, format, layout).Run();
}

}  // namespace kalvora::typeset
