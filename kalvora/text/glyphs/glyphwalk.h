// Walking along a line of glyphs.
#ifndef KALVORA_TEXT_GLYPHS_GLYPHWALK_H
#define KALVORA_TEXT_GLYPHS_GLYPHWALK_H

#include "kalvora/text/glyphs/KGlyphMasks.h"

namespace kalvora {

/// Where the glyphs of a line go: one after another by their advances, from the pen `origin` on, or
/// each at its own of `positions` if that is not null.
struct GlyphPlaces {
  const KSoftMatrix3D& toDevice;  ///< maps origin and positions
  KVertex2D origin;
  const KVertex2D* positions;
};

/// Calls use(glyph, x, y) with each glyph that has a mask and the device pixel of that mask's top
/// left corner. Returns the pen after the last one. `names` is one of the readers in codes.h.
template <typename Names, typename Use>
KVertex2D ForEachGlyph(KGlyphMasks& masks, Names names, const GlyphPlaces& places, Use use) {
  KVertex2D pen = places.positions ? KVertex2D::Origin : places.toDevice.Map(places.origin);
  KVertex2D advance = KVertex2D::Origin;
  std::uint32_t name;
  unsigned place;
  while (names.Next(name, place)) {
    if (places.positions) pen = places.toDevice.Map(places.positions[place]);
    KVertex2D stands = pen;
    const KFTCacheData* glyph = masks.Find(name, masks.TakeQuarter(stands.x));
    if (glyph) {
      use(*glyph, RoundPixel(glyph->origin.x + stands.x), RoundPixel(glyph->origin.y + stands.y));
      advance = glyph->advance;
    }
    // Where there is no mask the advance is the one before.
    if (!places.positions) pen = pen + advance;
  }
  return places.positions ? pen + advance : pen;
}

}  // namespace kalvora

#endif
