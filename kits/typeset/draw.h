// Drawing lines with the library's glyph calls.
#ifndef KITS_TYPESET_DRAW_H
#define KITS_TYPESET_DRAW_H

#include "kalvora/kalvora.h"

#include "kits/typeset/layout.h"

namespace kalvora::typeset {

/// Draws the lines that may show on the context's target.
void DrawLines(const Content& content, const Layout& layout, KSoftContext2D& context,
               KVertex2D origin);

}  // namespace kalvora::typeset

#endif
