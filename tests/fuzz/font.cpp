// Any bytes as a font file.
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>

#include <sys/mman.h>
#include <unistd.h>

#include "tests/text/exercise.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const int fd = memfd_create("font", MFD_CLOEXEC);
  if (write(fd, data, size) == static_cast<ssize_t>(size)) {
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    const int seed = size > 0 ? data[size - 1] : 0;
    std::thread([&] { ExerciseFont(path.c_str(), 0, seed); }).join();
  }
  close(fd);
  return 0;
}
