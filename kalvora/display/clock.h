// The clock of all waits: the monotonic one, which nobody sets.
#ifndef KALVORA_DISPLAY_CLOCK_H
#define KALVORA_DISPLAY_CLOCK_H

#include <cstdint>
#include <ctime>

namespace kalvora {

/// The instant `timeoutMs` after `now`, with nanoseconds below one second (timed waits refuse
/// others).
inline timespec DeadlineAfter(const timespec& now, int timeoutMs) {
  const std::int64_t ns = std::int64_t{timeoutMs} * 1000000 + now.tv_nsec;
  timespec deadline{};
  deadline.tv_sec = static_cast<time_t>(now.tv_sec + ns / 1000000000);
  deadline.tv_nsec = static_cast<decltype(deadline.tv_nsec)>(ns % 1000000000);
  return deadline;
}

inline timespec DeadlineIn(clockid_t clock, int timeoutMs) {
  timespec now{};
  clock_gettime(clock, &now);
  return DeadlineAfter(now, timeoutMs);
}

inline std::int64_t MicrosecondsNow() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

}  // namespace kalvora

#endif
