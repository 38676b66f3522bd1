// Writes pictures as PNG files.
#ifndef EXAMPLES_COMMON_PNG_H
#define EXAMPLES_COMMON_PNG_H

#include <string>

#include "kalvora/core/KSoftPixmap.h"

namespace examples {

/// Writes a picture of format 4 (no alpha in the file) or 5 (straight alpha in the file). The file
/// appears under its name only when it is complete. Throws Error.
void WritePng(const KSoftPixmap& picture, const std::string& path);

}  // namespace examples

#endif
