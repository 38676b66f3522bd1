// KFpsHistory: sampling, the ring, the dump, and clocks and memory that misbehave.
#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "kalvora/support/KFpsHistory.h"

#include "tests/common/Allocations.h"

namespace {

std::string Dumped(const KFpsHistory& history) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* file = open_memstream(&text, &size);
  history.DumpTo(file);
  std::fclose(file);
  std::string result(text, size);
  free(text);
  return result;
}

// A history that begins at time 0.
void Start(KFpsHistory& history, int capacity, int intervalMs) {
  history.intervalMs = intervalMs;
  history.Reset(capacity);
  history.lastUs = 0;
}

TEST(FpsHistory, SamplesAtMostOncePerInterval) {
  KFpsHistory history;
  Start(history, 4, 500);
  const struct {
    std::int64_t nowUs;
    int fps;
  } flips[] = {
      {100000, 0},  {499999, 0},  {500000, 6},   // 3 frames in half a second
      {999999, 6},  {1100000, 3},                // 2 frames in 0.6 s
      {2600000, 0}, {3600000, 1}, {3500000, 1},  // the clock steps back: the interval starts anew
      {3999999, 1}, {4000000, 4},
  };
  for (const auto& flip : flips) EXPECT_EQ(history.FlipAt(flip.nowUs), flip.fps) << flip.nowUs;
  EXPECT_EQ(history.count, 5);
}

TEST(FpsHistory, DumpsTheLatestOldestFirst) {
  KFpsHistory history;
  EXPECT_EQ(history.FlipAt(1000000), 0);  // no ring yet
  EXPECT_EQ(Dumped(history), "");
  const struct {
    int capacity, samples;
    const char* expected;
  } table[] = {
      {3, 0, ""},
      {3, 2, "[1000 ms] Fps 1\n[2000 ms] Fps 1\n"},
      {3, 5, "[3000 ms] Fps 1\n[4000 ms] Fps 1\n[5000 ms] Fps 1\n"},
      {1, 3, "[3000 ms] Fps 1\n"},
  };
  for (const auto& row : table) {
    Start(history, row.capacity, 500);
    for (int i = 1; i <= row.samples; ++i) history.FlipAt(i * 1000000);
    EXPECT_EQ(Dumped(history), row.expected);
  }
}

TEST(FpsHistory, ResetKeepsOrReplacesTheRing) {
  KFpsHistory history;
  history.Reset(2);
  const struct {
    int asked, capacity;
    int failing;  ///< allocation
  } resets[] = {{0, 2, 0}, {-5, 2, 0}, {2, 2, 0}, {8, 2, 1}, {8, 8, 0}};
  for (const auto& reset : resets) {
    SCOPED_TRACE(reset.asked);
    history.intervalMs = 0;
    for (int flips = 0; flips < 2; ++flips) {  // the second, in slot 0
      EXPECT_GT(history.FlipAt(history.lastUs + 1000), 0);
    }
    {
      const Allocations failing(reset.failing);
      history.Reset(reset.asked);
    }
    EXPECT_EQ(history.capacity, reset.capacity);
    EXPECT_EQ(Dumped(history), "");
    // Before a sample there is no rate to return, although time passes.
    history.intervalMs = 1000000;
    EXPECT_EQ(history.Flip(), 0);
    EXPECT_EQ(history.frames, 1);
  }
}

TEST(FpsHistory, ExtremesDoNotOverflow) {
  KFpsHistory history;
  Start(history, 2, 0);
  EXPECT_EQ(history.FlipAt(0), 1000000);  // no time has passed: it counts as a microsecond
  history.frames = INT_MAX;
  history.count = INT_MAX;
  EXPECT_EQ(history.FlipAt(0), INT_MAX);
  EXPECT_EQ(history.count, INT_MAX);
  history.intervalMs = INT_MAX;
  EXPECT_EQ(history.FlipAt(1000000), INT_MAX);
  EXPECT_EQ(Dumped(history), "[0 ms] Fps 1000000\n[0 ms] Fps 2147483647\n");
}

}  // namespace
