// Whatever is drawn, flipped and copied back: the screen shows the frame that was drawn.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <mutex>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "kalvora/display/KLinuxFb.h"

#include "tests/display/rig.h"

namespace {

/// What a driver does when it shall pan.
enum Pans { kAlways, kRefuses, kIgnores, kNowAndThen };

struct Binding {
  KDisplay kind;
  unsigned buffers;
  unsigned pixelBytes;
  Pans pans;
};

void Grow(KRect& all, const KRect& r) {
  if (r.IsEmpty()) return;
  all = all.IsEmpty() ? r
                      : KRect{std::min(all.left, r.left), std::min(all.top, r.top),
                              std::max(all.right, r.right), std::max(all.bottom, r.bottom)};
}

/// One sequence of frames under the contract of Flip, next to a picture without any buffering.
class Sequence {
 public:
  Sequence(std::uint32_t seed, const Binding& s)
      : random(seed),
        binding(s),
        isDevice(s.kind == KDisplayFramebuffer),
        width(isDevice ? 1 + random.Below(24) : 320),
        height(isDevice ? 1 + random.Below(16) : 480),
        rig(Board()),
        picture(std::size_t{width} * height * s.pixelBytes) {}

  void Run() {
    rig.clockOffsetUs = 60000000;  // however slow this machine is, no flip times out
    // Now the flip thread is the slower one and now the renderer; and some threads could not be
    // started.
    const bool alone =
        isDevice && binding.buffers == 3 && binding.pixelBytes == 4 && random.OneIn(4);
    if (alone) rig.FailCall(8);
    if (binding.pans != kAlways) {
      rig.onLock = [this](Rig::Who who) {
        if (who == Rig::kRenderer && pauses.OneIn(4)) usleep(200);
      };
    }
    KLinuxFb fb;
    void* buffer = fb.SetDisplay(
        binding.kind, 0, binding.pixelBytes == 4 ? KFormat8888PM : KFormat16, binding.buffers);
    ASSERT_NE(buffer, nullptr);
    rig.FailCall(-1);
    rig.Take();
    const auto* const memory =
        static_cast<std::uint8_t*>(buffer) - (binding.buffers > 1 ? picture.size() : 0);
    if (binding.pans == kAlways) {
      rig.fb.OnFrame([this](const sim::Frame& frame) { OnScreen(frame); });
    } else {
      rig.onPan = [this](fb_var_screeninfo& mode) { return Pan(mode); };
    }
    bool current = false;
    for (unsigned frames = 1 + random.Below(isDevice ? 12 : 5); frames > 0; --frames) {
      const bool whole = !current;
      KRect dirty = Draw(buffer, whole);
      {
        const std::lock_guard<std::mutex> guard(lock);
        expected.push_back(picture);
      }
      const bool given = !whole && !random.OneIn(4);
      if (random.OneIn(2)) Grow(dirty, RandomRect());  // larger than need be
      current = !random.OneIn(4);
      buffer = fb.Flip(current, given ? &dirty : nullptr);
      ASSERT_NE(buffer, nullptr);
      if (binding.buffers == 1) current = true;
      // With three buffers its thread shows the frame a little later.
      if (binding.buffers == 1 || (!fb.IsAsync() && isDevice)) {
        ASSERT_EQ(Shown(), picture);
      }
      if (!isDevice) {
        ASSERT_EQ(buffer == rig.surface.data(), binding.buffers == 1);
      } else if (binding.buffers > 1) {
        ASSERT_NE(static_cast<std::uint8_t*>(buffer) - memory,
                  rig.fb.Shown().pixels - rig.fb.Memory());
      }
    }
    EXPECT_EQ(fb.IsAsync(), binding.buffers == 3 && !alone);
    if (!isDevice || binding.buffers == 1) {
      EXPECT_EQ(rig.Take(), "");  // nothing to pan
    }
    fb.Close();  // waits for the last flip
    EXPECT_EQ(rig.TakeLog(), "");
    EXPECT_EQ(Shown(), picture);
    EXPECT_TRUE(expected.empty() || !isDevice || binding.buffers == 1 || binding.pans != kAlways);
  }

 private:
  sim::Settings Board() {
    sim::Settings settings = Rig::Tiny(binding.buffers + random.Below(2));
    settings.width = width;
    settings.height = height;
    return settings;
  }

  /// On the flip thread with three buffers, as is OnScreen.
  int Pan(fb_var_screeninfo& mode) {
    const bool now = binding.pans == kNowAndThen;
    if (now && whims.OneIn(2)) return rig.fb.Ioctl(FBIOPAN_DISPLAY, &mode);
    if (binding.pans == kRefuses || (now && whims.OneIn(2))) return EINVAL;
    return rig.fb.Ioctl(FBIOGET_VSCREENINFO, &mode);
  }

  void OnScreen(const sim::Frame& frame) {
    const std::lock_guard<std::mutex> guard(lock);
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(0, std::memcmp(frame.pixels, expected.front().data(), expected.front().size()));
    expected.pop_front();
  }

  std::vector<std::uint8_t> Shown() {
    if (isDevice) return rig.Screen();
    return {rig.surface.begin(), rig.surface.end() - 1280};
  }

  KRect RandomRect() {
    const auto pick = [&](unsigned size) {
      const auto a = static_cast<std::int16_t>(random.Below(size + 1));
      const auto b = static_cast<std::int16_t>(random.Below(size + 1));
      return std::pair{std::min(a, b), std::max(a, b)};
    };
    const auto [left, right] = pick(width);
    const auto [top, bottom] = pick(height);
    return {left, top, right, bottom};
  }

  /// Fills some rectangles, if need be the whole first, and returns what holds them all.
  KRect Draw(void* buffer, bool whole) {
    KRect dirty{0, 0, 0, 0};
    const KRect all{0, 0, static_cast<std::int16_t>(width), static_cast<std::int16_t>(height)};
    if (whole) Fill(buffer, all, dirty);
    for (unsigned i = random.Below(4); i > 0; --i) Fill(buffer, RandomRect(), dirty);
    return dirty;
  }

  void Fill(void* buffer, const KRect& r, KRect& dirty) {
    const auto value = static_cast<std::uint8_t>(random.Next());
    const std::size_t bytes = static_cast<std::size_t>(r.right - r.left) * binding.pixelBytes;
    for (int y = r.top; y < r.bottom; ++y) {
      const auto pixel = static_cast<std::size_t>(y) * width + static_cast<unsigned>(r.left);
      std::memset(picture.data() + pixel * binding.pixelBytes, value, bytes);
      std::memset(static_cast<std::uint8_t*>(buffer) + pixel * binding.pixelBytes, value, bytes);
    }
    Grow(dirty, r);
  }

  Random random;
  Random whims{1};   ///< of the driver
  Random pauses{1};  ///< of the renderer
  Binding binding;
  bool isDevice;
  unsigned width, height;
  Rig rig;
  std::vector<std::uint8_t> picture;
  std::mutex lock;
  std::deque<std::vector<std::uint8_t>> expected;  ///< frames that come on screen
};

void RunAll(std::uint32_t seeds, Binding (*make)(std::uint32_t seed)) {
  for (std::uint32_t seed = 0; seed < seeds && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Sequence(seed, make(seed)).Run();
  }
}

TEST(Buffers, StayCurrentOnADevice) {
  RunAll(3000, [](std::uint32_t seed) {  // the data mover copies words only
    return Binding{KDisplayFramebuffer, 1 + seed % 3, seed % 4 != 3 ? 4u : 2u, kAlways};
  });
}

TEST(Buffers, StayCurrentWhereTheDriverDoesNotPan) {
  RunAll(900, [](std::uint32_t seed) {
    const auto pans = static_cast<Pans>(kRefuses + seed / 2 % 3);
    return Binding{KDisplayFramebuffer, 2 + seed % 2, 4, pans};
  });
}

TEST(Buffers, StayCurrentInSharedMemory) {
  RunAll(300, [](std::uint32_t seed) { return Binding{KDisplayShared, 1 + seed % 3, 4, kAlways}; });
}

}  // namespace
