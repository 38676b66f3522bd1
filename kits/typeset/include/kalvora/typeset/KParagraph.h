// KParagraph: a text that is set in lines, measured, drawn, and asked where its characters are.
#ifndef KALVORA_TYPESET_KPARAGRAPH_H
#define KALVORA_TYPESET_KPARAGRAPH_H

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kalvora/core/KVertex2D.h"
#include "kalvora/export.h"
#include "kalvora/typeset/KTextStyle.h"
#include "kalvora/typeset/KTypeface.h"

class KSoftContext2D;

/// A line, in the paragraph's own pixels: its top left corner is (0, 0).
struct KTextLine {
  std::size_t begin, end;  ///< bytes, with the spaces and the line end that close it
  KLength left, width;     ///< of what is seen: spaces at the end hang over
  KLength top, height;     ///< of the line, ascent and descent of its fonts
  KLength baseline;        ///< from the paragraph's top
  bool rightToLeft;        ///< where the line as a whole runs
  bool hard;               ///< the text ends it, or it ends in an ellipsis
};

/// A part of a selection, a box in one line.
struct KSelectionBox {
  KLength left, top, right, bottom;  ///< an edge, in the paragraph's own pixels
};

/// A place between characters: before the byte at `offset`; where two places on the screen belong
/// to it, `upstream` means the one after the character before.
struct KTextPlace {
  std::size_t offset = 0;  ///< bytes of the text
  bool upstream = false;   ///< after the character before

  bool operator==(const KTextPlace&) const = default;
};

/// What lies at a point.
struct KTextHit {
  KTextPlace place;       ///< nearest to the point
  std::size_t character;  ///< the character at the point or nearest to it, by its first byte
  bool inside;            ///< the point is on that character
};

/// Where a caret stands.
struct KCaret {
  KLength x, top, bottom;  ///< in the paragraph's own pixels
  bool rightToLeft;        ///< the text around it
};

/// A glyph as Draw places it.
struct KPlacedGlyph {
  KTypeface* face;      ///< borrowed
  KFixed size;          ///< pixels an em
  std::uint32_t index;  ///< the face's glyph
  KLength x, y;         ///< of its pen, from the paragraph's top left corner
  std::size_t offset;   ///< the first byte that it stands for
};

/// A paragraph of UTF-8: styles by range, lines broken by the rules of Unicode, text of both
/// directions in the order of Unicode's bidirectional algorithm, shaped glyphs, fallback fonts for
/// what a style's font lacks.
///
/// Give it text, styles and a format, then ask it anything or draw it: what has changed is made
/// anew at the next question. A new width or alignment makes lines of the same glyphs; a Replace
/// shapes only what it touches. Offsets are bytes of the text; those beyond the end count as the
/// end. Replace takes them as they are, and a character has the style of its first byte; elsewhere
/// one within a character counts as its beginning. Invalid UTF-8 shows one replacement character
/// for each maximal invalid part.
///
/// Line ends in the text (LF, CR, CR LF, LS, PS...) end lines, and the text after each has a
/// direction of its own. Tabs go to every eighth space. A soft hyphen shows where a line ends at
/// it.
///
/// Time and memory grow with the length of the text, whatever it consists of. Where memory runs
/// out, std::bad_alloc passes through.
///
/// A paragraph belongs to one thread at a time: its questions work behind const. Drawing needs the
/// thread of its typefaces, which it borrows.
class KALVORA_API KParagraph {
 public:
  KParagraph();
  ~KParagraph();
  /// What was moved from may only be destroyed, or assigned to.
  KParagraph(KParagraph&& other) noexcept;
  KParagraph& operator=(KParagraph&& other) noexcept;

  // --- what it shows

  /// The longest text, in bytes.
  static constexpr std::size_t kLongest = std::size_t{1} << 26;

  /// Replaces the text; styles stay for what is as long as it was, and the last goes on. False, and
  /// nothing changes, when it is too long.
  bool SetText(std::string_view utf8);
  const std::string& Text() const;
  /// Replaces the bytes from begin to end; what is inserted takes the style of what it replaces, or
  /// else of what stands before it. False, and nothing changes, when the text would be too long.
  bool Replace(std::size_t begin, std::size_t end, std::string_view utf8);
  /// The style of everything, what will be added included.
  void SetStyle(const KTextStyle& style);
  void SetStyle(std::size_t begin, std::size_t end, const KTextStyle& style);
  const KTextStyle& StyleAt(std::size_t offset) const;
  /// Who shows, in this order, what a style's font lacks; borrowed. What nobody has shows as the
  /// box of the style's font.
  void SetFallbacks(std::span<KTypeface* const> faces);
  void SetFormat(const KParagraphFormat& format);
  const KParagraphFormat& Format() const;

  // --- measures

  KLength Width() const;          ///< of the widest line
  KLength Height() const;         ///< of all lines
  KLength NaturalWidth() const;   ///< of its widest line if no width were set
  KLength LeastWidth() const;     ///< of its widest part that cannot be broken between words
  std::size_t LineCount() const;  ///< at least 1
  /// A line that there is; the last for those beyond.
  KTextLine LineAt(std::size_t index) const;
  /// The number of the line that shows the place.
  std::size_t LineOf(KTextPlace place) const;
  /// Whether all of the text is shown: not cut by maxLines, nor hidden by an ellipsis.
  bool IsComplete() const;
  /// The glyphs of a line from left to right, as Draw places them.
  std::vector<KPlacedGlyph> GlyphsOf(std::size_t line) const;

  // --- places

  /// The character nearest to a point, on the line nearest to it.
  KTextHit HitTest(KLength x, KLength y) const;
  KCaret CaretAt(KTextPlace place) const;
  /// The boxes of a range, line by line, each from its line's top to its bottom.
  std::vector<KSelectionBox> SelectionBoxes(std::size_t begin, std::size_t end) const;
  /// Where a caret goes from there by one character as readers see them.
  std::size_t NextPlace(std::size_t offset) const;
  std::size_t PreviousPlace(std::size_t offset) const;

  // --- drawing

  /// Draws it with its top left corner at `origin`, in user space. Characters without a colour take
  /// the context's fill paint; colours change it: afterwards it is the last that was drawn. Lines
  /// above and below the target cost next to nothing. Glyphs beyond 16.16 are left out. Drawing
  /// again takes nothing from the heap.
  void Draw(KSoftContext2D& context, KVertex2D origin) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

#endif
