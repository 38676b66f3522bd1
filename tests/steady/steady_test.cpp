// Steady state: of two equal frames of the gallery and the dashboard the second allocates nothing.
#include <ostream>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/kalvora.h"

#include "examples/dashboard/Dashboard.h"
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "tests/common/Allocations.h"

namespace gallery {
void PrintTo(const Scene& scene, std::ostream* out) { *out << scene.name; }
}  // namespace gallery

namespace {

/// A context on a pixmap.
struct Screen {
  std::vector<std::uint32_t> pixels;
  KSoftPixmap pixmap;
  KSoftContext2D context;

  Screen(unsigned width, unsigned height) : pixels(std::size_t{width} * height) {
    pixmap.Create(width, height, KFormat8888PM, pixels.data());
    EXPECT_TRUE(context.RenderToTexture(&pixmap));
  }
};

/// Draws a frame twice; the second allocates nothing and shows the same.
template <typename Frame>
void ExpectSteady(Screen& screen, Frame frame) {
  frame();
  const std::vector<std::uint32_t> first = screen.pixels;
  const Allocations allocations;
  frame();
  const int count = allocations.Count();
  EXPECT_EQ(count, 0);
  EXPECT_TRUE(screen.pixels == first);
}

class Gallery : public testing::TestWithParam<gallery::Scene> {};

TEST_P(Gallery, TheSecondFrameAllocatesNothing) {
  Screen screen(gallery::kWidth, gallery::kHeight);
  gallery::Kit kit;
  ExpectSteady(screen, [&] {
    screen.context.RenderToTexture(&screen.pixmap);
    screen.context.Clear({255, 255, 255, 255});
    kit.NextFrame();
    GetParam().draw(screen.context, kit);
    screen.context.Flip();
  });
}

INSTANTIATE_TEST_SUITE_P(Pictures, Gallery, testing::ValuesIn(gallery::kScenes));

TEST(Dashboard, TheSecondFrameAllocatesNothing) {
  Screen screen(320, 480);
  dashboard::Dashboard panel(screen.context, "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf");
  for (const unsigned n : {0u, 7u, 30u, 60u, 61u}) {
    ExpectSteady(screen, [&] {
      panel.Draw(n);
      screen.context.Flip(true);
    });
  }
}

TEST(Emoji, TheSecondFrameAllocatesNothing) {
  KFTFont font;
  if (!font.LoadFont("/usr/share/fonts/truetype/noto/NotoColorEmoji.ttf", 0)) GTEST_SKIP();
  Screen screen(320, 80);
  font.SetFontSize(KFixed::FromInt(40));
  screen.context.SetFont(&font);
  ExpectSteady(screen, [&] {
    screen.context.Clear({255, 255, 255, 255});
    screen.context.Transform().Identity();
    screen.context.DrawText("\U0001F600\U0001F680", {KFixed::FromInt(4), KFixed::FromInt(50)});
    screen.context.Transform().Rotate(KFixed::FromInt(20));
    screen.context.DrawText("\U0001F600\U0001F680", {KFixed::FromInt(160), KFixed::FromInt(10)});
    screen.context.Flip();
  });
  EXPECT_NE(screen.pixels, std::vector<std::uint32_t>(screen.pixels.size(), 0xFFFFFFFF));
}

}  // namespace
