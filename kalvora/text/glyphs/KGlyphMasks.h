// KGlyphMasks: the glyphs of one draw as cached masks.
#ifndef KALVORA_TEXT_GLYPHS_KGLYPHMASKS_H
#define KALVORA_TEXT_GLYPHS_KGLYPHMASKS_H

#include <cstdint>

#include "kalvora/text/glyphs/KFTCache.h"

class KFTFont;
class KFTFontContext;

/// Finds the masks of one draw. What all its glyphs share, the font, its size, the glyph matrix of
/// the setting and the thread's cache, is looked at once: none of it may change while this lives.
class KGlyphMasks {
 public:
  enum Names { kCodes, kIndices };

  /// Glyphs of `primary`, named by character codes, whose lack the fallback fonts of `setting` make
  /// good, or by indices, which mean nothing in another font. They are seen through the linear part
  /// of `m`, or the setting's glyph matrix if that is null. Everything is borrowed. Without a
  /// loaded font or memory no glyph is found.
  KGlyphMasks(KFTFontContext& setting, const KFTFont* primary, Names names,
              const KSoftMatrix3D* m = nullptr);

  /// From here on glyphs stand on quarters of a pixel, if the primary font has outlines that keep
  /// their shapes.
  void UseQuarters();
  /// From here on glyphs of fonts that have colours are pixmaps in them; `ink` is what the font has
  /// coloured as the text.
  void UseColours(KColor32 ink);
  /// Takes from x, which is left on a whole pixel, the quarters for Find; 0 without UseQuarters.
  unsigned TakeQuarter(KFixed& x) const {
    if (!quarters_) return 0;
    // Rounded as whole pixels are, a little under half a quarter.
    const std::int32_t rounded = (x + KFixed::FromRaw(0x1FC0)).raw >> 14;
    x = KFixed::FromInt(rounded >> 2);
    return rounded & 3;
  }

  /// The glyph, moved to the right by a number of quarters. Good until the next call on this
  /// thread. Null when the glyph cannot be had.
  const KFTCacheData* Find(std::uint32_t glyph, unsigned quarter = 0) {
    if (!cache_) return nullptr;
    key_.Name(glyph, quarter);
    const KFTCacheData* data = cache_->Find(key_);
    return data ? data : FindMissed();
  }

 private:
  const KFTCacheData* FindMissed();
  KFTCacheKey KeyOf(const KFTFont& of) const;
  const KFTCacheData* Render(const KFTFont* from, std::uint32_t index, const KFTCacheKey& as);

  KFTFontContext& context_;
  const KFTFont* font_;
  const bool byIndex_;
  KFTCache* cache_;                                 // null when nothing can be found
  std::int32_t xx_ = 0, xy_ = 0, yx_ = 0, yy_ = 0;  // the glyph matrix
  bool quarters_ = false;
  bool colours_ = false;
  std::uint32_t inkOfText_ = 0;
  KFTCacheKey key_{};  // of the glyph that is looked for, in `font_`
};

#endif
