// Clip rectangle and clip path as state of the context.
#include <gtest/gtest.h>

#include "tests/common/Random.h"
#include "tests/common/Target.h"

namespace {

KSoftPath Square(double x0, double y0, double x1, double y1) {
  KSoftPath path;
  const KVertex2D corners[] = {P(x1, y0), P(x1, y1), P(x0, y1)};
  path.MoveTo(P(x0, y0));
  path.BezierTo(1, corners, 3);
  path.Close();
  return path;
}

TEST(Clip, RectanglesAreHeldToTheTarget) {
  struct Case {
    KRect rect;
    unsigned pixels;
  };
  const Case cases[] = {{{-5, -5, 10000, 10000}, 600}, {{5, 5, 15, 10}, 50}, {{25, 0, 40, 20}, 100},
                        {{10, 10, 5, 5}, 0},           {{0, 10, 30, 10}, 0}, {{40, 0, 50, 20}, 0}};
  for (const Case& c : cases) {
    for (const bool round : {false, true}) {  // rectangle path and polygon path
      Target t(30, 20);
      t.context.SetClipRegion(c.rect);
      t.context.DrawRectangle(P(-50, -50), P(100, 100), round ? P(1, 1) : P(0, 0));
      EXPECT_EQ(t.Count(0xFF000000), c.pixels) << c.rect.left << round;
    }
  }
}

TEST(Clip, PathsHoldUntilTheyAreReplaced) {
  Target t(30, 20);
  const auto covered = [&] {
    t.context.Clear({255, 255, 255, 255});
    t.context.DrawRectangle(P(0, 0), P(30, 20));
    t.context.Flip();
    return t.Count(0xFF000000);
  };
  const KSoftPath square = Square(2, 2, 12, 12);
  t.context.SetClipPath(&square, KFillNonZero);
  EXPECT_EQ(covered(), 100u);
  EXPECT_EQ(covered(), 100u);
  t.context.Transform().Scale(P(2, 2));  // clip paths are in device coordinates
  t.context.SetClipPath(&square, KFillNonZero);
  EXPECT_EQ(covered(), 100u);
  t.context.SetClipRegion({0, 0, 30, 7});
  EXPECT_EQ(covered(), 50u);
  const KSoftPath empty;
  t.context.SetClipPath(&empty, KFillNonZero);
  EXPECT_EQ(covered(), 210u);
  t.context.ResetClip();
  EXPECT_EQ(covered(), 600u);
  KSoftPath flat;  // a path without any height lets nothing through
  flat.MoveTo(P(0, 5));
  flat.LineTo(P(30, 5));
  t.context.SetClipPath(&flat, KFillNonZero);
  EXPECT_EQ(covered(), 0u);
}

TEST(Clip, RulesOfOverlappingContours) {
  struct Case {
    KFillRule rule;
    unsigned pixels;
  };
  for (const Case c : {Case{KFillNonZero, 175}, Case{KFillEvenOdd, 150}}) {
    Target t(30, 20);
    KSoftPath path = Square(2, 2, 12, 12);
    const KVertex2D corners[] = {P(17, 7), P(17, 17), P(7, 17)};
    path.MoveTo(P(7, 7));
    path.BezierTo(1, corners, 3);
    t.context.SetClipPath(&path, c.rule);
    t.context.SetFillRule(KFillEvenOdd);  // the shape's own rule is another matter
    t.context.DrawRectangle(P(0, 0), P(30, 20));
    EXPECT_EQ(t.Count(0xFF000000), c.pixels);
  }
}

// Rows where hundreds of edges cross are drawn in coarser steps, whatever was drawn above them.
TEST(Clip, RowsDoNotDependOnThoseAboveTheClip) {
  Random random(1);
  KSoftPath path;
  for (const double y : {2.3, 6.3}) {
    for (int i = 0; i < 200; ++i) {
      path.MoveTo(P(random.Below(60), y));
      path.LineTo(P(random.Below(60), y + 0.5));
      path.LineTo(P(random.Below(60), y));
    }
  }
  Target whole(60, 8), below(60, 8);
  below.context.SetClipRegion({0, 4, 60, 8});
  for (Target* t : {&whole, &below}) {
    t->context.SetFillRule(KFillEvenOdd);
    t->context.DrawPath(&path);
  }
  for (unsigned x = 0; x < 60; ++x) EXPECT_EQ(whole.At(x, 6), below.At(x, 6)) << x;
}

}  // namespace
