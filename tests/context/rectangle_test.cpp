// Rectangles and straight lines: the fast path against its rule, against polygons, and under clips.
#include <algorithm>
#include <cstdlib>

#include <gtest/gtest.h>

#include "kalvora/core/channels.h"

#include "tests/common/Random.h"
#include "tests/common/Target.h"

namespace {

using namespace kalvora;

constexpr int kSize = 24;

struct Rectangle {
  KVertex2D p, q;
};

Rectangle AnyRectangle(Random& random) {
  const auto edge = [&] {
    std::int32_t raw = random.Between(-4 * 0x10000, (kSize + 4) * 0x10000);
    if (random.OneIn(3)) raw &= ~0xFFFF;                    // on the grid
    if (random.OneIn(6)) raw += random.Between(-300, 300);  // nearly
    return KFixed::FromRaw(raw);
  };
  const auto near = [&](KFixed v) {  // thin ones too
    return random.OneIn(4) ? v + KFixed::FromRaw(random.Between(0, 0x14000)) : edge();
  };
  Rectangle r{{edge(), edge()}, {}};
  r.q = {near(r.p.x), near(r.p.y)};
  return r;
}

KColor32 AnyColor(Random& random) {
  return {random.Below(256), random.Below(256), random.Below(256),
          random.OneIn(2) ? 255 : random.Below(256)};
}

bool OffGrid(KFixed v) { return ((v.raw + 0x100) & 0xFFFF) > 0x200; }

/// What one pixel becomes: coverage of the outer columns by weight, of the outer rows by opacity.
std::uint32_t Expected(const Rectangle& r, int x, int y, std::uint32_t d, KColor32 color,
                       int opacity) {
  const auto paint = [&](std::int32_t opaque, std::int32_t coverage) {
    const bool blend = opaque != 256 || color.alpha != 255;
    const std::uint32_t c = color.PreMultiply().Weight(static_cast<unsigned>(opaque)).Word();
    const auto w = static_cast<std::uint32_t>(CoverageWeight(coverage));
    if (coverage < 0) return blend ? (AlphaWeight(c) ? Over(d, c) : d) : c;  // the solid filler
    if (blend) return c ? Over(d, Scale(c, w)) : d;
    return Lerp(d, c, w);
  };
  const bool smooth = OffGrid(r.p.x) || OffGrid(r.p.y) || OffGrid(r.q.x) || OffGrid(r.q.y);
  if (!smooth) {
    const bool inside = x >= RoundPixel(r.p.x) && x < RoundPixel(r.q.x) && y >= RoundPixel(r.p.y) &&
                        y < RoundPixel(r.q.y);
    return inside ? paint(opacity, -1) : d;
  }
  const int first = Floor(r.p.x), end = Ceil(r.q.x), top = Floor(r.p.y), last = Ceil(r.q.y) - 1;
  if (x < first || x >= end || y < top || y > last) return d;
  const std::int32_t right = Fraction(r.q.x) ? Fraction(r.q.x) : 0x10000;
  const std::int32_t bottom = Fraction(r.q.y) ? Fraction(r.q.y) : 0x10000;
  if (end - first < 2) {
    const int o = (opacity * (right - Fraction(r.p.x))) >> 16;
    if (top == last) return paint(o, bottom - Fraction(r.p.y));
    return paint(o, y == top ? 0x10000 - Fraction(r.p.y) : y == last ? bottom : -1);
  }
  const std::int32_t part = y == top
                                ? (top == last ? (r.q.y - r.p.y).raw : 0x10000 - Fraction(r.p.y))
                            : y == last ? bottom
                                        : 0x10000;
  const int o = static_cast<int>((std::int64_t{opacity} * part) >> 16);
  return paint(o, x == first ? 0x10000 - Fraction(r.p.x) : x == end - 1 ? right : -1);
}

TEST(Rectangle, EveryPixelFollowsTheRule) {
  Random random(31);
  for (int i = 0; i < 4000; ++i) {
    const Rectangle r = AnyRectangle(random);
    const KColor32 color = AnyColor(random);
    const int opacity = random.OneIn(2) ? 256 : random.Between(0, 256);
    Target t(kSize, kSize, random.OneIn(2) ? KFormat0888PM : KFormat8888PM);
    t.context.SetFillColor(color);
    t.context.SetFillOpacity(opacity);
    const bool swapped = random.OneIn(2);
    t.context.DrawRectangle(swapped ? r.q : r.p, swapped ? r.p : r.q);
    Rectangle ordered{{std::min(r.p.x, r.q.x), std::min(r.p.y, r.q.y)},
                      {std::max(r.p.x, r.q.x), std::max(r.p.y, r.q.y)}};
    const bool empty = ordered.p.x == ordered.q.x || ordered.p.y == ordered.q.y;
    for (int y = 0; y < kSize; ++y) {
      for (int x = 0; x < kSize; ++x) {
        const std::uint32_t d = 0x11111111;
        ASSERT_EQ(t.At(static_cast<unsigned>(x), static_cast<unsigned>(y)),
                  empty ? d : Expected(ordered, x, y, d, color, opacity))
            << i << " at " << x << "," << y;
      }
    }
  }
}

int Difference(const Target& a, const Target& b) {
  int most = 0;
  for (std::size_t i = 0; i < a.buffer.size(); ++i) {
    most = std::max(most, std::abs(int{a.buffer.data()[i]} - int{b.buffer.data()[i]}));
  }
  return most;
}

// The same shape through the polygon path, which a clip path around everything forces.
TEST(Rectangle, PolygonsDifferByThreeLevelsAtMost) {
  Random random(32);
  KSoftPath all;
  const KVertex2D corners[] = {P(80, -50), P(80, 80), P(-50, 80)};
  all.MoveTo(P(-50, -50));
  all.BezierTo(1, corners, 3);
  for (int i = 0; i < 3000; ++i) {
    const Rectangle r = AnyRectangle(random);
    const KColor32 color = AnyColor(random);
    Target fast(kSize, kSize), plain(kSize, kSize);
    for (Target* t : {&fast, &plain}) {
      t->context.Clear({40, 90, 200, 255});
      if (t == &plain) t->context.SetClipPath(&all, KFillNonZero);
      t->context.SetFillColor(color);
      t->context.SetStrokeColor(color);
      t->context.SetLineWidth(KFixed::FromRaw(0x28000));
      if (i % 4 == 1) t->context.Transform().Rotate(KFixed::FromInt(90));
      if (i % 4 == 1) t->context.Transform().Translate(P(0, 20));
      if (i % 4 == 2) t->context.Transform().Scale(P(-0.8, 0.7));
      if (i % 4 == 2) t->context.Transform().Translate(P(20.4, 0));
      t->context.DrawRectangle(r.p, r.q);
    }
    // Edges within 1/256 of a pixel border are snapped: that alone may make 1 level, a thin overlap
    // more.
    ASSERT_LE(Difference(fast, plain), 3) << i;
  }
}

TEST(Rectangle, SnapsWithoutAntiAliasing) {
  struct Case {
    double left, right;
    int first, end;
  };
  for (const Case c :
       {Case{10.5, 12.5, 10, 12}, Case{10.51, 12.51, 11, 13}, Case{10.25, 10.75, 10, 11},
        Case{10.1, 10.3, 10, 10}, Case{-3.7, 2.2, 0, 2}}) {
    Target t(kSize, kSize);
    t.context.SetAttribute(0, 0);
    t.context.DrawRectangle(P(c.left, 3), P(c.right, 4));
    for (int x = 0; x < kSize; ++x) {
      EXPECT_EQ(t.At(static_cast<unsigned>(x), 3) == 0xFF000000, x >= c.first && x < c.end)
          << c.left;
    }
  }
}

// Straight lines along an axis are rectangles, their ends moved out by square caps only.
TEST(Rectangle, LinesAlongAnAxis) {
  struct Case {
    double x0, y0, x1, y1;
    unsigned startCap, endCap;
    double left, top, right, bottom;
  };
  const Case cases[] = {
      {4, 6, 14, 6, 0, 0, 4, 4.5, 14, 7.5},     {14, 6, 4, 6, 1, 0, 4, 4.5, 15.5, 7.5},
      {4, 6, 14, 6, 1, 1, 2.5, 4.5, 15.5, 7.5}, {7, 3, 7, 9, 0, 1, 5.5, 3, 8.5, 10.5},
      {7, 9, 7, 3, 1, 0, 5.5, 3, 8.5, 10.5},    {7, 7, 7, 7, 1, 1, 5.5, 5.5, 8.5, 8.5},
      {7, 7, 7, 7, 0, 0, 7, 7, 7, 7},
  };
  for (const Case& c : cases) {
    Target line(kSize, kSize), rectangle(kSize, kSize);
    line.context.SetNoFill();
    line.context.SetStrokeColor({10, 200, 30, 255});
    line.context.SetLineWidth(KFixed::FromInt(3));
    line.context.SetCaps(c.startCap, c.endCap);
    line.context.SetAttribute(0, 0);  // lines are anti-aliased all the same
    line.context.DrawLine(P(c.x0, c.y0), P(c.x1, c.y1));
    rectangle.context.SetFillColor({10, 200, 30, 255});
    rectangle.context.DrawRectangle(P(c.left, c.top), P(c.right, c.bottom));
    EXPECT_TRUE(line == rectangle) << c.x0 << " " << c.startCap;
  }
}

}  // namespace
