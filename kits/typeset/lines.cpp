// Where lines end, and where they stand.
#include <algorithm>

#include "kits/typeset/boundaries.h"
#include "kits/typeset/linemaker.h"

namespace kalvora::typeset {

namespace {

constexpr char32_t kSoftHyphen = 0xAD;
// How often a line is made again, shorter, because glyphs have become wider where it was cut.
constexpr int kAttempts = 4;

}  // namespace

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

KLength LineMaker::LeastWidth() {
  KLength widest = 0, seen = 0, all = 0;  // of the part between two places to break
  for (std::uint32_t i = 0; i < content_.Size(); ++i) {
    const Unit& unit = content_.units[i];
    if (unit.mayBreak || unit.mustBreak) {
      if (content_.characters[i - 1] == kSoftHyphen) seen = all + HyphenWidth(i - 1);
      widest = std::max(widest, seen);
      seen = all = 0;
    }
    all += unit.advance;
    if (!unit.space) seen = all;
  }
  return std::max(widest, seen);
}

void MakeLines(const Content& content, const KParagraphFormat& format, Layout& layout) {
  LineMaker(content, format, layout).Run();
}

KLength FindLeastWidth(const Content& content, const KParagraphFormat& format) {
  Layout layout;
  return LineMaker(content, format, layout).LeastWidth();
}

}  // namespace kalvora::typeset
