// A clip rectangle shows exactly the pixels of the full draw, and leaves alone what lies outside.
#include <gtest/gtest.h>

#include "tests/common/Random.h"
#include "tests/common/Scene.h"

namespace {

constexpr int kSize = static_cast<int>(kSceneSize);

class Crop : public testing::TestWithParam<Family> {};

TEST_P(Crop, ClipRectanglesShowTheFullDraw) {
  constexpr KFormat kFormats[] = {KFormat0888PM, KFormat8888PM};
  Random random(7);
  int drawn = 0;
  for (const KFormat format : kFormats) {
    Target whole(kSceneSize, kSceneSize, format), cropped(kSceneSize, kSceneSize, format),
        bare(kSceneSize, kSceneSize, format);
    for (int i = 0; i < 1000; ++i) {
      const auto edge = [&] { return static_cast<std::int16_t>(random.Between(-4, kSize + 4)); };
      const std::int16_t x = edge(), y = edge();
      const KRect clip = random.OneIn(3) ? KRect{x, y, static_cast<std::int16_t>(x + 2), edge()}
                                         : KRect{x, y, edge(), edge()};
      const std::uint64_t seed = random.Next64();
      DrawScene(whole, GetParam(), seed, nullptr);
      DrawScene(cropped, GetParam(), seed, &clip);
      DrawScene(bare, {"", nullptr}, seed, nullptr);
      drawn += !(whole == bare);
      for (int k = 0; k < kSize * kSize; ++k) {
        const int px = k % kSize, py = k / kSize;
        const bool inside =
            px >= clip.left && px < clip.right && py >= clip.top && py < clip.bottom;
        const auto ux = static_cast<unsigned>(px), uy = static_cast<unsigned>(py);
        const std::uint32_t want = (inside ? whole : bare).At(ux, uy), got = cropped.At(ux, uy);
        ASSERT_EQ(want, got) << "scene " << i << " of format " << format << " at " << px << ","
                             << py << std::hex << ": " << got << " for " << want;
      }
    }
  }
  EXPECT_GT(drawn, 600);
}

// Large shapes of which a small clip shows a corner: curves beside it are not flattened, and
// upright sides are painted as blocks where two of their rows show.
TEST(CropOfLargeShapes, ShowsTheFullDraw) {
  constexpr unsigned kWide = 300;
  Random random(8);
  Target whole(kWide, kWide), cropped(kWide, kWide);
  for (int i = 0; i < 2500; ++i) {
    KSoftPath path;
    const auto point = [&] {
      return KVertex2D{KFixed::FromRaw(random.Between(-150 * 65536, 450 * 65536)),
                       KFixed::FromRaw(random.Between(-150 * 65536, 450 * 65536))};
    };
    for (std::uint32_t rings = i % 4 ? 1 : 1 + random.Below(3); rings > 0; --rings) {
      path.MoveTo(point());
      for (std::uint32_t pieces = 2 + random.Below(i % 4 ? 2 : 5); pieces > 0; --pieces) {
        const KVertex2D p[] = {point(), point(), point()};
        path.BezierTo(1 + random.Below(3), p, 1);
      }
      if (i % 4 == 0) {
        path.AddArc(point(), P(20, random.Between(1, 150)), kalvora::kZero, KFixed::FromInt(360));
      }
    }
    const auto x = static_cast<std::int16_t>(random.Between(0, 290));
    const auto y = static_cast<std::int16_t>(random.Between(0, 290));
    const auto size = static_cast<std::int16_t>(random.Between(1, 60));
    const KFillRule rule = random.OneIn(2) ? KFillEvenOdd : KFillNonZero;
    const KVertex2D corner = point(), opposite = random.OneIn(4) ? corner + P(0.7, 90) : point();
    for (Target* t : {&whole, &cropped}) {
      t->context.Clear({255, 255, 255, 255});
      if (t == &cropped) {
        t->context.SetClipRegion(
            {x, y, static_cast<std::int16_t>(x + size), static_cast<std::int16_t>(y + size)});
      }
      t->context.SetFillColor({200, 60, 20, 128});
      t->context.SetFillRule(rule);
      t->context.DrawPath(&path);
      t->context.DrawRectangle(corner, opposite, P(5, 7));
      t->context.ResetClip();
    }
    for (int px = x; px < std::min<int>(x + size, kWide); ++px) {
      for (int py = y; py < std::min<int>(y + size, kWide); ++py) {
        const auto ux = static_cast<unsigned>(px), uy = static_cast<unsigned>(py);
        ASSERT_EQ(whole.At(ux, uy), cropped.At(ux, uy)) << i << " at " << px << "," << py;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Everything, Crop, testing::ValuesIn(kFamilies));

}  // namespace
