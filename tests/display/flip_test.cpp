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

TEST(Flip, OfOneBufferNeverPans) {
  Rig rig;
  KLinuxFb fb;
  void* const buffer = fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 1);
  rig.Take();
  const KRect rect{1, 1, 2, 2};
  EXPECT_EQ(fb.Flip(true, &rect), buffer);
  EXPECT_EQ(fb.Flip(false, nullptr), buffer);
  EXPECT_EQ(rig.Take(), "");
}

TEST(Flip, OfTwoBuffersOnADevice) {
  struct Case {
    const char* name;
    bool copyBack;
    std::optional<KRect> dirty;
    int syncUs;
    int syncError;
    std::string pan;   ///< behind the offset
    std::string copy;  ///< of a flip from buffer 1
  };
  const std::string whole = Copy(12, 20, 960, 0);
  const Case cases[] = {
      {"whole", true, {}, 500, 0, "", whole},
      {"rectangle", true, KRect{2, 3, 7, 5}, 1000, 0, " UPDT 2,3 7,5", Copy(2, 5, 1208, 248)},
      {"larger than the screen", true, KRect{-5, -5, 100, 100}, 1000, 0, " UPDT 0,0 20,12", whole},
      {"partly outside", true, KRect{15, -9, 99, 4}, 1000, 0, " UPDT 15,0 20,4",
       Copy(4, 5, 1020, 60)},
      {"outside", true, KRect{20, 0, 30, 5}, 1000, 0, " UPDT 0,0 0,0", ""},
      {"empty", true, KRect{4, 4, 4, 9}, 1000, 0, " UPDT 0,0 0,0", ""},
      {"inverted", true, KRect{9, 9, 3, 3}, 1000, 0, " UPDT 0,0 0,0", ""},
      {"no copy back", false, KRect{2, 3, 7, 5}, 1000, 0, "", ""},
      {"early sync", true, {}, 499, 0, "", whole},
      {"failing sync", true, {}, 1000, EIO, "", whole},
      {"late sync", true, {}, 3000000, 0, "", whole},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Rig rig;
    rig.frozen = true;
    rig.syncTakesUs = c.syncUs;
    rig.onVsync = [&](Rig::Who) { return c.syncError; };
    KLinuxFb fb;
    auto* const back = static_cast<char*>(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 2));
    const KRect* const dirty = c.dirty ? &*c.dirty : nullptr;
    const std::string syncs = c.syncUs < 500 || c.syncError != 0 ? "sync 0\nsync 0\n" : "sync 0\n";
    rig.Take();
    EXPECT_EQ(fb.Flip(c.copyBack, dirty), back - 960);
    EXPECT_EQ(rig.Take(), "get\npan 0,12" + c.pan + "\n" + syncs + c.copy);
    EXPECT_EQ(fb.Flip(false, nullptr), back);
    EXPECT_EQ(rig.Take(), "get\npan 0,0\n" + syncs);
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

struct Frame {
  bool copyBack;
  std::optional<KRect> dirty;
  std::string copies;
};

// Buffers 1, 2, 0 are drawn in turn; their first bytes lie at 960, 1920 and 0.
TEST(Flip, OfThreeBuffersOnADevicePreservesTwoFrames) {
  const KRect a{2, 1, 6, 3};
  const KRect inA{3, 1, 6, 2};
  const KRect b{8, 5, 9, 9};
  const auto at = [](unsigned buffer, const KRect& r) {
    return buffer * 960 + static_cast<unsigned>(r.top) * 80 + static_cast<unsigned>(r.left) * 4;
  };
  const auto rect = [&](const KRect& r, unsigned from, unsigned to) {
    return Copy(static_cast<unsigned>(r.bottom - r.top), static_cast<unsigned>(r.right - r.left),
                at(from, r), at(to, r));
  };
  const std::vector<std::vector<Frame>> sequences = {
      {{true, {}, Copy(12, 20, 960, 1920)},  // nothing before: all
       {true, {}, Copy(12, 20, 1920, 0)},    // the rectangle of the frame before is all already
       {true, a, Copy(12, 20, 0, 960)},
       {true, b, rect(a, 1, 2) + rect(b, 1, 2)},
       {true, {}, rect(b, 2, 0) + Copy(12, 20, 1920, 0)}},
      {{true, a, rect(a, 1, 2)},
       {true, inA, rect(a, 2, 0)},
       {true, a, rect(inA, 0, 1) + rect(a, 0, 1)},
       {true, KRect{5, 5, 5, 5}, rect(a, 1, 2)},  // empty, but given
       {true, b, rect(b, 2, 0)},
       {false, b, rect(b, 0, 1)},  // what it copies here is of no use, and of no harm
       {true, a, rect(a, 1, 2)}},
      {{false, {}, ""}, {false, a, ""}, {true, {}, Copy(12, 20, 0, 960)}},
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
      const KRect* const dirty = frame.dirty ? &*frame.dirty : nullptr;
      flips += "get\npan 0," + std::to_string(back * 12);
      if (dirty != nullptr && frame.copyBack) {
        const auto word = [](int low, int high) {
          return std::to_string(low) + "," + std::to_string(high);
        };
        const KRect r = dirty->IsEmpty() ? KRect{0, 0, 0, 0} : *dirty;
        flips += " UPDT " + word(r.left, r.top) + " " + word(r.right, r.bottom);
      }
      flips += "\nsync 0\n";
      back = (back + 1) % 3;
      EXPECT_EQ(fb.Flip(frame.copyBack, dirty), first + (static_cast<int>(back) - 1) * 960);
      EXPECT_EQ(rig.Take(), frame.copies);
    }
    EXPECT_TRUE(fb.IsAsync());
    fb.Close();
    EXPECT_EQ(rig.Take(Rig::kWorker), flips);
    EXPECT_EQ(rig.TakeLog(), "");
  }
}

TEST(Flip, OfSharedMemoryStaysOutOfTheSurface) {
  for (unsigned buffers = 1; buffers <= 3; ++buffers) {
    Rig rig;
    rig.clockOffsetUs = 60000000;
    KLinuxFb fb;
    void* const first = fb.SetDisplay(KDisplayShared, 0, KFormat8888PM, buffers);
    rig.Take();
    EXPECT_EQ(first == rig.Surface().data(), buffers == 1);
    void* const second = fb.Flip(true, nullptr);
    EXPECT_EQ(second == first, buffers < 3);
    EXPECT_NE(second == rig.Surface().data(), buffers > 1);
    EXPECT_EQ(fb.Flip(true, nullptr), first);
    EXPECT_EQ(rig.Take() + rig.Take(Rig::kWorker), "");
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
      {9, 3, 5, 4, std::string(15, '.')},
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
      const auto screen = kind == KDisplayShared ? rig.Surface() : rig.Screen();
      EXPECT_EQ(screen[row - stride], 0);
      EXPECT_EQ(screen[row], 0xFF);
      EXPECT_EQ(screen[row + 3 * 4], 0);
      EXPECT_EQ(screen[row + 8 * 4], 0xFF);
    }
  }
}

TEST(FpsHistory, KeepsItsSettingsAndIsDumped) {
  Rig rig;
  KLinuxFb fb;
  fb.SetFpsInterval(0);
  fb.ResetFps(2);
  fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 1);
  fb.ResetFps(0);
  for (int i = 0; i < 5; ++i) fb.Flip(true, nullptr);
  fb.Close();
  fb.DumpFps();
  const std::string log = rig.TakeLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 2) << log;
  EXPECT_NE(log.find(" ms] Fps "), std::string::npos) << log;
}

TEST(DirtyRects, AreAStub) { EXPECT_EQ(KGetDirtyRects(nullptr, 1, 2, 3), 0); }

}  // namespace
