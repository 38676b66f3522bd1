// Dividing a text into items: runs of one style, font, script and level.
#ifndef KITS_TYPESET_ITEMIZE_H
#define KITS_TYPESET_ITEMIZE_H

#include "kits/typeset/content.h"

namespace kalvora::typeset {

/// Makes the items, without glyphs, of a text whose characters, units and levels are known. Each
/// cluster is shown in the first font that has all of it, its style's and then the fallbacks; a
/// space goes with what stands before it; emoji prefer fonts in colours.
void Itemize(Content& content, const std::vector<Level>& levels);

}  // namespace kalvora::typeset

#endif
