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
      {0xb40b2dddd7b0eeae, 0xd4aa6ae9ff19f5f5}, {0x3aacb3ca78b3f80c, 0x202525e891cf1111},
      {0x270672960a106d04, 0xae89f7bc04b3a7ea}, {0xf57d42ddef15a684, 0x7962bd4224c3016a},
      {0x5a9ac8991ea9a747, 0xe80083aafb20298f}, {0x45d1c2039e8d70c2, 0x981a5b44d8ebf393},
      {0x35edbf717a18960d, 0x35edbf717a18960d}, {0x91943306d2b48d5c, 0x44573ecad2901336},
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
