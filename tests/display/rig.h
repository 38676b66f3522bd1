// The rig: a simulated board under the display code, which records every system call, answers it,
// and fails or delays it on demand.
#ifndef KALVORA_TESTS_DISPLAY_RIG_H
#define KALVORA_TESTS_DISPLAY_RIG_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tests/common/Random.h"
#include "tools/sim/device.h"

constexpr bool kMover = KALVORA_MSM_ADM != 0;

/// While one exists, the system calls of the display code end up here. The clock that the code asks
/// is the real one plus what the simulated vertical syncs took, so that no test waits for them.
class Rig {
 public:
  /// A board of tiny buffers whose vertical syncs come at once.
  static sim::Settings Tiny(unsigned buffers = 3);

  explicit Rig(const sim::Settings& settings = Tiny());
  /// Checks that nothing was left: descriptors, mappings, segments, threads.
  ~Rig();

  /// The calls since the last Take, one a line, of the test's thread or of all others.
  enum Who { kRenderer, kWorker };
  std::string Take(Who who = kRenderer);
  /// The lines in the error log since the last call.
  std::string TakeLog();

  /// Lets the n-th call from now (from 0) that can fail fail, once; -1: none.
  void FailCall(int n) { failCall = n; }
  /// True when the fault was met.
  bool Failed() const { return failCall < 0; }

  /// Waits until no thread of the display is left. Returns false after a long time.
  bool ThreadsEnd();
  int Threads() const { return threads; }
  int Descriptors();

  /// What is on screen: the device's frame, and the shared surface.
  std::vector<std::uint8_t> Screen();
  const std::vector<std::uint8_t>& Surface() const { return surface; }

  // Behaviour, to be set before a display is bound.
  std::function<void(fb_var_screeninfo&)> afterPut;  ///< what the driver makes of a mode
  std::function<void(fb_fix_screeninfo&)> afterFix;
  std::function<int(fb_var_screeninfo&)> onPan;  ///< instead of the pan: 0 or an error number
  std::function<void(Who, unsigned)> onRequest;  ///< before a request of a device is answered
  std::function<int(Who)> onVsync;  ///< instead of the simulated sync: 0 or an error number
  std::function<void()> onThreadStart;
  std::function<void(Who)> onLock;             ///< before every lock of a mutex
  std::atomic<int> syncTakesUs{1000};          ///< what the clock says a sync took
  std::atomic<std::int64_t> clockOffsetUs{0};  ///< added to the wall clock
  std::atomic<bool> frozen{false};             ///< the wall clock moves by the offset alone
  std::atomic<std::uint32_t> delays{0};        ///< not 0: random delays at every step, by this seed
  bool hasFb = true;

  sim::Framebuffer fb;

  // The system's side.
  int Open(const char* path, int flags);
  void Closing(int fd);
  int Ioctl(int fd, unsigned long request, void* argument);
  bool Mapping(std::size_t bytes, int fd);
  bool Unmapping(void* p, std::size_t bytes);
  void Mapped(void* p, std::size_t bytes);
  int Shmget(int key, std::size_t bytes, int flags);
  void* Shmat(int id);
  bool Shmdt(const void* p);
  bool Thread(int change);
  std::string LogPath() const;
  void Locking();

 private:
  bool Record(const std::string& call, bool canFail = true);
  int VideoIoctl(unsigned request, void* argument);
  std::string Describe(unsigned request, const void* argument) const;

  std::mutex lock;
  std::vector<std::string> calls[2];
  std::map<int, std::string> descriptors;
  std::map<const void*, std::size_t> mappings;
  std::vector<std::uint8_t> surface;
  int attached = 0;
  int moverFd = -1;
  int logFd = -1;
  std::atomic<int> failCall{-1};
  std::atomic<int> threads{0};
};

#endif
