// Images that stand in the document itself.
#ifndef EXAMPLES_SVG_IMAGE_H
#define EXAMPLES_SVG_IMAGE_H

#include <optional>
#include <string>
#include <string_view>

#include "kalvora/core/KSoftPixmap.h"

namespace svg {

/// Reads a PNG from a URI "data:...;base64,...". False for everything else: other files are not
/// opened, whatever the document says.
bool ReadDataImage(std::string_view uri, KSoftPixmap& picture);

/// The bytes of base64 text, white space left out; nothing when it is malformed.
std::optional<std::string> DecodeBase64(std::string_view text);

}  // namespace svg

#endif
