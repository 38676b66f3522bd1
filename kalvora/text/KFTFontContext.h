// KFTFontContext: the text state of a drawing context, and its glyphs as masks and outlines.
#ifndef KALVORA_TEXT_KFTFONTCONTEXT_H
#define KALVORA_TEXT_KFTFONTCONTEXT_H

#include <cstdint>
#include <string_view>

#include "kalvora/core/KArray.h"
#include "kalvora/core/KColor32.h"
#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/text/KFTFallback.h"

class KFTFont;
class KSoftPath;
struct FT_Matrix_;
struct FT_Outline_Funcs_;

/// A box in 16.16 whose edges may lie beyond 32 bits.
struct KTextBox {
  std::int64_t left, top, right, bottom;  ///< an edge, 16.16
};

/// A primary font, what stands in for the characters it lacks, and the matrix glyphs are seen
/// through.
///
/// Glyph masks come from a cache that all contexts of a thread share: 400 KB of masks if
/// SetCacheBudget says nothing else, least recently used first to go. Masks in it hold their font
/// files in memory until they go. Of hinting, what a font says is part of what a mask is known by;
/// what the process says is not: masks made before SetGlobalAttribute switched it stay.
/// The coverage in a mask is FreeType's, whose versions, and 32-bit and 64-bit builds, may differ
/// by a level here and there; what is made of it is the same everywhere.
///
/// Fallback fonts take on the size of the primary font whenever they are asked. A font that is the
/// primary of one context and a fallback of another would change size at every turn and render its
/// glyphs again each time: use one KFTFont for each role.
///
/// Fonts are borrowed and must outlive their use, which includes every call here. A context is used
/// by one thread at a time, the one its fonts belong to. It cannot be copied.
class KALVORA_API KFTFontContext {
 public:
  KFTFont* font = nullptr;          ///< the primary font
  KFTFont* fallbackFont = nullptr;  ///< overrides the list when not null
  KArray<KFTFont*> fallbackFonts;   ///< the list; the array is this context's
  KFTFallback* fallback = nullptr;  ///< says who of the list supplies what; one reference held
  FT_Matrix_* matrix = nullptr;     ///< the glyph matrix, owned; the identity at first

  KFTFontContext();
  ~KFTFontContext();
  KFTFontContext(const KFTFontContext&) = delete;
  KFTFontContext& operator=(const KFTFontContext&) = delete;

  void SetFont(KFTFont* primary) { font = primary; }            ///< borrowed; null: no text
  void SetFallbackFont(KFTFont* only) { fallbackFont = only; }  ///< borrowed; null: the list
  /// The fonts to look in for what the primary lacks, best first, and code ranges that are always
  /// taken from one of them. Copies both; null or empty `fonts` ends the fallback. The first use of
  /// a combination of files and ranges looks up all 16-bit codes in them, later ones share the
  /// result. When memory runs out, characters that the primary lacks are not drawn until the next
  /// call.
  void SetFallbackFonts(const KArray<KFTFont*>* fonts, const KArray<KFTFontRange>* ranges);
  /// The font to look in for `ch` when the primary lacks it, or null.
  KFTFont* GetFallback(unsigned short ch) const;
  /// The same for any code. Beyond 16 bits, of a list, the first font that has the character.
  KFTFont* FallbackFor(std::uint32_t code) const;
  /// The glyph that shows a character, in the primary font or a fallback font, which takes on its
  /// size: the font, and the glyph's index in it, 0 for the primary's box when nobody has the
  /// character. Null without a loaded primary font, or when memory runs out.
  const KFTFont* FindGlyph(std::uint32_t code, std::uint32_t& index) const;
  /// The linear part of `m` becomes the glyph matrix of this context and its fonts: xx = m0,
  /// xy = m1, yx = m3, yy = m4, in FreeType's sense, whose y grows upward. Null is the identity.
  /// Nothing happens while there is no loaded primary font.
  void SetTransform(const KSoftMatrix3D* m);
  /// Moves the pen by the advances of UTF-8 text as DrawText would, without a transform: in the
  /// fonts that show it, to 1/64 pixel. Nothing is rendered.
  void AdvancePen(KVertex2D* pen, std::string_view utf8) const;
  /// Line heights of the primary font and the largest of its fallbacks, at the primary's size.
  /// Either pointer may be null.
  void GetHeight(KFixed* height, KFixed* fallbackHeight) const;

  /// Replaces `path` by the outline of a character of the primary font, pen at (0, 0), its contours
  /// closed. No fallback; what has no outline leaves the path empty. Of codes beyond 16 bits the
  /// low 16 are taken.
  void LoadChar(KSoftPath* path, int ch);
  /// A character's 8-bit coverage, the offset from the pen to its top left corner, and the advance
  /// to the next pen. Null, and nothing written, when it cannot be had. The pixmap is the cache's
  /// and good until the next LoadMask on this thread. A character that no font has shows the
  /// primary's box.
  KSoftPixmap* LoadMask(KVertex2D* origin, KVertex2D* advance, int ch);
  /// Replaces `path` by the outline of a glyph of any font, by its index, upright and with the pen
  /// at (0, 0). What has no outline leaves the path empty.
  static void LoadGlyph(KSoftPath* path, const KFTFont* from, std::uint32_t glyph);
  /// Always null.
  KSoftPixmap* LoadPixmap(KSoftPixmap* pixmap, KVertex2D* origin, KVertex2D* advance, int ch,
                          KColor32 color);
  /// Does nothing. See TrimCache.
  void ClearCache() {}

  /// A box of whole pixels around `count` characters as m would show them, or false when m turns or
  /// skews. Without `positions` it is `count` line heights wide; with them it is that much larger
  /// than they are (the first is read even when `count` is 0). Edges beyond 16 bits become the
  /// outermost ones.
  bool GetApproxBounds(KRect* out, unsigned count, KVertex2D origin, const KVertex2D* positions,
                       const KSoftMatrix3D& m) const;

  // The calling thread's cache.

  static unsigned GetCacheSize();  ///< bytes of masks
  /// How many bytes of masks it holds at most, 400 KB at first; what is too much goes at once, the
  /// least recently used first. With 0 every glyph is rendered whenever it is drawn.
  static void SetCacheBudget(unsigned bytes);
  /// Lets go of all masks, and of the files that no font has loaded: they are unmapped, and what
  /// lies at their paths by now is what LoadFont finds. Fonts stay as they are.
  static void TrimCache();
  /// Every pointer may be null. One character can count two misses: in the primary font and in a
  /// fallback.
  static void GetCacheStats(int* hits, int* misses, int* evictions, int* watermark,
                            int* avgNonZero);
  static void ResetCacheStats();
  /// Prints every cached mask and every font file to standard output.
  static void DumpFontCache();
  /// Prints the statistics and resets them, at most once a second in the process.
  static void DebugDumpStats();

  /// FreeType's outline callbacks, which append to the KSoftPath they are given.
  static const FT_Outline_Funcs_ funcs;

 protected:
  using Box = KTextBox;  ///< short for it
  /// The same box in 16.16, before whole pixels. Edges stay within 64 bits.
  bool ApproxBox(Box* box, unsigned count, KVertex2D origin, const KVertex2D* positions,
                 const KSoftMatrix3D& m) const;
  /// What `count` glyphs of this context's fonts, or those of `only` if it is not null, cover on
  /// the device at most, as far as the fonts themselves say how large their glyphs are.
  Box ReachOf(const KFTFont* only, unsigned count, KVertex2D origin, const KVertex2D* positions,
              const KSoftMatrix3D& m) const;
  /// LoadChar for any code.
  void LoadOutline(KSoftPath* path, std::uint32_t code);

 private:
  friend class KGlyphMasks;

  bool NeedMatrix();
  KFTFont** CopyList(const KArray<KFTFont*>& fonts);

  KFTFont** listMemory_ = nullptr;  // room for listRoom fallback fonts
  unsigned listRoom_ = 0;
  bool fallbackLost_ = false;  // there was no memory for the fallback fonts
};

#endif
