// The rig's answers, and the wrapped calls that ask for them.
#include "tests/display/rig.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr unsigned kCopyRequest = 0x40044B01;  // of the data mover

std::atomic<Rig*> active{nullptr};
thread_local bool isRenderer = false;

/// A step of the code under test: now and then somebody else goes first.
void Step() {
  Rig* const rig = active.load();
  const std::uint32_t seed = rig != nullptr ? rig->delays.load(std::memory_order_relaxed) : 0;
  if (seed == 0) return;
  thread_local Random random(seed + (isRenderer ? 1 : 0));
  const std::uint32_t dice = random.Below(2048);
  if (dice < 256) {
    sched_yield();
  } else if (dice < 272) {
    usleep(random.Below(200));
  } else if (dice == 272) {
    usleep(3000);
  }
}

}  // namespace

Rig* Rig::Active() { return active; }

Rig::Who Rig::Caller() { return isRenderer ? kRenderer : kWorker; }

sim::Settings Rig::Tiny(unsigned buffers) {
  sim::Settings s;
  s.width = 20;
  s.height = 12;
  s.buffers = buffers;
  s.hz = 0;
  return s;
}

Rig::Rig(const sim::Settings& settings) : fb(settings), surface(320 * 481 * 4) {
  logFd = memfd_create("log", 0);
  isRenderer = true;
  active = this;
}

Rig::~Rig() {
  EXPECT_TRUE(ThreadsEnd());
  EXPECT_EQ(descriptors, 0);
  EXPECT_EQ(mappedBytes, 0u);
  EXPECT_EQ(attached, 0);
  active = nullptr;
  close(logFd);
}

std::string Rig::Take(Who who) {
  const std::lock_guard<std::mutex> guard(lock);
  std::string all;
  for (const std::string& call : calls[who]) all += call + "\n";
  calls[who].clear();
  return all;
}

std::string Rig::TakeLog() {
  const off_t size = lseek(logFd, 0, SEEK_END);
  std::string text(static_cast<std::size_t>(size), 0);
  EXPECT_EQ(pread(logFd, text.data(), text.size(), 0), static_cast<ssize_t>(size));
  EXPECT_EQ(ftruncate(logFd, 0), 0);
  return text;
}

bool Rig::ThreadsEnd() {
  for (int ms = 0; threads != 0 && ms < 20000; ++ms) usleep(1000);
  return threads == 0;
}

std::vector<std::uint8_t> Rig::Screen() {
  const sim::Frame f = fb.Shown();
  return {f.pixels, f.pixels + std::size_t{f.stride} * f.height};
}

bool Rig::Record(const std::string& call, bool canFail) {
  const bool fails = canFail && failCall >= 0 && failCall-- == 0;
  const std::lock_guard<std::mutex> guard(lock);
  calls[Caller()].push_back(fails ? call + " fails" : call);
  if (fails) errno = EIO;
  return !fails;
}

int Rig::Open(const char* path, int flags) {
  EXPECT_TRUE((flags & O_CLOEXEC) != 0) << path;
  flags &= ~O_CLOEXEC;
  if (!Record(Text("open %s %d", path, flags))) return -1;
  const bool mover = std::strcmp(path, "/dev/msm_adm") == 0;
  if (cardFd >= 0 && std::strcmp(path, "/dev/dri/card0") == 0) {
    EXPECT_EQ(flags, O_RDWR | O_NONBLOCK);
    ++descriptors;
    return dup(cardFd);
  }
  if (!mover && std::strcmp(path, "/dev/fb0") != 0) {
    errno = ENOENT;
    return -1;
  }
  ++descriptors;
  return mover ? moverFd = memfd_create("mover", 0) : fb.Open();
}

void Rig::Closing(int fd) {
  const bool isFb = fb.Owns(fd);
  const bool isCard = cardFd >= 0 && sim::SameFile(fd, cardFd);
  if (!isFb && !isCard && fd != moverFd) return;
  if (fd == moverFd) moverFd = -1;
  --descriptors;
  Record(isFb ? "close fb" : isCard ? "close card" : "close mover", false);
}

std::string Rig::Describe(unsigned request, const void* argument) const {
  const auto* const var = static_cast<const fb_var_screeninfo*>(argument);
  const auto* const word = static_cast<const std::uint32_t*>(argument);
  switch (request) {
    case FBIOGET_VSCREENINFO:
      return "get";
    case FBIOPUT_VSCREENINFO:
      return Text("put %ux%ux%u virtual %ux%u at %u,%u", var->xres, var->yres, var->bits_per_pixel,
                  var->xres_virtual, var->yres_virtual, var->xoffset, var->yoffset);
    case FBIOGET_FSCREENINFO:
      return "fix";
    case FBIOPAN_DISPLAY: {
      const std::string pan = Text("pan %u,%u", var->xoffset, var->yoffset);
      const std::uint32_t* const r = var->reserved;
      if (std::memcmp(r, "UPDT", 4) != 0) return pan + (r[0] == 0 ? "" : " ?");
      return pan + Text(" UPDT %u,%u %u,%u", r[1] & 0xFFFF, r[1] >> 16, r[2] & 0xFFFF, r[2] >> 16);
    }
    case FBIO_WAITFORVSYNC:
      return Text("sync %u", *word);
    case kCopyRequest: {
      const auto side = [&](const std::uint32_t* w) {
        return Text(" %u %u %u %u ", w[0], w[1], w[2], w[3]) +
               (fb.Owns(static_cast<int>(w[4])) ? "fb" : "?");
      };
      return "copy" + side(word) + " to" + side(word + 5);
    }
    default:
      return Text("ioctl %u", request);
  }
}

int Rig::Ioctl(int fd, unsigned request, void* argument) {
  if (!Record(Describe(request, argument))) return -1;
  if (onRequest) onRequest(Rig::Caller(), request);
  int error = ENOTTY;
  if (fb.Owns(fd)) {
    error = VideoIoctl(request, argument);
  } else if (fd == moverFd && request == kCopyRequest) {
    error = fb.CopyRect(static_cast<const std::uint32_t*>(argument));
    EXPECT_EQ(error, 0) << "the data mover refused a copy";
  }
  errno = error;
  return error == 0 ? 0 : -1;
}

int Rig::VideoIoctl(unsigned request, void* argument) {
  auto* const mode = static_cast<fb_var_screeninfo*>(argument);
  if (request == FBIO_WAITFORVSYNC) clockOffsetUs += syncTakesUs;
  if (request == FBIOPAN_DISPLAY && onPan) return onPan(*mode);
  const int error = fb.Ioctl(request, argument);
  if (error == 0 && request == FBIOPUT_VSCREENINFO && afterPut) afterPut(*mode);
  return error;
}

// --- the wrapped calls. Outside of a rig they are the real ones.

#define WRAP(result, name, ...)                 \
  extern "C" result __real_##name(__VA_ARGS__); \
  extern "C" result __wrap_##name(__VA_ARGS__)

WRAP(int, open, const char* path, int flags, ...) {
  Step();
  Rig* const rig = active;
  return rig != nullptr ? rig->Open(path, flags) : __real_open(path, flags);
}

WRAP(int, open64, const char* path, int flags, ...) {
  Step();
  Rig* const rig = active;
  return rig != nullptr ? rig->Open(path, flags) : __real_open64(path, flags);
}

WRAP(int, close, int fd) {
  Step();
  if (Rig* const rig = active) rig->Closing(fd);
  return __real_close(fd);
}

// Devices and shared memory have no real calls: whatever uses them has a rig.

extern "C" int __wrap_ioctl(int fd, unsigned long request, ...) {
  Step();
  std::va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return active.load()->Ioctl(fd, static_cast<unsigned>(request), argument);
}

extern "C" int __wrap_shmget(key_t key, std::size_t bytes, int flags) {
  Rig* const rig = active.load();
  if (!rig->Record(Text("shmget %d %zu %d", key, bytes, flags))) return -1;
  if ((flags & IPC_CREAT) != 0) rig->hasSegment = true;
  return 7;
}

extern "C" int __wrap_shmctl(int, int command, shmid_ds* segment) {
  Rig* const rig = active.load();
  if (command == IPC_RMID) rig->hasSegment = false;
  if (command == IPC_RMID) return 0;
  segment->shm_cpid = rig->segmentIsOurs ? getpid() : 1;
  segment->shm_nattch = static_cast<shmatt_t>(rig->attached.load());
  segment->shm_dtime = rig->segmentDetached ? 1 : 0;
  return 0;
}

extern "C" void* __wrap_shmat(int id, const void*, int) {
  Rig* const rig = active;
  if (!rig->Record(Text("shmat %d", id))) return reinterpret_cast<void*>(-1);
  ++rig->attached;
  return rig->surface.data();
}

extern "C" int __wrap_shmdt(const void* p) {
  Rig* const rig = active;
  EXPECT_EQ(p, rig->surface.data());
  --rig->attached;
  rig->segmentDetached = true;
  rig->Record("shmdt", false);
  return 0;
}

WRAP(void*, mmap, void* p, std::size_t bytes, int prot, int flags, int fd, off_t offset) {
  Rig* const rig = active;
  if (rig != nullptr && fd >= 0) {
    EXPECT_TRUE(p == nullptr && prot == (PROT_READ | PROT_WRITE) && flags == MAP_SHARED &&
                offset == 0);
    if (!rig->Record(Text("mmap %zu %s", bytes, rig->fb.Owns(fd) ? "fb" : "?"))) return MAP_FAILED;
    rig->mappedBytes += bytes;
  }
  return __real_mmap(p, bytes, prot, flags, fd, offset);
}

WRAP(void*, mmap64, void* p, std::size_t bytes, int prot, int flags, int fd, off64_t offset) {
  if (Rig* const rig = active; rig != nullptr && fd >= 0) {
    EXPECT_TRUE(p == nullptr && prot == (PROT_READ | PROT_WRITE) && flags == MAP_SHARED);
    if (!rig->Record("mmap card")) return MAP_FAILED;
    rig->mappedBytes += bytes;
  }
  return __real_mmap64(p, bytes, prot, flags, fd, offset);
}

WRAP(int, munmap, void* p, std::size_t bytes) {
  if (Rig* const rig = active) {
    EXPECT_NE(p, MAP_FAILED);
    rig->mappedBytes -= bytes;
    rig->Record("munmap", false);
  }
  return __real_munmap(p, bytes);
}

/// What the display code's clock says when the real one says so.
static std::int64_t Pretend(const Rig& rig, std::int64_t us) {
  const bool frozen = rig.frozen || (rig.workerFrozen && !isRenderer);
  return (frozen ? 0 : us) + rig.clockOffsetUs;
}

WRAP(int, gettimeofday, timeval* now, void* zone) {
  const int result = __real_gettimeofday(now, zone);
  if (Rig* const rig = active) {
    const std::int64_t us =
        Pretend(*rig, std::int64_t{now->tv_sec} * 1000000 + now->tv_usec) + rig->wallOffsetUs;
    now->tv_sec = static_cast<time_t>(us / 1000000);
    now->tv_usec = static_cast<suseconds_t>(us % 1000000);
  }
  return result;
}

WRAP(int, clock_gettime, clockid_t clock, timespec* now) {
  const int result = __real_clock_gettime(clock, now);
  if (Rig* const rig = active) {
    const std::int64_t us =
        Pretend(*rig, std::int64_t{now->tv_sec} * 1000000 + now->tv_nsec / 1000);
    now->tv_sec = static_cast<time_t>(us / 1000000);
    now->tv_nsec = static_cast<decltype(now->tv_nsec)>(us % 1000000 * 1000);
  }
  return result;
}

WRAP(std::FILE*, fopen, const char* path, const char* mode) {
  Rig* const rig = active;
  const bool log = rig != nullptr && std::strncmp(path, "/var/log/kalvora-", 17) == 0;
  return __real_fopen(log ? rig->LogPath().c_str() : path, mode);
}

struct ThreadStart {
  Rig* rig;
  void* (*body)(void*);
  void* argument;
};

static void* RunThread(void* start) {
  const ThreadStart s = *static_cast<ThreadStart*>(start);
  delete static_cast<ThreadStart*>(start);
  Step();
  s.body(s.argument);
  --s.rig->threads;
  return nullptr;
}

WRAP(int, pthread_create, pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
     void* argument) {
  Rig* const rig = active;
  int detached = PTHREAD_CREATE_JOINABLE;
  if (attributes != nullptr) pthread_attr_getdetachstate(attributes, &detached);
  // The display's threads are detached, those of tests are not.
  if (rig == nullptr || detached == PTHREAD_CREATE_JOINABLE) {
    return __real_pthread_create(thread, attributes, body, argument);
  }
  if (!rig->Record("thread")) return EAGAIN;
  ++rig->threads;
  return __real_pthread_create(thread, attributes, RunThread, new ThreadStart{rig, body, argument});
}

WRAP(int, pthread_mutex_lock, pthread_mutex_t* mutex) {
  Step();
  if (Rig* const rig = active; rig != nullptr && rig->onLock) rig->onLock(Rig::Caller());
  return __real_pthread_mutex_lock(mutex);
}

WRAP(int, pthread_mutex_clocklock, pthread_mutex_t* mutex, clockid_t clock,
     const timespec* deadline) {
  Step();
  EXPECT_TRUE(deadline->tv_nsec >= 0 && deadline->tv_nsec < 1000000000);
  return __real_pthread_mutex_clocklock(mutex, clock, deadline);
}

WRAP(int, pthread_mutex_unlock, pthread_mutex_t* mutex) {
  const int result = __real_pthread_mutex_unlock(mutex);
  Step();
  return result;
}

WRAP(int, pthread_cond_signal, pthread_cond_t* condition) {
  Step();
  return __real_pthread_cond_signal(condition);
}
