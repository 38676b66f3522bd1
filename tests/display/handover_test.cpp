// The hand-over of flips to their thread: always one of the two flips a frame, never both, never
// none; and whenever the display closes, nothing is left.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include "kalvora/display/KLinuxFb.h"
#include "kalvora/support/KFlags.h"

#include "tests/display/rig.h"

namespace {

using std::chrono::milliseconds;

constexpr std::uint32_t kSeeds = kMover ? 40 : 4;  // the thread does not care for the data mover

const std::string kSilent =
    "Flip thread unresponsive, going synchronous.  FlipSent 1 AckReceived 0\n";
const std::string kStuck =
    "Flip thread unresponsive, going synchronous.  FlipSent 0 AckReceived 0\n";

/// The log's lines without their time.
std::string Messages(std::string log) {
  for (std::size_t at = 0; at < log.size(); at = log.find('\n', at) + 1) {
    EXPECT_EQ(log[at], '[');
    log.erase(at, log.find("] ", at) + 2 - at);
  }
  return log;
}

/// Something that threads run into and stay at until it opens.
class Barrier {
 public:
  void Stay() {
    std::unique_lock<std::mutex> guard(lock);
    ++inside;
    changed.notify_all();
    changed.wait(guard, [&] { return open; });
    --inside;
  }
  void AwaitVisitor() {
    std::unique_lock<std::mutex> guard(lock);
    changed.wait(guard, [&] { return inside > 0; });
  }
  void Open() {
    const std::lock_guard<std::mutex> guard(lock);
    open = true;
    changed.notify_all();
  }

 private:
  std::mutex lock;
  std::condition_variable changed;
  bool open = false;
  int inside = 0;
};

void Stamp(void* buffer, std::uint32_t frame) {
  std::fill_n(static_cast<std::uint32_t*>(buffer), 20 * 12, frame);
}

bool IsStamped(const std::uint8_t* pixels, std::uint32_t frame) {
  const auto* const p = reinterpret_cast<const std::uint32_t*>(pixels);
  return std::all_of(p, p + 20 * 12, [&](std::uint32_t v) { return v == frame; });
}

/// Watches what comes on screen: whole frames, in order, and none is drawn over while it is shown.
class Watcher {
 public:
  explicit Watcher(Rig& rig) {
    rig.fb.Ioctl(FBIO_WAITFORVSYNC, nullptr);  // what was panned to before is none of its business
    rig.fb.OnFrame([this](const sim::Frame& frame) {
      EXPECT_TRUE(shown == nullptr || IsStamped(shown, count)) << "drawn over: " << count;
      ++count;
      EXPECT_TRUE(IsStamped(frame.pixels, count)) << "not frame " << count;
      shown = frame.pixels;
    });
  }
  std::uint32_t Count() const { return count; }

 private:
  const std::uint8_t* shown = nullptr;
  std::uint32_t count = 0;
};

/// A display of three device buffers.
struct Display {
  KLinuxFb fb;
  void* buffer;
  std::uint32_t frame = 0;

  Display() : buffer(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 3)) {}
  void DrawAndFlip(bool copyBack = true, const KRect* dirty = nullptr) {
    Stamp(buffer, ++frame);
    buffer = fb.Flip(copyBack, dirty);
  }
};

TEST(HandOver, LeavesTheRendererFreeDuringTheSync) {
  Rig rig;
  rig.clockOffsetUs = 60000000;
  Barrier sync;
  rig.onVsync = [&](Rig::Who) {
    sync.Stay();
    return 0;
  };
  Display display;
  Watcher watcher(rig);
  display.DrawAndFlip();
  sync.AwaitVisitor();  // the thread waits for the sync, and Flip has returned
  Stamp(display.buffer, 2);
  EXPECT_EQ(watcher.Count(), 1u);
  sync.Open();
  display.DrawAndFlip();
  display.fb.Close();
  EXPECT_EQ(watcher.Count(), 2u);
  EXPECT_EQ(rig.TakeLog(), "");
}

TEST(HandOver, WaitsForALateThread) {
  Rig rig;
  bool started = false;
  rig.onThreadStart = [&] {
    std::this_thread::sleep_for(milliseconds(300));
    started = true;
  };
  Display display;
  EXPECT_TRUE(started);
  EXPECT_TRUE(display.fb.IsAsync());
}

TEST(HandOver, WithoutAThreadIsSynchronous) {
  Rig rig;
  rig.FailCall(8);
  Display display;
  ASSERT_NE(rig.Take().find("thread fails"), std::string::npos);
  EXPECT_FALSE(display.fb.IsAsync());
  Watcher watcher(rig);
  display.DrawAndFlip();
  EXPECT_EQ(watcher.Count(), 1u);
  EXPECT_EQ(rig.Take().rfind("get\npan 0,12\nsync 0\n", 0), 0u);
  EXPECT_EQ(rig.Take(Rig::kWorker), "");
}

/// The thread hangs in the vertical sync of frame 1: frame 2 gives it up after 200 ms.
TEST(HandOver, GivesUpAThreadThatIsStuckInTheSync) {
  Rig rig;
  rig.syncTakesUs = 0;
  Barrier sync;
  rig.onVsync = [&](Rig::Who who) {
    if (who == Rig::kWorker) sync.Stay();
    return 0;
  };
  Display display;
  Watcher watcher(rig);
  display.DrawAndFlip();
  sync.AwaitVisitor();
  rig.Take();
  display.DrawAndFlip();
  EXPECT_EQ(Messages(rig.TakeLog()), kStuck);
  EXPECT_FALSE(display.fb.IsAsync());
  EXPECT_EQ(watcher.Count(), 2u);
  display.DrawAndFlip();
  sync.Open();
  display.fb.Close();
  EXPECT_TRUE(rig.ThreadsEnd());
  // Its sync was an early one, but after being given up it does not wait again.
  EXPECT_EQ(rig.Take(Rig::kWorker), "get\npan 0,12\nsync 0\n");
  EXPECT_EQ(watcher.Count(), 3u);
  EXPECT_EQ(rig.TakeLog(), "");
}

/// The thread hangs before the pan: the frame that was given up never comes on screen.
TEST(HandOver, NeverPansToAFrameThatWasGivenUp) {
  Rig rig;
  Barrier beforePan;
  std::atomic<bool> armed{true};
  rig.onRequest = [&](Rig::Who who, unsigned) {
    if (who == Rig::kWorker && armed.exchange(false)) beforePan.Stay();
  };
  Display display;
  rig.Take();
  display.DrawAndFlip();
  beforePan.AwaitVisitor();
  Watcher watcher(rig);
  display.frame = 0;  // only what the renderer flips itself is watched
  display.DrawAndFlip();
  EXPECT_EQ(Messages(rig.TakeLog()), kStuck);
  beforePan.Open();
  display.DrawAndFlip();
  display.fb.Close();
  EXPECT_EQ(watcher.Count(), 2u);
  EXPECT_TRUE(rig.ThreadsEnd());
  EXPECT_EQ(rig.Take(Rig::kWorker), "get\n");
}

/// The thread was woken but does not get to run: no acknowledgement within 200 ms.
TEST(HandOver, GivesUpAThreadThatDoesNotAcknowledge) {
  Rig rig;
  Barrier beforeAcknowledging;
  std::atomic<bool> armed{false};
  rig.onLock = [&](Rig::Who who) {
    if (who == Rig::kWorker && armed.exchange(false)) beforeAcknowledging.Stay();
  };
  Display display;
  armed = true;
  Watcher watcher(rig);
  display.DrawAndFlip();
  EXPECT_EQ(Messages(rig.TakeLog()), kSilent);
  EXPECT_FALSE(display.fb.IsAsync());
  EXPECT_EQ(watcher.Count(), 1u);
  // Closing waits for a thread that is about to touch the mailbox, but not in the driver.
  std::thread late([&] {
    std::this_thread::sleep_for(milliseconds(300));
    beforeAcknowledging.Open();
  });
  display.fb.Close();
  late.join();
  EXPECT_TRUE(rig.ThreadsEnd());
  EXPECT_EQ(rig.Take(Rig::kWorker), "");
}

/// Closing while the thread is in the driver leaves it the device, and the display can open
/// another.
TEST(HandOver, LeavesTheDeviceToAStuckThread) {
  for (const bool reopen : {false, true}) {
    Rig rig;
    rig.syncTakesUs = 0;
    Barrier sync;
    std::atomic<int> syncs{0};
    rig.onVsync = [&](Rig::Who) {
      if (syncs++ == 0) sync.Stay();
      return 0;
    };
    {
      Display display;
      display.DrawAndFlip();
      sync.AwaitVisitor();
      rig.Take();
      if (reopen) {
        display.buffer = display.fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 2);
        ASSERT_NE(display.buffer, nullptr);
        display.DrawAndFlip();
        rig.Take();
      }
      display.fb.Close();
      EXPECT_EQ(rig.Take(),
                std::string(kMover ? "close mover\n" : "") + (reopen ? "munmap\nclose fb\n" : ""));
    }
    EXPECT_EQ(rig.Threads(), 1);
    EXPECT_EQ(rig.Descriptors(), 1);
    sync.Open();
    EXPECT_TRUE(rig.ThreadsEnd());
    EXPECT_EQ(rig.Take(Rig::kWorker), "get\npan 0,12\nsync 0\nmunmap\nclose fb\n");
  }
}

/// The thread comes back at about the moment when patience ends: whatever the two decide, every
/// frame is shown once.
TEST(HandOver, DecidesAboutLateThreads) {
  constexpr int kRuns = kMover ? 24 : 2;
  for (int run = 0; run < kRuns; ++run) {
    SCOPED_TRACE(run);
    const auto delay = std::chrono::microseconds(200000 + (run / 2 - kRuns / 4) * 200);
    Rig rig;
    rig.syncTakesUs = 0;
    std::atomic<bool> armed{false};
    const auto stall = [&](Rig::Who who) {
      if (who == Rig::kWorker && armed.exchange(false)) std::this_thread::sleep_for(delay);
    };
    if (run % 2 == 0) {
      rig.onLock = stall;
    } else {
      rig.onVsync = [&](Rig::Who who) {
        stall(who);
        return 0;
      };
    }
    Display display;
    Watcher watcher(rig);
    armed = true;
    for (int i = 0; i < 3; ++i) display.DrawAndFlip();
    const std::string log = Messages(rig.TakeLog());
    EXPECT_EQ(log, display.fb.IsAsync() ? "" : run % 2 == 0 ? kSilent : kStuck);
    display.fb.Close();
    EXPECT_EQ(watcher.Count(), 3u);
  }
}

/// Many hand-overs with random delays at every step of both threads.
TEST(HandOver, ShowsEveryFrameOnceInOrder) {
  for (std::uint32_t seed = 1; seed <= kSeeds && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Rig rig;
    rig.clockOffsetUs = 600000000;
    rig.delays = seed;
    rig.syncTakesUs = seed % 2 == 0 ? 1000 : 0;
    Random random(seed);
    Display display;
    Watcher watcher(rig);
    for (int i = 0; i < 500; ++i) {
      const KRect whole{0, 0, 20, 12};
      display.DrawAndFlip(random.Below(4) != 0, random.Below(2) != 0 ? &whole : nullptr);
    }
    EXPECT_TRUE(display.fb.IsAsync());
    display.fb.Close();
    EXPECT_EQ(watcher.Count(), 500u);
    EXPECT_EQ(rig.TakeLog(), "");
  }
}

/// The same at a paced rate: the renderer draws while the thread waits for real syncs.
TEST(HandOver, KeepsPace) {
  sim::Settings settings = Rig::Tiny();
  settings.hz = 1000;
  Rig rig(settings);
  rig.syncTakesUs = 0;
  rig.clockOffsetUs = 600000000;
  Display display;
  Watcher watcher(rig);
  for (int i = 0; i < 2000; ++i) display.DrawAndFlip();
  display.fb.Close();
  EXPECT_EQ(watcher.Count(), 2000u);
  EXPECT_EQ(rig.TakeLog(), "");
}

/// Closing at any moment, and binding again: nothing is left, whatever the thread was doing.
TEST(HandOver, SurvivesClosingAtEveryPoint) {
  Rig rig;
  rig.clockOffsetUs = 600000000;
  Random random(1);
  KLinuxFb fb;
  for (std::uint32_t cycle = 1; cycle <= 100 * kSeeds; ++cycle) {
    rig.delays = cycle;
    const KDisplay kind = random.Below(8) == 0 ? KDisplayShared : KDisplayFramebuffer;
    const unsigned buffers = random.Below(8) == 0 ? 2 : 3;
    Flags.DisplayFps = cycle % 2 != 0;
    ASSERT_NE(fb.SetDisplay(kind, 0, KFormat8888PM, buffers), nullptr);
    for (unsigned flips = random.Below(4); flips > 0; --flips)
      ASSERT_NE(fb.Flip(true, nullptr), nullptr);
    if (random.Below(2) == 0) fb.Close();
    if (cycle % 100 == 0) {
      fb.Close();
      ASSERT_TRUE(rig.ThreadsEnd());
      ASSERT_EQ(rig.Descriptors(), 0);
      rig.Take();
      rig.Take(Rig::kWorker);
    }
  }
  Flags.DisplayFps = false;
  EXPECT_EQ(rig.TakeLog(), "");
}

}  // namespace
