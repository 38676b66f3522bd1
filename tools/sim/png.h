// Writes frames as PNG files.
#ifndef KALVORA_TOOLS_SIM_PNG_H
#define KALVORA_TOOLS_SIM_PNG_H

#include <string>

#include "tools/sim/device.h"

namespace sim {

/// Writes the frame without alpha: 8 bits as grey, 16 as 5-6-5, 24 and 32 as blue, green, red.
/// False when the file cannot be written.
bool WritePng(const Frame& frame, const std::string& path);

}  // namespace sim

#endif
