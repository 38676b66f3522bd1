// Whatever is drawn, flipped and copied back: the screen shows the frame that was drawn.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/display/KLinuxFb.h"

#include "tests/display/rig.h"

namespace {

/// A picture without any buffering, next to the buffered one.
struct Canvas {
  unsigned width, height, pixel;
  std::vector<std::uint8_t> bytes;

  Canvas(unsigned w, unsigned h, unsigned bytesPerPixel)
      : width(w), height(h), pixel(bytesPerPixel), bytes(std::size_t{w} * h * bytesPerPixel) {}

  void Fill(void* buffer, const KRect& r, std::uint8_t value) {
    for (int y = r.top; y < r.bottom; ++y) {
      const std::size_t at =
          (static_cast<std::size_t>(y) * width + static_cast<unsigned>(r.left)) * pixel;
      const std::size_t n = static_cast<std::size_t>(r.right - r.left) * pixel;
      std::memset(bytes.data() + at, value, n);
      std::memset(static_cast<std::uint8_t*>(buffer) + at, value, n);
    }
  }
};

KRect RandomRect(Random& random, unsigned width, unsigned height) {
  const auto pick = [&](unsigned size) {
    const auto a = static_cast<std::int16_t>(random.Below(size + 1));
    const auto b = static_cast<std::int16_t>(random.Below(size + 1));
    return std::pair{std::min(a, b), std::max(a, b)};
  };
  const auto [left, right] = pick(width);
  const auto [top, bottom] = pick(height);
  return {left, top, right, bottom};
}

void Grow(KRect& all, const KRect& r) {
  if (r.IsEmpty()) return;
  all = all.IsEmpty() ? r
                      : KRect{std::min(all.left, r.left), std::min(all.top, r.top),
                              std::max(all.right, r.right), std::max(all.bottom, r.bottom)};
}

/// What a driver does when it shall pan.
enum Pans { kAlways, kRefuses, kIgnores, kNowAndThen };

/// One sequence of frames under the contract of Flip.
class Sequence {
 public:
  Sequence(std::uint32_t seed, KDisplay displayKind, unsigned bufferCount, KFormat pixelFormat,
           unsigned pixelBytes, Pans driverPans = kAlways)
      : random(seed),
        pans(driverPans),
        kind(displayKind),
        buffers(bufferCount),
        format(pixelFormat),
        rig(Shape()),
        canvas(kind == KDisplayShared ? 320 : settings.width,
               kind == KDisplayShared ? 480 : settings.height,
               kind == KDisplayShared ? 4 : pixelBytes) {}

  void Run() {
    rig.clockOffsetUs = 60000000;  // however slow this machine is, no flip times out
    // Where drivers do not pan, now the flip thread is the slower one and now the renderer; and
    // some threads could not be started.
    const bool alone = buffers == 3 && pans != kAlways && random.Below(4) == 0;
    if (alone) rig.FailCall(8);
    if (pans != kAlways) {
      rig.onLock = [this](Rig::Who who) {
        if (who == Rig::kRenderer && pauses.OneIn(4)) {
          std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
      };
    }
    KLinuxFb fb;
    void* buffer = fb.SetDisplay(kind, 0, format, buffers);
    ASSERT_NE(buffer, nullptr);
    rig.FailCall(-1);
    const auto* const memory =
        static_cast<std::uint8_t*>(buffer) - (buffers > 1 ? canvas.bytes.size() : 0);
    if (pans == kAlways) {
      rig.fb.OnFrame([this](const sim::Frame& frame) { OnScreen(frame); });
    } else {
      rig.onPan = [this](fb_var_screeninfo& mode) { return Pan(mode); };
    }
    const unsigned frames = 1 + random.Below(kind == KDisplayShared ? 5 : 12);
    bool current = false;
    for (unsigned i = 0; i < frames; ++i) {
      const bool whole = !current;
      const KRect dirty = Draw(buffer, whole);
      const bool given = !whole && random.Below(4) != 0;
      {
        const std::lock_guard<std::mutex> guard(lock);
        expected.push_back(canvas.bytes);
      }
      current = random.Below(4) != 0;
      KRect loose = dirty;
      if (random.Below(2) != 0) Grow(loose, RandomRect(random, canvas.width, canvas.height));
      buffer = fb.Flip(current, given ? &loose : nullptr);
      ASSERT_NE(buffer, nullptr);
      if (buffers == 1) current = true;
      // With three buffers its thread shows the frame a little later.
      if (buffers == 1 || (!fb.IsAsync() && kind == KDisplayFramebuffer)) {
        ASSERT_EQ(Shown(), canvas.bytes);
      }
      if (buffers > 1 && kind == KDisplayFramebuffer) {
        ASSERT_NE(static_cast<std::uint8_t*>(buffer) - memory,
                  rig.fb.Shown().pixels - rig.fb.Memory());
      }
    }
    EXPECT_EQ(fb.IsAsync(), buffers == 3 && !alone);
    fb.Close();  // waits for the last flip
    EXPECT_EQ(rig.TakeLog(), "");
    if (kind == KDisplayShared) {
      EXPECT_TRUE(std::equal(canvas.bytes.begin(), canvas.bytes.end(), rig.Surface().begin()));
    } else {
      EXPECT_EQ(Shown(), canvas.bytes);
      const std::lock_guard<std::mutex> guard(lock);
      EXPECT_TRUE(buffers == 1 || pans != kAlways || expected.empty());
    }
  }

 private:
  sim::Settings Shape() {
    settings = Rig::Tiny(buffers + random.Below(2));
    settings.width = 1 + random.Below(24);
    settings.height = 1 + random.Below(16);
    return settings;
  }

  /// On the flip thread with three buffers.
  int Pan(fb_var_screeninfo& mode) {
    if (pans == kNowAndThen && whims.Below(2) != 0) return rig.fb.Ioctl(FBIOPAN_DISPLAY, &mode);
    if (pans == kRefuses || (pans == kNowAndThen && whims.Below(2) != 0)) return EINVAL;
    return rig.fb.Ioctl(FBIOGET_VSCREENINFO, &mode);
  }

  KRect Draw(void* buffer, bool whole) {
    KRect dirty{0, 0, 0, 0};
    const KRect all{0, 0, static_cast<std::int16_t>(canvas.width),
                    static_cast<std::int16_t>(canvas.height)};
    if (whole) Add(buffer, all, dirty);
    for (unsigned i = random.Below(4); i > 0; --i) {
      Add(buffer, RandomRect(random, canvas.width, canvas.height), dirty);
    }
    return dirty;
  }

  void Add(void* buffer, const KRect& r, KRect& dirty) {
    canvas.Fill(buffer, r, static_cast<std::uint8_t>(random.Next()));
    Grow(dirty, r);
  }

  /// On the flip thread with three buffers.
  void OnScreen(const sim::Frame& frame) {
    const std::lock_guard<std::mutex> guard(lock);
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(0, std::memcmp(frame.pixels, expected.front().data(), expected.front().size()));
    expected.pop_front();
  }

  std::vector<std::uint8_t> Shown() {
    if (kind != KDisplayShared) return rig.Screen();
    return {rig.Surface().begin(), rig.Surface().end() - 1280};
  }

  Random random;
  Random whims{1};   ///< of the driver
  Random pauses{1};  ///< of the renderer
  Pans pans;
  sim::Settings settings;
  KDisplay kind;
  unsigned buffers;
  KFormat format;
  Rig rig;
  Canvas canvas;
  std::mutex lock;
  std::deque<std::vector<std::uint8_t>> expected;
};

TEST(Buffers, StayCurrentOnADevice) {
  for (std::uint32_t seed = 0; seed < 3000 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    const bool words = seed % 4 != 3;  // the data mover copies words only
    Sequence(seed, KDisplayFramebuffer, 1 + seed % 3, words ? KFormat8888PM : KFormat16,
             words ? 4 : 2)
        .Run();
  }
}

TEST(Buffers, StayCurrentWhereTheDriverDoesNotPan) {
  for (std::uint32_t seed = 0; seed < 900 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Sequence(seed, KDisplayFramebuffer, 2 + seed % 2, KFormat8888PM, 4,
             static_cast<Pans>(kRefuses + seed / 2 % 3))
        .Run();
  }
}

TEST(Buffers, StayCurrentInSharedMemory) {
  for (std::uint32_t seed = 0; seed < 300 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Sequence(seed, KDisplayShared, 1 + seed % 3, KFormat8888PM, 4).Run();
  }
}

}  // namespace
