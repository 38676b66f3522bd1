// KStack: sizes, order, growth and decay.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/raster/KStack.h"

#include "tests/common/Random.h"

namespace {

TEST(Stack, SizesAreMultiplesOf64) {
  struct Case {
    unsigned size, taken;
  };
  for (const Case c : {Case{1, 64}, Case{64, 64}, Case{65, 128}, Case{0, 0}}) {
    KStack stack;
    void* p = stack.Alloc(c.size);
    EXPECT_EQ(stack.used, c.taken);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u);
    stack.DeAlloc(p);
    EXPECT_EQ(stack.used, 0u);
  }
}

TEST(Stack, ReserveFollowsTheFrames) {
  KStack stack;
  stack.DeAlloc(stack.Alloc(10000));
  stack.Collect();
  EXPECT_EQ(stack.reserve, 10048u);
  EXPECT_EQ(stack.peak, 0u);
  stack.Collect();
  EXPECT_EQ(stack.reserve, 5024u);
}

TEST(Stack, ShrinkingKeepsTheAddress) {
  KStack stack;
  void* p = stack.Alloc(1000);
  EXPECT_EQ(stack.ReAlloc(p, 100), p);
  EXPECT_EQ(stack.used, 128u);
  stack.DeAlloc(p);
}

TEST(Stack, RefusesWhatCannotBeCounted) {
  KStack stack;
  void* p = stack.Alloc(64);
  EXPECT_EQ(stack.Alloc(UINT32_MAX), nullptr);
  EXPECT_EQ(stack.Alloc(UINT32_MAX - 100), nullptr);
  EXPECT_EQ(stack.ReAlloc(p, UINT32_MAX), nullptr);
  EXPECT_EQ(stack.used, 64u);
  stack.DeAlloc(p);
}

// Random allocations, resizings and releases against a plain model: contents survive, nothing
// overlaps.
TEST(Stack, BehavesLikeAStack) {
  struct Entry {
    unsigned char* p;
    unsigned size;
    unsigned char fill;
  };
  Random random(5);
  KStack stack;
  std::vector<Entry> model;
  for (int i = 0; i < 20000; ++i) {
    const unsigned size = 1 + random.Below(random.OneIn(10) ? 20000 : 400);
    const auto fill = static_cast<unsigned char>(i);
    const unsigned what = random.Below(5);
    if (what < 2 || model.empty()) {
      model.push_back({static_cast<unsigned char*>(stack.Alloc(size)), size, fill});
      std::memset(model.back().p, fill, size);
    } else if (what == 2) {
      Entry& top = model.back();
      const unsigned kept = std::min(size, top.size);
      top.p = static_cast<unsigned char*>(stack.ReAlloc(top.p, size));
      for (unsigned k = 0; k < kept; ++k) ASSERT_EQ(top.p[k], top.fill);
      std::memset(top.p, fill, size);
      top = {top.p, size, fill};
    } else {
      const Entry top = model.back();
      for (unsigned k = 0; k < top.size; ++k) ASSERT_EQ(top.p[k], top.fill);
      stack.DeAlloc(top.p);
      model.pop_back();
    }
    if (random.OneIn(100)) stack.Collect();
    std::uint32_t used = 0;
    for (const Entry& e : model) used += (e.size + 63) / 64 * 64;
    ASSERT_EQ(stack.used, used);
  }
  for (; !model.empty(); model.pop_back()) stack.DeAlloc(model.back().p);
  EXPECT_EQ(stack.used, 0u);
}

}  // namespace
