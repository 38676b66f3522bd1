// Glyphs as masks and coloured pixmaps.
#ifndef KALVORA_TEXT_GLYPHS_GLYPHRENDER_H
#define KALVORA_TEXT_GLYPHS_GLYPHRENDER_H

#include <cstdint>

#include "kalvora/text/glyphs/KFTCache.h"

class KFTFont;

namespace kalvora {

/// Renders a glyph of a font into `data` as a key says. False when FreeType cannot, when it would
/// be too large, or when memory runs out. The face is left without a transform.
bool RenderGlyph(const KFTFont& font, std::uint32_t index, const KFTCacheKey& as,
                 KFTCacheData& data);

}  // namespace kalvora

#endif
