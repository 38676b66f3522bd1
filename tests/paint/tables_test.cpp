// The constant tables.
#include <algorithm>

#include <gtest/gtest.h>

#include "kalvora/paint/KTables.h"

#include "tests/common/Hash.h"

namespace {

TEST(KTables, BicubicTellingSegments) {
  const struct {
    std::size_t segment;
    std::int32_t want[8];
  } rows[] = {
      {0, {-30752, -7, -5024, 65555, 36768, -15, -992, 3}},
      {31, {992, -988, -36768, 36752, 5024, 60531, 30752, -30759}},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(std::equal(row.want, row.want + 8, &KTables::KBicubic[8 * row.segment]))
        << row.segment;
  }
}

/// The weights themselves, from which the lines stray by half their chords' error: less than 4 in
/// 10,000.
TEST(KTables, BicubicFollowsTheCubics) {
  for (int i = 0; i < 1024; ++i) {
    const double t = i / 1024.0;
    const double want[4] = {((-t + 2) * t - 1) * t / 2, ((3 * t - 5) * t * t + 2) / 2,
                            ((-3 * t + 4) * t + 1) * t / 2, (t - 1) * t * t / 2};
    for (std::size_t j = 0; j < 4; ++j) {
      const std::int32_t* line = &KTables::KBicubic[static_cast<std::size_t>(i / 32) * 8 + 2 * j];
      const double got = (line[0] * t + line[1]) / 65536;
      EXPECT_NEAR(got, want[j], 0.0004) << t << ", tap " << j;
    }
  }
  Hash hash;
  for (std::int32_t v : KTables::KBicubic) hash.Add(v);
  EXPECT_EQ(hash.Value(), 1004685054712653917u);
}

TEST(KTables, CircleIsFourQuartersOfCurves) {
  const auto& circle = KTables::KCircle;
  const std::int32_t first[8] = {65536, 0, 65536, 36170, 36170, 65536, 0, 65536};
  EXPECT_TRUE(std::equal(first, first + 8, circle.begin()));
  // A quarter further on is a quarter turn.
  for (std::size_t i = 0; i < 16; ++i) {
    const std::size_t next = (i + 4) % 16;
    EXPECT_EQ(circle[2 * next], -circle[2 * i + 1]) << i;
    EXPECT_EQ(circle[2 * next + 1], circle[2 * i]) << i;
  }
}

}  // namespace
