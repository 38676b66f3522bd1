// PNG files: writes pictures, and reads them from memory.
#ifndef EXAMPLES_COMMON_PNG_H
#define EXAMPLES_COMMON_PNG_H

#include <cstddef>
#include <string>

#include "kalvora/core/KSoftPixmap.h"

namespace examples {

/// Writes a picture of format 4 (no alpha in the file) or 5 (straight alpha in the file), as an
/// OutputFile. Throws Error.
void WritePng(const KSoftPixmap& picture, const std::string& path);

/// Shapes the picture (format 5) and fills it from a PNG file in memory. False when that is none,
/// is broken, or is larger than 8192 x 8192.
bool ReadPng(const void* data, std::size_t size, KSoftPixmap& picture);

}  // namespace examples

#endif
