// Golden pictures: seeded random scenes, folded into hashes that hold on every processor.
#include <string>

#include <gtest/gtest.h>

#include "tests/common/Hash.h"
#include "tests/common/Random.h"
#include "tests/common/Scene.h"

namespace {

// Text is missing: FreeType's own builds differ.
TEST(Golden, RandomScenesOfBothLayouts) {
  constexpr std::uint64_t kHashes[][2] = {
      {0x316524a10ea903ba, 0xaee1c6d09c527c6e}, {0xe6e4e48670fde18b, 0x070bf2dd66796bd4},
      {0x053655b5bbb915ff, 0x012b7124249c3f17}, {0x0b09a0c40cdf8bbc, 0x69e013acbf72390e},
      {0x5c41553ddd7065e0, 0x299c8856109eaf6c}, {0xd9f6faed41c9b264, 0xcc7368bcb2fa7f7e},
      {0x35edbf717a18960d, 0x35edbf717a18960d}, {0x02a017864b1b700c, 0x66c360293341c516},
  };
  constexpr KFormat kFormats[] = {KFormat0888PM, KFormat8888PM};
  for (unsigned f = 0; f < std::size(kHashes); ++f) {
    for (unsigned layout = 0; layout < 2; ++layout) {
      Target target(kSceneSize, kSceneSize, kFormats[layout]);
      Random random(f);
      Hash hash;
      for (int i = 0; i < 500; ++i) {
        DrawScene(target, kFamilies[f], random.Next64(), nullptr);
        for (unsigned k = 0; k < kSceneSize * kSceneSize; ++k) {
          hash.Add(target.buffer.As<std::uint32_t>()[k]);
        }
      }
      EXPECT_EQ(hash.Value(), kHashes[f][layout])
          << kFamilies[f].name << " of layout " << layout << std::hex << " give 0x" << hash.Value();
    }
  }
}

}  // namespace
