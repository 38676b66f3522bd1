// LineMaker: takes a content line by line and makes a layout of it.
#ifndef KITS_TYPESET_LINEMAKER_H
#define KITS_TYPESET_LINEMAKER_H

#include <algorithm>
#include <string_view>
#include <vector>

#include "kits/typeset/layout.h"
#include "kits/typeset/shape.h"

namespace kalvora::typeset {

/// Works once: Run fills the layout, or LeastWidth measures.
class LineMaker {
 public:
  LineMaker(const Content& content, const KParagraphFormat& format, Layout& layout)
      : content_(content),
        format_(format),
        layout_(layout),
        shaper_(format.language),
        limit_(format.width >= KUnlimited ? KUnlimited : std::max<KLength>(format.width, 0)) {}

  void Run();
  KLength LeastWidth();

 private:
  struct End {
    std::uint32_t at;
    bool hard;            // the text says so
    bool hyphen = false;  // the last character is a soft hyphen that shows
  };

  // Lines (lines.cpp): where they end, and where they stand.
  std::uint32_t MakeLine(std::uint32_t begin, bool last);
  std::uint32_t FillLine(std::uint32_t begin, End end);
  void CutLine(std::uint32_t begin, std::uint32_t shown, std::uint32_t end);
  bool MustBeCut(std::uint32_t begin, End end, bool last);
  bool TextFollows(std::uint32_t character) const;
  End FindEnd(std::uint32_t begin, KLength limit);
  std::uint32_t FindCut(std::uint32_t begin, std::uint32_t end, KLength limit);
  std::uint32_t CutBefore(std::uint32_t begin, std::uint32_t end) const;
  std::uint32_t EarlierEnd(std::uint32_t begin, std::uint32_t end) const;
  KLength Advance(std::uint32_t character, KLength x);
  void PlaceLines();
  void Stretch(Line& line);

  // Pieces (pieces.cpp): what the line that was begun last consists of.
  Line& BeginLine(std::uint32_t begin, std::uint32_t end, bool hard);
  void FinishLine();
  void DropLine();
  void AddPieces(Line& line, std::uint32_t end);
  void AddPiece(Line& line, std::uint32_t item, std::uint32_t begin, std::uint32_t end);
  bool TakeGlyphs(Piece& piece) const;
  void AddEllipsis(std::uint32_t begin, std::uint32_t end);
  void AddHyphen(std::uint32_t at);
  void AddMark(std::u32string_view mark, const Item& item, std::uint32_t begin, std::uint32_t end);
  Item MarkItem(std::uint32_t index, char32_t mark) const;
  KLength HyphenWidth(std::uint32_t character);
  KLength TabWidth(const Item& item, KLength x);
  bool WasReshaped(const Line& line) const;
  void SortPieces(const Line& line);
  void Measure(Line& line);

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

}  // namespace kalvora::typeset

#endif
