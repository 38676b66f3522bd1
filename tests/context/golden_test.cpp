// Golden pictures: seeded random scenes, folded into hashes that hold on every processor.
#include <string>

#include <gtest/gtest.h>

#include "tests/common/Hash.h"
#include "tests/common/Random.h"
#include "tests/context/Scene.h"

namespace {

// Text is missing: FreeType's own builds differ.
TEST(Golden, RandomScenesOfBothLayouts) {
  constexpr std::uint64_t kHashes[][2] = {
      {0x4a3eb65b0ad83dfb, 0x7d976a06baecf150}, {0xc604b4766103d7f7, 0x9faa2d7423533fbe},
      {0xf7eed9c74c4a7873, 0x7742f41af5aa9c95}, {0x24f32cc5ea4d5e35, 0x195b67c5827ce30f},
      {0xad4d4533ce3d2ff0, 0xb7a3bfe5a62f323c}, {0xb13935fe731d429a, 0x9e2eb1c080a4c8d4},
      {0x49903c177da2dbe0, 0x49903c177da2dbe0}, {0x60125afa404f01bb, 0xf81f9d2ae2a16295},
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
