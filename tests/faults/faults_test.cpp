// Every allocation of every scene fails, once or for good: no crash, no leak, and the next frame is
// right.
#include <cstring>
#include <optional>
#include <ostream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/text/KFTLib.h"
#include "kalvora/text/glyphs/KFTCache.h"

#include "tests/common/Allocations.h"
#include "tests/common/GuardedBuffer.h"
#include "tests/faults/World.h"

void PrintTo(const Frame& frame, std::ostream* out) { *out << frame.name; }

namespace {

struct Outcome {
  int calls;   ///< allocations until the frame that may fail was drawn
  int leaked;  ///< blocks that nobody gave back
  std::vector<std::uint8_t> next;
};

/// A frame in which the n-th allocation fails (0: none), and another without failures, by a new
/// context on a new thread, whose text caches are empty.
Outcome DrawTwice(const Frame& frame, int failing, bool persistently) {
  Outcome outcome{};
  std::thread([&] {
    GuardedBuffer pixels(World::kBytes);
    std::memset(pixels.data(), 0x11, pixels.size());
    const int before = Allocations::Live();
    std::optional<World> world;
    if (frame.warmFonts) world.emplace(pixels.data()).LoadFonts();
    {
      const Allocations allocations(failing, persistently);
      if (!world) world.emplace(pixels.data());
      world->Draw(frame.draw);
      outcome.calls = allocations.Count();
    }
    world->Draw(frame.draw);
    world.reset();
    KFTCache::TlsCacheDestructor(KFTCache::TlsCache.Get());
    KFTLib::TlsLibDestructor(KFTLib::TlsLib.Get());
    KFTCache::TlsCache.Set(nullptr);
    KFTLib::TlsLib.Set(nullptr);
    outcome.leaked = Allocations::Live() - before;
    outcome.next.assign(pixels.begin(), pixels.end());
  }).join();
  return outcome;
}

class Faults : public testing::TestWithParam<Frame> {};

TEST_P(Faults, LeaveTheNextFrameRight) {
  const Outcome want = DrawTwice(GetParam(), 0, false);
  EXPECT_EQ(want.leaked, 0);
  ASSERT_GT(want.calls, 2);
  for (const bool persistently : {false, true}) {
    for (int n = 1; n <= want.calls; ++n) {
      const Outcome got = DrawTwice(GetParam(), n, persistently);
      EXPECT_EQ(got.leaked, 0) << n << persistently;
      ASSERT_TRUE(got.next == want.next) << "allocation " << n << " of " << want.calls
                                         << (persistently ? " and all that follow" : "");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, Faults, testing::ValuesIn(kFrames));

}  // namespace
