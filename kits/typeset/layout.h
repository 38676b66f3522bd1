// Layout: the lines of a paragraph, and where the glyphs on them stand.
#ifndef KITS_TYPESET_LAYOUT_H
#define KITS_TYPESET_LAYOUT_H

#include "kits/typeset/content.h"

namespace kalvora::typeset {

/// A part of an item on a line.
struct Piece {
  std::uint32_t item;
  KTypeface* face;           ///< the item's, but for marks
  std::uint32_t begin, end;  ///< characters
  Level level;
  bool reshaped;  ///< its glyphs are the layout's, else the content's
  bool mark;      ///< an ellipsis, or a soft hyphen that is seen
  std::uint32_t firstGlyph, glyphCount;
  KLength width;  ///< what justification adds is not in it
};

struct Line {
  std::uint32_t begin, end;              ///< characters, with those that an ellipsis hides
  std::uint32_t contentEnd;              ///< before the spaces that hang over its end
  std::uint32_t firstPiece, pieceCount;  ///< from left to right
  Level base;
  bool hard;                      ///< the text ends it
  bool stretchesSpaces;           ///< else what stands between ideographs
  KLength stretch;                ///< that each place takes
  KLength x;                      ///< of the first piece; spaces that hang may come first
  KLength left, width;            ///< of what does not hang
  KLength top, height, baseline;  ///< baseline from the paragraph's top
};

struct Layout {
  std::vector<Line> lines;  ///< at least one
  std::vector<Piece> pieces;
  std::vector<Glyph> glyphs;
  KLength width = 0, height = 0;
  bool complete = true;  ///< nothing was left out or hidden

  const Glyph* GlyphsOf(const Content& content, const Piece& piece) const {
    return (piece.reshaped ? glyphs : content.glyphs).data() + piece.firstGlyph;
  }
};

/// Makes the lines of a content.
void MakeLines(const Content& content, const KParagraphFormat& format, Layout& layout);

/// The width of the widest part that cannot be broken between words.
KLength FindLeastWidth(const Content& content, const KParagraphFormat& format);

/// What justification adds to the cluster of these characters.
inline KLength StretchOf(const Content& content, const Line& line, std::uint32_t begin,
                         std::uint32_t end) {
  if (line.stretch == 0 || end > line.contentEnd) return 0;
  if (line.stretchesSpaces) return content.units[begin].stretches ? line.stretch : 0;
  const bool between = end < line.contentEnd && content.units[end].mayBreak &&
                       (content.units[begin].ideograph || content.units[end].ideograph);
  return between ? line.stretch : 0;
}

/// Glyphs that stand for characters which cannot be told apart further, on a line.
struct GlyphCluster {
  const Piece* piece;
  const Glyph* glyphs;  ///< null where characters are shown by space alone
  std::uint32_t glyphCount;
  std::uint32_t begin, end;  ///< characters
  KLength x, width;
};

/// Calls `visit` with the clusters of a line from left to right.
template <typename Visitor>
void VisitClusters(const Content& content, const Layout& layout, const Line& line, Visitor visit) {
  KLength x = line.x;
  for (std::uint32_t p = 0; p < line.pieceCount; ++p) {
    const Piece& piece = layout.pieces[line.firstPiece + p];
    const Glyph* glyphs = layout.GlyphsOf(content, piece);
    const bool rightToLeft = content.items[piece.item].IsRightToLeft();
    if (piece.glyphCount == 0 || piece.mark) {
      GlyphCluster whole = {&piece,    glyphs, piece.glyphCount, piece.begin,
                            piece.end, x,      piece.width};
      whole.width += StretchOf(content, line, whole.begin, whole.end);
      visit(whole);
      x += whole.width;
      continue;
    }
    std::uint32_t end = piece.end;  // of the cluster, where text runs to the left
    for (std::uint32_t i = 0; i < piece.glyphCount;) {
      GlyphCluster cluster = {&piece, glyphs + i, 0, glyphs[i].character, end, x, 0};
      for (; i < piece.glyphCount && glyphs[i].character == cluster.begin; ++i) {
        cluster.width += glyphs[i].advance;
        ++cluster.glyphCount;
      }
      if (!rightToLeft) cluster.end = i < piece.glyphCount ? glyphs[i].character : piece.end;
      cluster.width += StretchOf(content, line, cluster.begin, cluster.end);
      visit(cluster);
      x += cluster.width;
      end = cluster.begin;
    }
  }
}

}  // namespace kalvora::typeset

#endif
