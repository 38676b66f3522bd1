// Deadlines for timed waits, and a second opinion on whether they have passed.
#ifndef KALVORA_DISPLAY_DEADLINE_H
#define KALVORA_DISPLAY_DEADLINE_H

#include <cstdint>
#include <ctime>

#include <sys/time.h>

namespace kalvora {

/// The instant `timeoutMs` after `now`, with nanoseconds below one second (timed waits refuse
/// others).
inline timespec DeadlineAfter(const timeval& now, int timeoutMs) {
  const std::int64_t ns = std::int64_t{timeoutMs} * 1000000 + std::int64_t{now.tv_usec} * 1000;
  timespec deadline{};
  deadline.tv_sec = static_cast<time_t>(now.tv_sec + ns / 1000000000);
  deadline.tv_nsec = static_cast<decltype(deadline.tv_nsec)>(ns % 1000000000);
  return deadline;
}

/// The wall-clock instant `timeoutMs` from now, as timed waits want it.
inline timespec DeadlineIn(int timeoutMs) {
  timeval now{};
  gettimeofday(&now, nullptr);
  return DeadlineAfter(now, timeoutMs);
}

/// Counts a timeout down on the monotonic clock. A timed wait ends early when somebody sets the
/// wall clock forward; this says how much is really left.
class Patience {
 public:
  explicit Patience(int timeoutMs) : end(Now() + timeoutMs) {}
  /// Milliseconds left; 0 or less when it has run out.
  int Left() const { return static_cast<int>(end - Now()); }

 private:
  static std::int64_t Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
  }
  std::int64_t end;
};

}  // namespace kalvora

#endif
