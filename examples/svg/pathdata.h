// The grammar of path data (the `d` attribute) and of point lists.
#ifndef EXAMPLES_SVG_PATHDATA_H
#define EXAMPLES_SVG_PATHDATA_H

#include <string_view>
#include <vector>

#include "examples/svg/Outline.h"

namespace svg {

/// All commands, absolute and relative. At the first error the rest is dropped and what came before
/// it is kept, as the standard asks.
Outline ParsePathData(std::string_view text);

/// The pairs of a `points` attribute; an odd last number is dropped.
std::vector<Point> ParsePoints(std::string_view text);

}  // namespace svg

#endif
