// KFTFont: one face of a font file at one size.
#ifndef KALVORA_TEXT_KFTFONT_H
#define KALVORA_TEXT_KFTFONT_H

#include <cstddef>
#include <cstdint>

#include "kalvora/core/KRect.h"
#include "kalvora/core/KVertex2D.h"
#include "kalvora/export.h"
#include "kalvora/support/KError.h"

class KFTCache;
class KFTFontContext;
struct KFTFaceEntry;
struct FT_FaceRec_;
struct KFTLib;
struct KFTSharedFile;

/// How the outlines of a font are fitted to the pixels.
enum KHinting : std::uint32_t {
  KHintingDefault = 0,  ///< as the process says: fully while UseFontHinting is set, else not
  KHintingNone = 1,     ///< not at all: the shapes of the font at any size
  KHintingLight = 2,    ///< in y alone, by FreeType's own rules; advances stay as they are
  KHintingFull = 3,     ///< as the font asks for
};

/// Where a glyph lies and leads, in pixels from its pen, y downward.
struct KGlyphExtents {
  std::int32_t left, top, right, bottom;  ///< what its mask covers; all 0 for a blank glyph
  KVertex2D advance;                      ///< to the next pen
};

/// A face, read through FreeType from a read-only mapping of its file or from memory.
///
/// Opening a file again is cheap: all fonts of a thread share its mapping and what was looked up in
/// it. The file must stay as it is while it is mapped: a process that reads from a file which
/// became shorter is ended by the system (SIGBUS), and one whose contents changed shows wrong
/// glyphs. To replace a font file, write a new one and rename it over the old.
///
/// A font belongs to the thread that loaded it: load, measure, draw and destroy it there. On other
/// threads Exists is false and AdvancePen does nothing; everything else is forbidden while the
/// font's own thread lives, its destruction too. When that thread ends the font becomes empty, and
/// may be destroyed or loaded again by any thread. Fonts cannot be copied.
///
/// Sizes are in pixels, y grows downward. Codes of 16 bits are single characters here: the halves
/// of surrogate pairs have no glyphs.
class KALVORA_API KFTFont {
 public:
  FT_FaceRec_* face = nullptr;      ///< null when no font is loaded
  std::int32_t faceIndex = 0;       ///< as given to LoadFont
  KFixed size = kalvora::kZero;     ///< 0 until the first SetFontSize
  KFixed height = kalvora::kZero;   ///< line height at the present size
  KFTSharedFile* file = nullptr;    ///< the font holds one reference
  const KFTCache* cache = nullptr;  ///< of the thread that first loaded this font; for information

  KFTFont() = default;
  ~KFTFont() { Release(nullptr); }
  KFTFont(const KFTFont&) = delete;
  KFTFont& operator=(const KFTFont&) = delete;

  /// Loads a face of a regular file at 18 pixels. True at once when it is loaded already. False
  /// leaves the font empty: the file cannot be mapped, is no font, has no such face, or one that
  /// cannot be drawn. A null path is false and changes nothing.
  bool LoadFont(const char* path, int index);
  /// Loads a face from `size` bytes of a font file in memory, which must stay as they are until the
  /// font is destroyed or has loaded another one.
  bool LoadFontFromMemory(const void* data, std::size_t size, int index);
  /// Why the last LoadFont or LoadFontFromMemory returned false, or that it did not.
  const KError& LastError() const { return error_; }
  /// In pixels. Faces that have nothing but bitmaps take their nearest size, of two equally near
  /// ones the larger, and their metrics are those of that size; but bitmaps in colour are scaled.
  void SetFontSize(KFixed newSize);
  /// For this and every face that is loaded from now on; KHintingDefault at first. Glyphs of
  /// different hinting lie in the cache side by side.
  void SetHinting(KHinting newHinting) { hinting_ = newHinting; }
  KHinting GetHinting() const { return hinting_; }

  KFixed GetFontHeight() const;  ///< from one baseline to the next; 0 without a face
  KFixed GetAscend() const;      ///< above the baseline; 0 without a face
  KFixed GetDescend() const;     ///< below the baseline, negative; 0 without a face

  /// Moves the pen by the advance of `ch`. A character that this font lacks is measured in the
  /// context's fallback font for it, or in `fallback`, which takes on this font's size; when that
  /// lacks it too, the box that it shows for it is measured, although the box of this font is
  /// drawn; when it is null, this font's. No kerning is applied: `next`, the code that follows or
  /// 0, only readies its lookup.
  void AdvancePen(KVertex2D* pen, unsigned short ch, unsigned short next, KFTFontContext* ctx);
  void AdvancePen(KVertex2D* pen, unsigned short ch, unsigned short next, KFTFont* fallback);
  /// The same for any code, in this font alone.
  void AdvancePen(KVertex2D* pen, std::uint32_t code);
  /// Whether the font has a glyph for the code.
  bool Exists(unsigned short ch) const;
  /// The index of a code's glyph, 0 when the font has none; codes beyond 16 bits too. False when
  /// there is no face, when this thread does not know its file, or when memory runs out.
  bool GlyphIndex(std::uint32_t code, std::uint32_t& index) const;
  /// The size of a line of text: (0, 0, advance, tallest to lowest point and baseline), rounded up.
  /// It holds 16 bits: longer lines wrap around. Without a face the rectangle is left alone.
  void GetBound(KRect& rect, const unsigned short* text, unsigned count) const;

  // For shaping: the font as it lies in memory, and its glyphs by their indices.

  /// The bytes of the font file, in which the face is number `faceIndex`, and their number; null
  /// and 0 when nothing is loaded. They are good as long as the font is.
  const void* GetFontData(std::size_t* bytes) const;
  /// Units of the font's outlines to the size; 0 without outlines.
  unsigned GetUnitsPerEm() const;
  /// The advance of a glyph as it is drawn upright, in 1/64 pixel where it is not hinted. No glyph
  /// gives (0, 0).
  KVertex2D GetGlyphAdvance(std::uint32_t glyph) const;
  /// What a glyph covers when it is drawn upright from a pen on whole pixels. False, and nothing
  /// written, when there is no such glyph.
  bool GetGlyphExtents(std::uint32_t glyph, KGlyphExtents& extents) const;

  /// Makes the font empty, for the library's own use. The mapping of the file at `keepPath` (may be
  /// null) is kept for a reload.
  void Release(const char* keepPath);

 private:
  void AdvancePenImpl(KVertex2D* pen, std::uint32_t ch, unsigned short next, KFTFont* fallback,
                      KFTFontContext* ctx);
  KFTLib* MakeReady(const char* keepPath);
  KFTFaceEntry* EntryOf(const KFTLib* thread, const void* data, std::size_t size) const;
  bool Open(KFTLib* thread, const KFTFaceEntry* entry, int index);
  void Attach(KFTLib* thread, KFTSharedFile* shared);
  void Detach();

  bool CanBeDrawn(int opened);
  KFixed Metric(std::int64_t v) const;

  KHinting hinting_ = KHintingDefault;
  KError error_;

  KFTLib* lib_ = nullptr;  // the library whose list of fonts this one is in
  KFTFont* nextFont_ = nullptr;
  KFTFont* prevFont_ = nullptr;
};

#endif
