// The rig: a simulated board under the display code, which records every system call, answers it,
// and fails or delays it on demand.
#ifndef KALVORA_TESTS_DISPLAY_RIG_H
#define KALVORA_TESTS_DISPLAY_RIG_H

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "tests/common/Random.h"
#include "tools/sim/device.h"

constexpr bool kMover = KALVORA_MSM_ADM != 0;

/// A piece of a record.
template <typename... Values>
std::string Text(const char* format, Values... values) {
  char text[200];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

/// While one exists, the system calls of the display code end up here. The clock that the code asks
/// is the real one plus what the simulated vertical syncs took, so that no test waits for them.
class Rig {
 public:
  /// A board of tiny buffers whose vertical syncs come at once.
  static sim::Settings Tiny(unsigned buffers = 3);

  explicit Rig(const sim::Settings& settings = Tiny());
  /// Checks that nothing was left: descriptors, mappings, segments, threads.
  ~Rig();

  /// The one that exists.
  static Rig* Active();

  /// The calls since the last Take, one a line, of the test's thread or of all others.
  enum Who { kRenderer, kWorker };
  static Who Caller();
  std::string Take(Who who = kRenderer);
  /// The lines in the error log since the last call.
  std::string TakeLog();

  /// Lets the n-th call from now (from 0) that can fail fail, once; -1: none.
  void FailCall(int n) { failCall = n; }
  /// True when the fault was met.
  bool Failed() const { return failCall < 0; }

  /// Waits until no thread of the display is left. Returns false after a long time.
  bool ThreadsEnd();

  /// What a device shows, row after row.
  std::vector<std::uint8_t> Screen();

  // Behaviour, to be set before a display is bound.
  std::function<void(fb_var_screeninfo&)> afterPut;  ///< what the driver makes of a mode
  std::function<int(fb_var_screeninfo&)> onPan;      ///< instead of the pan: 0 or an error number
  std::function<void(Who, unsigned)> onRequest;      ///< before a request of a device is answered
  std::function<void(Who)> onLock;                   ///< before every lock of a mutex
  std::atomic<int> syncTakesUs{1000};                ///< what the clock says a sync took
  std::atomic<std::int64_t> clockOffsetUs{0};        ///< added to the clocks
  std::atomic<std::int64_t> wallOffsetUs{0};         ///< added to the wall clock alone
  std::atomic<bool> frozen{false};                   ///< the clocks move by the offset alone
  std::atomic<bool> workerFrozen{false};             ///< the same for the flip thread's clocks
  std::atomic<std::uint32_t> delays{0};  ///< not 0: random delays at every step, by this seed

  sim::Framebuffer fb;
  int cardFd = -1;  ///< what "/dev/dri/card0" is opened as, if there is one (see Card)

  // The system's side, for the wrapped calls.

  /// Notes a call. False when it shall fail.
  bool Record(const std::string& call, bool canFail = true);
  int Open(const char* path, int flags);
  void Closing(int fd);
  int Ioctl(int fd, unsigned request, void* argument);
  std::string LogPath() const { return "/proc/self/fd/" + std::to_string(logFd); }

  // What the display holds. The surface is that of shared memory.
  std::atomic<int> descriptors{0};
  std::atomic<int> attached{0};
  std::atomic<int> threads{0};
  std::atomic<std::size_t> mappedBytes{0};
  std::vector<std::uint8_t> surface;
  bool hasSegment = false;
  bool segmentIsOurs = true;  ///< this process made it
  std::atomic<bool> segmentDetached{false};

  /// For a fork: while it is held, no other thread holds what every call asks for.
  std::unique_lock<std::mutex> Hold() { return std::unique_lock(lock); }

 private:
  int VideoIoctl(unsigned request, void* argument);
  std::string Describe(unsigned request, const void* argument) const;

  std::mutex lock;
  std::vector<std::string> calls[2];
  int moverFd = -1;
  int logFd = -1;
  std::atomic<int> failCall{-1};
};

#endif
