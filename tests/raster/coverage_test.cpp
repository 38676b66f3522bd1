// ComputeAA row by row: the stated cases, and random edge pairs against the exact area.
#include <algorithm>
#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "kalvora/raster/KRowStyle.h"

#include "tests/common/Random.h"

namespace {

constexpr int kWidth = 40;
constexpr std::int32_t kOne = 0x10000;

struct Row {
  KRowStyle style;
  std::array<std::int32_t, kWidth> line{};

  explicit Row(KClip clip = {0, 0, kWidth, 1}) {
    style.lineBuffer = line.data();
    style.clip = clip;
  }
  static KFixed F(double v) {
    return KFixed::FromRaw(static_cast<std::int32_t>(std::lround(v * kOne)));
  }
  static KFixed Slope(double a, double b, double h) { return a == b ? F(0) : F(h / (b - a)); }

  void Full(double xa, double xb, double xc, double xd) {
    style.ComputeAA(F(xa), F(xb), Slope(xa, xb, 1), F(xc), F(xd), Slope(xc, xd, 1));
  }
  void Part(double xa, double xb, double xc, double xd, std::int32_t h) {
    const double height = h / 65536.0;
    style.ComputeAA(F(xa), F(xb), Slope(xa, xb, height), F(xc), F(xd), Slope(xc, xd, height),
                    KFixed::FromRaw(h));
  }
  // Coverage of a pixel, wherever it is kept.
  std::int32_t At(int x) const {
    const bool solid = style.solidHeight && x >= style.solidX0 && x < style.solidX1;
    return line[static_cast<std::size_t>(x)] + (solid ? style.solidHeight : 0);
  }
};

TEST(Coverage, VerticalEdges) {
  Row row;
  row.Full(10.5, 10.5, 20.25, 20.25);
  EXPECT_EQ(row.line[10], 0x8000);
  EXPECT_EQ(row.line[20], 0x4000);
  EXPECT_EQ(row.style.x0, 10);
  EXPECT_EQ(row.style.x1, 21);
  EXPECT_EQ(row.style.solidX0, 11);
  EXPECT_EQ(row.style.solidX1, 20);
  for (int x = 11; x < 20; ++x) EXPECT_EQ(row.line[static_cast<std::size_t>(x)], 0);
}

TEST(Coverage, InteriorsOfTwoPixelsAreStored) {
  struct Case {
    double right;
    bool solid;
  };
  for (const Case c : {Case{13.5, false}, Case{14.5, true}}) {
    Row row;
    row.Full(10.5, 10.5, c.right, c.right);
    EXPECT_EQ(row.style.solidX1 == KRowStyle::kNoSolid, !c.solid);
    EXPECT_EQ(row.line[11], c.solid ? 0 : kOne);
    EXPECT_EQ(row.At(12), kOne);
  }
}

TEST(Coverage, OutsideTheClipNothingChanges) {
  for (const KClip clip : {KClip{20, 0, 30, 1}, KClip{1, 0, 5, 1}}) {
    Row row(clip);
    row.Full(8, 9, 15, 16);
    row.Part(8, 9, 15, 16, 0x8000);
    EXPECT_EQ(row.style.x0, KRowStyle::kNoX0);
    EXPECT_EQ(row.style.x1, KRowStyle::kNoX1);
    EXPECT_EQ(std::count(row.line.begin(), row.line.end(), 0), kWidth);
  }
}

TEST(Coverage, PartialRowsAddUp) {
  Row row;
  row.Part(10.5, 10.5, 12.5, 12.5, 15);  // too low to be drawn
  EXPECT_EQ(row.style.x0, KRowStyle::kNoX0);
  row.Part(10.5, 10.5, 12.5, 12.5, 0x8000);
  EXPECT_EQ(row.line[10], 0x4000);
  EXPECT_EQ(row.line[11], 0x8000);
  row.Part(10.5, 10.5, 12.5, 12.5, 0x8000);
  EXPECT_EQ(row.line[11], kOne);
  row.Part(20, 20, 24, 24, 0x8000);  // a second span in the row widens the extent
  EXPECT_EQ(row.style.x0, 10);
  EXPECT_EQ(row.style.x1, 25);
}

// Runs of several steps: what all share stays a run, the rest moves into the line.
TEST(Coverage, RunsOfStepsAreShared) {
  Row row;
  row.Part(2, 2, 20, 20, 0x4000);
  row.Part(4, 4, 30, 30, 0x8000);
  EXPECT_EQ(row.style.solidX0, 5);  // pixel 4 holds the left edge of the second step
  EXPECT_EQ(row.style.solidX1, 20);
  const std::int32_t expected[] = {0, 0, 0x4000, 0x4000, 0xC000};
  for (int x = 0; x < 5; ++x) EXPECT_EQ(row.At(x), expected[x]) << x;
  EXPECT_EQ(row.At(25), 0x8000);
  row.Part(33, 33, 38, 38, 0x4000);  // shares nothing: the run is over
  EXPECT_EQ(row.style.solidX1, KRowStyle::kNoSolid);
  EXPECT_EQ(row.At(10), 0xC000);
  EXPECT_EQ(row.At(35), 0x4000);
}

// Area right of the line from (a, 0) to (b, h) within pixel x.
double RightOf(double a, double b, double h, int x) {
  if (a > b) std::swap(a, b);
  if (a == b) return h * std::clamp(x + 1 - a, 0.0, 1.0);
  const auto integral = [&](double t) {  // of the height reached, from a up to t
    t = std::clamp(t, a, b) - a;
    return h * t * t / (2 * (b - a));
  };
  return integral(x + 1) - integral(x) + h * std::clamp(x + 1 - b, 0.0, 1.0);
}

TEST(Coverage, RandomEdgesGiveTheExactArea) {
  Random random(3);
  const auto any = [&] { return random.Between(-6 * kOne, 46 * kOne) / 65536.0; };
  for (int i = 0; i < 20000; ++i) {
    double a = any(), b = any(), c = any(), d = any();
    if (random.OneIn(3)) b = a + random.Between(-3000, 3000) / 65536.0;
    if (random.OneIn(3)) d = c + random.Between(-3000, 3000) / 65536.0;
    if (a > c) std::swap(a, c);
    if (b > d) std::swap(b, d);
    const std::int32_t h = random.OneIn(2) ? kOne : random.Between(2000, kOne);
    KClip clip{0, 0, kWidth, 1};
    if (random.OneIn(3)) clip.x0 = static_cast<std::int16_t>(random.Below(kWidth));
    if (random.OneIn(3)) clip.x1 = static_cast<std::int16_t>(random.Below(kWidth) + 1);
    Row row(clip);
    if (h == kOne && random.OneIn(2)) {
      row.Full(a, b, c, d);
    } else {
      row.Part(a, b, c, d, h);
    }
    for (int x = 0; x < kWidth; ++x) {
      const bool inside = x >= clip.x0 && x < clip.x1;
      const double height = h / 65536.0;
      const double area = inside ? RightOf(a, b, height, x) - RightOf(c, d, height, x) : 0;
      ASSERT_NEAR(row.At(x) / 65536.0, area, 1 / 512.0)
          << i << " x " << x << ": " << a << " " << b << " " << c << " " << d << " h " << h;
    }
  }
}

TEST(Coverage, AnyNumbersStayInside) {
  Random random(4);
  for (int i = 0; i < 20000; ++i) {
    Row row({3, 0, 30, 1});
    const auto any = [&] { return KFixed::FromRaw(static_cast<std::int32_t>(random.Word())); };
    row.style.ComputeAA(any(), any(), any(), any(), any(), any());
    row.style.StartRow();
    row.style.ComputeAA(any(), any(), any(), any(), any(), any(),
                        KFixed::FromRaw(random.Between(0, kOne)));
    for (int x = 0; x < kWidth; ++x) {
      if (x < 3 || x >= 30) {
        ASSERT_EQ(row.line[static_cast<std::size_t>(x)], 0);
      }
    }
  }
}

}  // namespace
