// What one flip does: its system calls, the copies that keep back buffers current, the digits.
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/display/KLinuxFb.h"
#include "kalvora/display/flip/digits.h"
#include "kalvora/support/KFlags.h"

#include "tests/display/rig.h"

namespace {

class DisplayFpsOn {
 public:
  DisplayFpsOn() { Flags.DisplayFps = true; }
  ~DisplayFpsOn() { Flags.DisplayFps = false; }
};

/// The hint of a pan that only this rectangle differs.
std::string Update(const KRect& r) {
  return Text(" UPDT %d,%d %d,%d", r.left, r.top, r.right, r.bottom);
}

/// The data mover's copy of a rectangle from one buffer to another.
std::string Copy(const KRect& r, int from, int to) {
  if (!kMover) return "";
  const int at = r.top * 80 + r.left * 4;
  const std::string shape = Text(" %d %d 80", r.bottom - r.top, r.right - r.left);
  return "copy" + shape + Text(" %d fb to", from * 960 + at) + shape +
         Text(" %d fb\n", to * 960 + at);
}

TEST(Flip, OfTwoBuffersOnADevice) {
  const KRect all{0, 0, 20, 12};
  struct Case {
    bool copyBack;
    std::optional<KRect> dirty;
    std::optional<KRect> clipped;
    int syncUs;
  };
  const Case cases[] = {
      {true, {}, {}, 500},
      {true, {}, {}, 499},  // an early sync, after which it waits again
      {true, KRect{2, 3, 7, 5}, KRect{2, 3, 7, 5}, 1000},
      {true, KRect{-5, -5, 100, 100}, all, 1000},
      {true, KRect{15, -9, 99, 4}, KRect{15, 0, 20, 4}, 1000},
      {true, KRect{20, 0, 30, 5}, KRect{0, 0, 0, 0}, 1000},
      {true, KRect{9, 9, 3, 3}, KRect{0, 0, 0, 0}, 1000},
      {false, KRect{2, 3, 7, 5}, {}, 1000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    Rig rig;
    rig.frozen = true;
    rig.syncTakesUs = c.syncUs;
    KLinuxFb fb;
    auto* const back = static_cast<char*>(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 2));
    const KRect* const dirty = c.dirty ? &*c.dirty : nullptr;
    const std::string syncs = c.syncUs < 500 ? "sync 0\nsync 0\n" : "sync 0\n";
    const std::string update = c.clipped ? Update(*c.clipped) : "";
    const KRect copied = c.clipped.value_or(all);
    const std::string copy = c.copyBack && !copied.IsEmpty() ? Copy(copied, 1, 0) : "";
    rig.Take();
    EXPECT_EQ(fb.Flip(c.copyBack, dirty), back - 960);
    EXPECT_EQ(rig.Take(), "get\npan 0,12" + update + "\n" + syncs + copy);
    rig.FailCall(2);
    EXPECT_EQ(fb.Flip(false, nullptr), back);
    EXPECT_EQ(rig.Take(), "get\npan 0,0\nsync 0 fails\nsync 0\n");
    {
      const DisplayFpsOn on;  // the digits lie outside of the rectangle: no partial update
      fb.Flip(c.copyBack, dirty);
    }
    EXPECT_EQ(rig.Take(), "get\npan 0,12\n" + syncs + copy);
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

TEST(Flip, OfThreeBuffersOnADevicePreservesTwoFrames) {
  const KRect all{0, 0, 20, 12};
  const KRect a{2, 1, 6, 3};
  const KRect inA{3, 1, 6, 2};
  const KRect b{8, 5, 9, 9};
  const KRect none{0, 0, 0, 0};
  const struct {
    bool copyBack;
    std::optional<KRect> dirty;
    std::vector<KRect> copies;
  } frames[] = {
      {true, {}, {all}},  // nothing before: all
      {true, {}, {all}},  // the rectangle of the frame before is all already
      {true, a, {all}},     {true, b, {a, b}},
      {true, {}, {b, all}}, {false, b, {all}},  // what it copies here is of no use, and of no harm
      {true, a, {a}},       {true, inA, {a}},
      {true, a, {inA, a}},  {true, none, {a}},  // empty, but given
      {true, b, {b}},       {false, {}, {b}},
      {false, a, {}},       {true, {}, {all}},
  };
  Rig rig;
  rig.clockOffsetUs = 60000000;  // patient
  KLinuxFb fb;
  auto* const first = static_cast<char*>(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 3));
  rig.Take();
  int back = 1;  // 1, 2 and 0 take turns
  std::string flips;
  for (const auto& frame : frames) {
    SCOPED_TRACE(&frame - frames);
    const bool part = frame.copyBack && frame.dirty;
    flips += Text("get\npan 0,%d", back * 12) + (part ? Update(*frame.dirty) : "") + "\nsync 0\n";
    const int next = (back + 1) % 3;
    std::string copies;
    for (const KRect& r : frame.copies) copies += Copy(r, back, next);
    EXPECT_EQ(fb.Flip(frame.copyBack, frame.dirty ? &*frame.dirty : nullptr),
              first + (next - 1) * 960);
    EXPECT_EQ(rig.Take(), copies);
    back = next;
  }
  EXPECT_TRUE(fb.IsAsync());
  fb.Close();
  EXPECT_EQ(rig.Take(Rig::kWorker), flips);
  EXPECT_EQ(rig.TakeLog(), "");
}

/// Fails each call of some flips once: the frames that follow are shown all the same.
TEST(Flip, SurvivesEveryFailedCall) {
  for (unsigned buffers = 2; buffers <= 3; ++buffers) {
    bool met = true;
    for (int n = 0; met && !HasFailure(); ++n) {
      SCOPED_TRACE(testing::Message() << buffers << " " << n);
      Rig rig;
      rig.clockOffsetUs = 60000000;
      KLinuxFb fb;
      void* buffer = fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, buffers);
      rig.FailCall(n);
      for (int i = 0; i < 3; ++i) buffer = fb.Flip(true, nullptr);
      met = rig.Failed();
      rig.FailCall(-1);
      ASSERT_NE(buffer, nullptr);
      std::memset(buffer, 0x55, 960);
      fb.Flip(true, nullptr);
      fb.Close();
      EXPECT_EQ(rig.Screen(), std::vector<std::uint8_t>(960, 0x55));
      EXPECT_EQ(rig.TakeLog(), "");
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
