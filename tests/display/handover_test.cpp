// The hand-over of flips to their thread: always one of the two flips a frame, never both, never
// none; and whenever the display closes, nothing is left.
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
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
  /// `before` frames were drawn already.
  explicit Watcher(Rig& rig, std::uint32_t before = 0) : count(before), first(before) {
    rig.fb.Ioctl(FBIO_WAITFORVSYNC, nullptr);  // what was panned to before is none of its business
    rig.fb.OnFrame([this](const sim::Frame& frame) {
      EXPECT_TRUE(shown == nullptr || IsStamped(shown, count)) << "drawn over: " << count;
      ++count;
      EXPECT_TRUE(IsStamped(frame.pixels, count)) << "not frame " << count;
      shown = frame.pixels;
    });
  }
  std::uint32_t Count() const { return count - first; }

 private:
  const std::uint8_t* shown = nullptr;
  std::uint32_t count;
  std::uint32_t first;
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

/// The thread hangs in its first flip: within 200 ms it is given up, no frame is lost that it had
/// not accepted, and none that was given up comes on screen when it is back.
TEST(HandOver, GivesUpAThreadThatHangs) {
  enum Where { kBeforeAcknowledging, kBeforePanning, kInTheSync };
  struct Case {
    Where where;
    std::string message;
    std::string calls;  ///< of the thread; its sync is an early one, but it does not wait again
  };
  const Case cases[] = {{kBeforeAcknowledging, kSilent, ""},
                        {kBeforePanning, kStuck, "get\n"},
                        {kInTheSync, kStuck, "get\npan 0,12\nsync 0\n"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.where);
    Rig rig;
    rig.syncTakesUs = 0;
    Barrier barrier;
    std::atomic<bool> armed{false};
    const auto at = [&](Where where, Rig::Who who) {
      if (where == c.where && who == Rig::kWorker && armed.exchange(false)) barrier.Stay();
    };
    rig.onLock = [&](Rig::Who who) { at(kBeforeAcknowledging, who); };
    rig.onRequest = [&](Rig::Who who, unsigned) { at(kBeforePanning, who); };
    rig.onVsync = [&](Rig::Who who) {
      at(kInTheSync, who);
      return 0;
    };
    Display display;
    armed = true;
    // The frame that it hangs before panning to is lost; all others are watched.
    std::optional<Watcher> watcher;
    if (c.where != kBeforePanning) watcher.emplace(rig);
    display.DrawAndFlip();
    barrier.AwaitVisitor();
    if (!watcher) watcher.emplace(rig, 1);
    display.DrawAndFlip();
    EXPECT_EQ(Messages(rig.TakeLog()), c.message);
    EXPECT_FALSE(display.fb.IsAsync());
    // Closing waits for a thread that is about to touch the mailbox, but not in the driver.
    std::thread late([&] {
      if (c.where == kBeforeAcknowledging) std::this_thread::sleep_for(milliseconds(300));
      barrier.Open();
    });
    display.DrawAndFlip();
    if (c.where != kBeforeAcknowledging) late.join();
    display.fb.Close();
    if (late.joinable()) late.join();
    EXPECT_EQ(watcher->Count(), c.where == kBeforePanning ? 2u : 3u);
    EXPECT_TRUE(rig.ThreadsEnd());
    EXPECT_EQ(rig.Take(Rig::kWorker), c.calls);
    EXPECT_EQ(rig.TakeLog(), "");
  }
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

/// Many hand-overs with random delays at every step of both threads; and a paced run, where the
/// renderer draws while the thread waits for real syncs.
TEST(HandOver, ShowsEveryFrameOnceInOrder) {
  for (std::uint32_t seed = 0; seed <= kSeeds && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    sim::Settings settings = Rig::Tiny();
    if (seed == 0) settings.hz = 1000;
    Rig rig(settings);
    rig.clockOffsetUs = 600000000;
    rig.delays = seed;
    rig.syncTakesUs = seed % 2 == 0 ? 0 : 1000;
    Random random(seed);
    Display display;
    Watcher watcher(rig);
    const std::uint32_t frames = seed == 0 ? 2000 : 500;
    for (std::uint32_t i = 0; i < frames; ++i) {
      const KRect whole{0, 0, 20, 12};
      display.DrawAndFlip(random.Below(4) != 0, random.Below(2) != 0 ? &whole : nullptr);
    }
    EXPECT_TRUE(display.fb.IsAsync());
    display.fb.Close();
    EXPECT_EQ(watcher.Count(), frames);
    EXPECT_EQ(rig.TakeLog(), "");
  }
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
