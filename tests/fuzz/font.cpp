// Any bytes as a font file. The last one chooses the face and how the text is set.
#include <cstddef>
#include <cstdint>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include "kalvora/text/glyphs/KFTCache.h"

#include "tests/text/exercise.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const int fd = memfd_create("font", MFD_CLOEXEC);
  if (write(fd, data, size) == static_cast<ssize_t>(size)) {
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    const int seed = size > 0 ? data[size - 1] : 0;
    ExerciseFont(path.c_str(), seed / 64, seed);
    // What a thread would do when it ends: cached glyphs hold the file, and the next input comes
    // under the same path.
    delete KFTCache::Existing();
    KFTCache::TlsCache.Set(nullptr);
  }
  close(fd);
  return 0;
}
