// Notes: see the header.
#include "examples/svg/Notes.h"

#include <cstdio>

#include "examples/common/files.h"

namespace svg {

void Notes::Once(const std::string& message) {
  if (quiet_ || !said_.insert(message).second) return;
  std::fprintf(stderr, "kalvora-svg: %s: %s\n", examples::InputName(file_).c_str(),
               message.c_str());
}

}  // namespace svg
