// The hand-over of flips to their thread: always one of the two flips a frame, never both, never
// none; and whenever the display closes, nothing is left.
#include <algorithm>
#include <chrono>
#include <latch>
#include <thread>

#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include "kalvora/display/KLinuxFb.h"
#include "kalvora/support/KFlags.h"

#include "tests/display/rig.h"

namespace {

constexpr std::uint32_t kSeeds = kMover ? 40 : 4;  // the thread does not care for the data mover

const std::string kSilent =
    "Flip thread unresponsive, going synchronous.  FlipSent 1 AckReceived 0\n";
const std::string kStuck =
    "Flip thread unresponsive, going synchronous.  FlipSent 0 AckReceived 0\n";

/// The log, of one line at most, without its time.
std::string Message(const std::string& log) {
  return log.empty() ? log : log.substr(log.find("] ") + 2);
}

/// Once it is armed, the first thread that runs into it stays until it opens.
class Barrier {
 public:
  void Arm() { armed = true; }
  void Stay() {
    if (!armed.exchange(false)) return;
    visited.count_down();
    open.wait();
  }
  void AwaitVisitor() { visited.wait(); }
  void Open() { open.count_down(); }

 private:
  std::atomic<bool> armed{false};
  std::latch visited{1};
  std::latch open{1};
};

constexpr unsigned kLock = 0;

/// Calls `stall` whenever the flip thread is about to make a request or, for kLock, to take a lock.
void StallAt(Rig& rig, unsigned request, const std::function<void()>& stall) {
  rig.onLock = [=](Rig::Who who) {
    if (who == Rig::kWorker && request == kLock) stall();
  };
  rig.onRequest = [=](Rig::Who who, unsigned r) {
    if (who == Rig::kWorker && r == request) stall();
  };
}

/// A display of three device buffers, whose frames are filled with their numbers.
struct Display {
  KLinuxFb fb;
  void* buffer;
  std::uint32_t frame = 0;

  Display() : buffer(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 3)) {}
  void DrawAndFlip(bool copyBack = true, const KRect* dirty = nullptr) {
    std::fill_n(static_cast<std::uint32_t*>(buffer), 20 * 12, ++frame);
    buffer = fb.Flip(copyBack, dirty);
  }
};

/// Watches what comes on screen, and that nothing is drawn over while it is shown.
class Watcher {
 public:
  std::vector<std::uint32_t> frames;  ///< numbers of the frames, 0 for one that is not whole

  explicit Watcher(Rig& rig) {
    rig.fb.Ioctl(FBIO_WAITFORVSYNC, nullptr);  // what was panned to before is none of its business
    rig.fb.OnFrame([this](const sim::Frame& frame) {
      if (shown != nullptr) {
        EXPECT_EQ(Number(shown), frames.back()) << "drawn over";
      }
      shown = frame.pixels;
      frames.push_back(Number(shown));
    });
  }

 private:
  static std::uint32_t Number(const std::uint8_t* pixels) {
    const auto* const p = reinterpret_cast<const std::uint32_t*>(pixels);
    return std::count(p, p + 20 * 12, *p) == 20 * 12 ? *p : 0;
  }

  const std::uint8_t* shown = nullptr;
};

using Frames = std::vector<std::uint32_t>;

/// The thread hangs in its first flip: within 200 ms it is given up, no frame is lost that it had
/// not accepted, and none that was given up comes on screen when it is back.
TEST(HandOver, GivesUpAThreadThatHangs) {
  struct Case {
    unsigned before;
    std::string message;
    std::string calls;  ///< of the thread; after an early sync it does not wait again
    Frames frames;      ///< the frame that it hangs before panning to is lost
  };
  const Case cases[] = {{kLock, kSilent, "", {1, 2, 3}},
                        {FBIOGET_VSCREENINFO, kStuck, "get\n", {2, 3}},
                        {FBIO_WAITFORVSYNC, kStuck, "get\npan 0,12\nsync 0\n", {1, 2, 3}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.before);
    Rig rig;
    rig.syncTakesUs = 0;
    rig.workerFrozen = true;  // all the thread's syncs seem to be early ones
    Barrier barrier;
    StallAt(rig, c.before, [&] { barrier.Stay(); });
    Display display;
    Watcher watcher(rig);
    barrier.Arm();
    display.DrawAndFlip();  // in the driver, the thread leaves the renderer free
    barrier.AwaitVisitor();
    EXPECT_EQ(display.fb.IsAsync(), c.before != kLock);
    display.DrawAndFlip();
    EXPECT_EQ(Message(rig.TakeLog()), c.message);
    EXPECT_FALSE(display.fb.IsAsync());
    // Closing waits for a thread that is about to touch the mailbox, but not in the driver.
    std::thread late([&] {
      if (c.before == kLock) std::this_thread::sleep_for(std::chrono::milliseconds(300));
      barrier.Open();
    });
    display.DrawAndFlip();
    if (c.before != kLock) late.join();
    display.fb.Close();
    if (late.joinable()) late.join();
    EXPECT_EQ(watcher.frames, c.frames);
    EXPECT_TRUE(rig.ThreadsEnd());
    EXPECT_EQ(rig.Take(Rig::kWorker), c.calls);
    EXPECT_EQ(rig.TakeLog(), "");
  }
}

/// The thread comes back from panning when newer frames are on screen already: they stay there. And
/// what it had to show is not missing from them.
TEST(HandOver, KeepsTheLatestFrameWhenALatePanEnds) {
  Rig rig;
  rig.syncTakesUs = 0;
  Barrier barrier;
  rig.onPan = [&](fb_var_screeninfo& mode) {
    if (Rig::Caller() == Rig::kWorker) barrier.Stay();
    return rig.fb.Ioctl(FBIOPAN_DISPLAY, &mode);
  };
  Display display;
  barrier.Arm();
  display.DrawAndFlip();
  barrier.AwaitVisitor();
  const auto* const first = static_cast<const std::uint8_t*>(display.buffer) - 2 * 960;
  const KRect corner{0, 0, 1, 1};
  rig.Take();
  display.DrawAndFlip(true, &corner);
  EXPECT_EQ(rig.Take().find("UPDT"), std::string::npos);  // the whole screen
  const auto* const latest = static_cast<const std::uint8_t*>(display.buffer);
  display.DrawAndFlip(true, &corner);
  EXPECT_NE(rig.Take().find("UPDT"), std::string::npos);
  barrier.Open();
  display.fb.Close();  // does not wait for a thread in the driver
  EXPECT_TRUE(rig.ThreadsEnd());
  EXPECT_EQ(rig.fb.Shown().pixels - rig.fb.Memory(), latest - first);
}

/// Closing while the thread is in the driver leaves it the device, and the display can open
/// another. The settings of the frame-rate history stay.
TEST(HandOver, LeavesTheDeviceToAStuckThread) {
  for (const bool reopen : {false, true}) {
    Rig rig;
    rig.syncTakesUs = 0;
    Barrier sync;
    StallAt(rig, FBIO_WAITFORVSYNC, [&] { sync.Stay(); });
    sync.Arm();
    {
      Display display;
      display.fb.SetFpsInterval(0);
      display.fb.ResetFps(2);
      display.DrawAndFlip();
      sync.AwaitVisitor();
      rig.Take();
      if (reopen) {
        display.buffer = display.fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 2);
        ASSERT_NE(display.buffer, nullptr);
        for (int i = 0; i < 3; ++i) display.DrawAndFlip();
        rig.Take();
        display.fb.DumpFps();
        const std::string samples = rig.TakeLog();
        EXPECT_EQ(std::count(samples.begin(), samples.end(), '\n'), 2) << samples;
      }
      display.fb.Close();
      EXPECT_EQ(rig.Take(),
                std::string(kMover ? "close mover\n" : "") + (reopen ? "munmap\nclose fb\n" : ""));
    }
    EXPECT_EQ(rig.threads, 1);
    EXPECT_EQ(rig.descriptors, 1);
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
    StallAt(rig, run % 2 == 0 ? kLock : FBIO_WAITFORVSYNC, [&] {
      if (armed.exchange(false)) std::this_thread::sleep_for(delay);
    });
    Display display;
    Watcher watcher(rig);
    armed = true;
    for (int i = 0; i < 3; ++i) display.DrawAndFlip();
    const std::string log = Message(rig.TakeLog());
    EXPECT_EQ(log, display.fb.IsAsync() ? "" : run % 2 == 0 ? kSilent : kStuck);
    display.fb.Close();
    EXPECT_EQ(watcher.frames, (Frames{1, 2, 3}));
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
    Frames all(seed == 0 ? 2000 : 500);
    for (std::uint32_t& frame : all) {
      const KRect whole{0, 0, 20, 12};
      display.DrawAndFlip(random.Below(4) != 0, random.Below(2) != 0 ? &whole : nullptr);
      frame = display.frame;
    }
    EXPECT_TRUE(display.fb.IsAsync());
    display.fb.Close();
    EXPECT_EQ(watcher.frames, all);
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
    for (unsigned flips = random.Below(4); flips > 0; --flips) {
      ASSERT_NE(fb.Flip(true, nullptr), nullptr);
    }
    if (random.Below(2) == 0) fb.Close();
    if (cycle % 100 == 0) {
      fb.Close();
      ASSERT_TRUE(rig.ThreadsEnd());
      ASSERT_EQ(rig.descriptors, 0);
      rig.Take();
      rig.Take(Rig::kWorker);
    }
  }
  Flags.DisplayFps = false;
  EXPECT_EQ(rig.TakeLog(), "");
}

}  // namespace
