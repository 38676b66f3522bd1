// Meter: see the header.
#include "bench/Meter.h"

#include <cstdint>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

namespace bench {

Meter::Meter(const std::string& counterFile) {
  if (!counterFile.empty()) counter_ = open(counterFile.c_str(), O_RDONLY);
}

double Meter::Now() const {
  if (CountsInstructions()) {
    std::uint64_t count = 0;
    return pread(counter_, &count, sizeof count, 0) == sizeof count
               ? static_cast<double>(count) / 1000
               : 0;
  }
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e6 + static_cast<double>(t.tv_nsec) / 1e3;
}

}  // namespace bench
