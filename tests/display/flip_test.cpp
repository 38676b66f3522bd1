// What one flip does: its system calls, the copies that keep back buffers current, the digits.
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/display/KLinuxFb.h"
#include "kalvora/display/digits.h"
#include "kalvora/support/KFlags.h"

#include "tests/display/rig.h"

namespace {

class DisplayFpsOn {
 public:
  DisplayFpsOn() { Flags.DisplayFps = true; }
  ~DisplayFpsOn() { Flags.DisplayFps = false; }
};

std::string Copy(unsigned h, unsigned w, unsigned from, unsigned to) {
  if (!kMover) return "";
  const std::string shape = std::to_string(h) + " " + std::to_string(w) + " 80 ";
  return "copy " + shape + std::to_string(from) + " fb to " + shape + std::to_string(to) + " fb\n";
}

TEST(Flip, OfTwoBuffersOnADevice) {
  struct Case {
    const char* name;
    bool copyBack;
    std::optional<KRect> dirty;
    int syncUs;
    std::string pan;   ///< behind the offset
    std::string copy;  ///< of a flip from buffer 1
  };
  const std::string whole = Copy(12, 20, 960, 0);
  const Case cases[] = {
      {"whole", true, {}, 500, "", whole},
      {"rectangle", true, KRect{2, 3, 7, 5}, 1000, " UPDT 2,3 7,5", Copy(2, 5, 1208, 248)},
      {"larger than the screen", true, KRect{-5, -5, 100, 100}, 1000, " UPDT 0,0 20,12", whole},
      {"partly outside", true, KRect{15, -9, 99, 4}, 1000, " UPDT 15,0 20,4", Copy(4, 5, 1020, 60)},
      {"outside", true, KRect{20, 0, 30, 5}, 1000, " UPDT 0,0 0,0", ""},
      {"inverted", true, KRect{9, 9, 3, 3}, 1000, " UPDT 0,0 0,0", ""},
      {"no copy back", false, KRect{2, 3, 7, 5}, 1000, "", ""},
      {"early sync", true, {}, 499, "", whole},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Rig rig;
    rig.frozen = true;
    rig.syncTakesUs = c.syncUs;
    KLinuxFb fb;
    auto* const back = static_cast<char*>(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 2));
    const KRect* const dirty = c.dirty ? &*c.dirty : nullptr;
    const std::string syncs = c.syncUs < 500 ? "sync 0\nsync 0\n" : "sync 0\n";
    rig.Take();
    EXPECT_EQ(fb.Flip(c.copyBack, dirty), back - 960);
    EXPECT_EQ(rig.Take(), "get\npan 0,12" + c.pan + "\n" + syncs + c.copy);
    rig.FailCall(2);
    EXPECT_EQ(fb.Flip(false, nullptr), back);
    EXPECT_EQ(rig.Take(), "get\npan 0,0\nsync 0 fails\nsync 0\n");
    {
      const DisplayFpsOn on;  // the digits lie outside of the rectangle: no partial update
      fb.Flip(c.copyBack, dirty);
    }
    EXPECT_EQ(rig.Take(), "get\npan 0,12\n" + syncs + c.copy);
  }
}

TEST(Flip, PansOnlyToWhatIsNotShown) {
  Rig rig;
  KLinuxFb fb;
  fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 2);
  rig.Take();
  fb.DisplayBuffer(0, nullptr, false);
  EXPECT_EQ(rig.Take(), "get\n");
  fb.DisplayBuffer(0, nullptr, true);
  EXPECT_EQ(rig.Take(), "get\npan 0,0\n");
  fb.DisplayBuffer(2, nullptr, false);
  EXPECT_EQ(rig.Take(), "get\npan 0,24\n");
  fb.DisplayBuffer(3, nullptr, true);
  EXPECT_EQ(rig.Take(), "");
}

// Buffers 1, 2, 0 are drawn in turn; their first bytes lie at 960, 1920 and 0.
TEST(Flip, OfThreeBuffersOnADevicePreservesTwoFrames) {
  struct Frame {
    bool copyBack;
    std::optional<KRect> dirty;
    std::string update;  ///< of the pan
    std::string copies;
  };
  const KRect a{2, 1, 6, 3};
  const KRect inA{3, 1, 6, 2};
  const KRect b{8, 5, 9, 9};
  const std::string forA = " UPDT 2,1 6,3";
  const std::string forB = " UPDT 8,5 9,9";
  const auto copyA = [](unsigned from, unsigned to) { return Copy(2, 4, from + 88, to + 88); };
  const auto copyB = [](unsigned from, unsigned to) { return Copy(4, 1, from + 432, to + 432); };
  const auto copyAll = [](unsigned from, unsigned to) { return Copy(12, 20, from, to); };
  const std::vector<std::vector<Frame>> sequences = {
      {{true, {}, "", copyAll(960, 1920)},  // nothing before: all
       {true, {}, "", copyAll(1920, 0)},    // the rectangle of the frame before is all already
       {true, a, forA, copyAll(0, 960)},
       {true, b, forB, copyA(960, 1920) + copyB(960, 1920)},
       {true, {}, "", copyB(1920, 0) + copyAll(1920, 0)}},
      {{true, a, forA, copyA(960, 1920)},
       {true, inA, " UPDT 3,1 6,2", copyA(1920, 0)},
       {true, a, forA, Copy(1, 3, 92, 1052) + copyA(0, 960)},
       {true, KRect{5, 5, 5, 5}, " UPDT 0,0 0,0", copyA(960, 1920)},  // empty, but given
       {true, b, forB, copyB(1920, 0)},
       {false, b, "", copyB(0, 960)},  // what it copies here is of no use, and of no harm
       {true, a, forA, copyA(960, 1920)}},
      {{false, {}, "", ""}, {false, a, "", ""}, {true, {}, "", copyAll(0, 960)}},
  };
  for (const auto& sequence : sequences) {
    SCOPED_TRACE(&sequence - sequences.data());
    Rig rig;
    rig.clockOffsetUs = 60000000;  // patient
    KLinuxFb fb;
    auto* const first = static_cast<char*>(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 3));
    rig.Take();
    unsigned back = 1;
    std::string flips;
    for (const Frame& frame : sequence) {
      flips += "get\npan 0," + std::to_string(back * 12) + frame.update + "\nsync 0\n";
      back = (back + 1) % 3;
      EXPECT_EQ(fb.Flip(frame.copyBack, frame.dirty ? &*frame.dirty : nullptr),
                first + (static_cast<int>(back) - 1) * 960);
      EXPECT_EQ(rig.Take(), frame.copies);
    }
    EXPECT_TRUE(fb.IsAsync());
    fb.Close();
    EXPECT_EQ(rig.Take(Rig::kWorker), flips);
    EXPECT_EQ(rig.TakeLog(), "");
  }
}

/// Fails each call of some flips once: the frames that follow are shown all the same.
TEST(Flip, SurvivesEveryFailedCall) {
  for (unsigned buffers = 2; buffers <= 3; ++buffers) {
    for (int n = 0;; ++n) {
      SCOPED_TRACE(testing::Message() << buffers << " " << n);
      Rig rig;
      rig.clockOffsetUs = 60000000;
      KLinuxFb fb;
      void* buffer = fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, buffers);
      rig.FailCall(n);
      for (int i = 0; i < 3; ++i) buffer = fb.Flip(true, nullptr);
      const bool met = rig.Failed();
      rig.FailCall(-1);
      ASSERT_NE(buffer, nullptr);
      std::memset(buffer, 0x55, 960);
      fb.Flip(true, nullptr);
      fb.Close();
      const auto screen = rig.Screen();
      EXPECT_EQ(std::count(screen.begin(), screen.end(), 0x55), 960);
      EXPECT_EQ(rig.TakeLog(), "");
      if (!met) break;
      ASSERT_LT(n, 100);
    }
  }
}

// More rows than the data mover's 16-bit rectangles can count: the processor copies.
TEST(Flip, OfATallScreenCopiesByTheProcessor) {
  sim::Settings settings = Rig::Tiny(2);
  settings.width = 1;
  settings.height = 20000;
  Rig rig(settings);
  KLinuxFb fb;
  auto* const back =
      static_cast<std::uint32_t*>(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 2));
  back[19999] = 77;
  rig.Take();
  auto* const next = static_cast<std::uint32_t*>(fb.Flip(true, nullptr));
  EXPECT_EQ(next[19999], 77u);
  EXPECT_EQ(rig.Take(), "get\npan 0,20000\nsync 0\n");
}

TEST(Digits, LookLikeThis) {
  struct Case {
    int value;
    unsigned width, height, bytes;
    std::string picture;  ///< row after row; '.' is what was there before
  };
  const Case cases[] = {
      {12, 13, 6, 4,
       ".............@@@  @  @@  .@ @ @@    @ .@ @  @  @@@ .@ @  @  @   .@@@ @@@ @@@ ."},
      {98345, 12, 5, 1, "@@  @ @ @@@   @ @ @ @   @@  @@@  @    @   @   @ @@    @ @@  "},
      {678, 12, 5, 2, " @  @@@ @@@ @     @ @ @ @@   @@ @@@ @ @   @ @ @ @@@   @ @@@ "},
      {-9, 12, 5, 3, "@@@ @@@ @@@ @ @ @ @ @ @ @ @ @ @ @ @ @ @ @ @ @ @ @@@ @@@ @@@ "},
      {909, 11, 5, 4, "@@@ @@@ ...@ @ @ @ ... @@ @ @ ...  @ @ @ ...@@  @@@ ..."},
      {9, 12, 4, 4, std::string(48, '.')},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    const std::size_t stride = c.width * c.bytes + 1;
    std::vector<std::uint8_t> pixels(stride * c.height, 0x11);
    kalvora::DrawNumber(
        {pixels.data(), c.width, c.height, static_cast<std::uint32_t>(stride), c.bytes}, c.value);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      const std::size_t x = i % stride / c.bytes;
      const char mark = x < c.width ? c.picture[i / stride * c.width + x] : '.';
      const int expected = mark == '@' ? 0xFF : mark == ' ' ? 0x00 : 0x11;
      ASSERT_EQ(pixels[i], expected) << i;
    }
  }
}

TEST(Digits, AreDrawnIntoTheShownBuffer) {
  const DisplayFpsOn on;
  for (const KDisplay kind : {KDisplayFramebuffer, KDisplayShared}) {
    for (unsigned buffers = 1; buffers <= 3; ++buffers) {
      SCOPED_TRACE(testing::Message() << kind << " " << buffers);
      Rig rig;
      rig.clockOffsetUs = 60000000;
      KLinuxFb fb;
      fb.SetFpsInterval(1000000000);  // no sample yet: 000
      fb.SetDisplay(kind, 0, KFormat8888PM, buffers);
      const std::size_t stride = fb.Stride();
      const std::size_t row = stride * (fb.Height() - 5);
      fb.Flip(true, nullptr);
      fb.Close();  // waits for the flip
      const auto screen = kind == KDisplayShared ? rig.surface : rig.Screen();
      EXPECT_EQ(screen[row - stride], 0);
      EXPECT_EQ(screen[row], 0xFF);
      EXPECT_EQ(screen[row + 3 * 4], 0);
      EXPECT_EQ(screen[row + 8 * 4], 0xFF);
    }
  }
}

TEST(DirtyRects, AreAStub) { EXPECT_EQ(KGetDirtyRects(nullptr, 1, 2, 3), 0); }

}  // namespace
