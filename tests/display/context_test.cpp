// The drawing context on displays: the shown frames are those that it draws into a pixmap.
#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "kalvora/context/KSoftContext2D.h"

#include "tests/display/rig.h"

namespace {

KVertex2D At(int x, int y) { return {KFixed::FromInt(x), KFixed::FromInt(y)}; }

/// A pixmap of the display's size, and a context that draws into it.
struct Paper {
  KSoftPixmap pixmap;
  KSoftContext2D context;

  Paper(unsigned width, unsigned height, KFormat format) {
    pixmap.Create(width, height, format);
    std::memset(pixmap.pixels, 0, std::size_t{pixmap.stride} * height);
    EXPECT_TRUE(context.RenderToTexture(&pixmap));
  }
};

void DrawTriangle(KSoftContext2D& context, Random random, const KRect& clip) {
  context.SetClipRegion(clip);
  context.SetFillColor(KColor32(random.Next(), random.Next(), random.Next(), random.Next()));
  KVertex2D points[3];
  for (KVertex2D& p : points) {
    p.x = KFixed::FromRaw(random.Between(0, 400 << 16));
    p.y = KFixed::FromRaw(random.Between(0, 400 << 16));
  }
  context.DrawPolygon(points, 3, true);
}

TEST(ContextOnDisplay, ShowsWhatItDraws) {
  sim::Settings settings = Rig::Tiny();
  settings.width = 37;
  settings.height = 29;
  for (std::uint32_t seed = 0; seed < 120; ++seed) {
    SCOPED_TRACE(seed);
    const bool shared = seed / 3 % 4 == 0;
    const KFormat format = seed / 12 % 2 == 0 ? KFormat8888PM : KFormat0888PM;
    const int width = shared ? 320 : 37;
    const int height = shared ? 480 : 29;
    Rig rig(settings);
    rig.clockOffsetUs = 60000000;
    Random random(seed);
    Paper paper(static_cast<unsigned>(width), static_cast<unsigned>(height), format);
    KSoftContext2D context;
    ASSERT_TRUE(
        context.SetDisplay(shared ? KDisplayShared : KDisplayFramebuffer, 0, format, 1 + seed % 3));
    const KColor32 ground(9, 8, 7, 255);
    paper.context.Clear(ground);
    context.Clear(ground);
    context.Flip(true, nullptr);
    for (int frame = 0; frame < 6; ++frame) {
      const auto x = static_cast<std::int16_t>(random.Between(0, width - 1));
      const auto y = static_cast<std::int16_t>(random.Between(0, height - 1));
      const KRect dirty{x, y, static_cast<std::int16_t>(random.Between(x + 1, width)),
                        static_cast<std::int16_t>(random.Between(y + 1, height))};
      for (int i = 0; i < 3; ++i) {
        const Random shape(random.Next());
        DrawTriangle(paper.context, shape, dirty);
        DrawTriangle(context, shape, dirty);
      }
      context.Flip(true, &dirty);
    }
    EXPECT_TRUE(context.RenderToTexture(nullptr));  // closes the display
    EXPECT_EQ(rig.descriptors + rig.attached, 0);
    const auto screen = shared ? rig.surface : rig.Screen();
    EXPECT_EQ(0, std::memcmp(screen.data(), paper.pixmap.pixels,
                             std::size_t{paper.pixmap.stride} * paper.pixmap.height));
    EXPECT_EQ(rig.TakeLog(), "");
  }
}

/// Draws over everything in reach.
void Scribble(KSoftContext2D& context) {
  const KVertex2D all[] = {At(-9, -9), At(999, -9), At(999, 999), At(-9, 999)};
  context.SetFillColor({255, 255, 255, 255});
  context.DrawPolygon(all, 4, true);
  context.DrawRectangle(At(-9, -9), At(999, 999));
  context.Clear({255, 255, 255, 255});
  context.SetAttribute(1, 0xFFFFFFFF);
  context.SetAttribute(1, 0xFF000000);
}

TEST(ContextOnDisplay, FormatsThatCannotBeDrawnAreLeftAlone) {
  const bool accepted[] = {false, true, false, false, true, true, false, true};
  for (const unsigned depth : {16u, 32u}) {
    for (int format = 0; format < 8; ++format) {
      SCOPED_TRACE(testing::Message() << depth << " " << format);
      sim::Settings settings = Rig::Tiny();
      settings.bpp = depth;
      Rig rig(settings);
      KSoftContext2D context;
      const auto f = static_cast<KFormat>(format);
      EXPECT_EQ(context.SetDisplay(KDisplayFramebuffer, 0, f, 1), accepted[format]);
      Scribble(context);
      context.Flip(true, nullptr);
      Scribble(context);
      const auto screen = rig.Screen();
      const bool drawn = std::count(screen.begin(), screen.end(), 0xFF) > 0;
      EXPECT_EQ(drawn, format == 4 || format == 5);
    }
  }
}

TEST(ContextOnDisplay, FailuresLeaveNothingToDrawInto) {
  Rig rig;
  KSoftContext2D context;
  Scribble(context);
  // A pixmap stays bound.
  Paper paper(20, 12, KFormat8888PM);
  EXPECT_FALSE(paper.context.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 4));
  paper.context.Clear({255, 0, 0, 255});
  EXPECT_EQ(paper.pixmap.Row32(11)[19], 0xFFFF0000u);
  for (const KDisplay kind : {KDisplayFramebuffer, KDisplayShared}) {
    ASSERT_TRUE(context.SetDisplay(kind, 0, KFormat8888PM, 2));
    Scribble(context);
    EXPECT_FALSE(context.SetDisplay(KDisplayFramebuffer, 5, KFormat8888PM, 2));
    Scribble(context);
    context.Flip(true, nullptr);
    Scribble(context);
    EXPECT_EQ(rig.descriptors, 0);
  }
}

TEST(ContextOnDisplay, DumpsItsFrameRates) {
  Rig rig;
  rig.frozen = true;
  KSoftContext2D context;
  context.SetAttribute(3, 10);  // milliseconds
  context.SetAttribute(2, 3);
  ASSERT_TRUE(context.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 1));
  for (int frame = 0; frame < 50; ++frame) {
    rig.clockOffsetUs += 2000;
    context.Flip(true, nullptr);
  }
  context.SetAttribute(2, 1);
  EXPECT_EQ(rig.TakeLog(), "[80 ms] Fps 500\n[90 ms] Fps 500\n[100 ms] Fps 500\n");
  context.SetAttribute(2, 0xFFFFFFFF);  // no number of samples
  rig.clockOffsetUs += 40000;
  context.Flip(true, nullptr);
  context.SetAttribute(2, 1);
  EXPECT_EQ(rig.TakeLog(), "[140 ms] Fps 25\n");
}

}  // namespace
