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

INSTANTIATE_TEST_SUITE_P(Everything, Crop, testing::ValuesIn(kFamilies));

}  // namespace
