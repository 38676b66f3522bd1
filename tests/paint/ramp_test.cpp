// KSoftColorRamp: ramps made of points, matrices and straight colours.
#include <cmath>

#include <gtest/gtest.h>

#include "kalvora/paint/KSoftColorRamp.h"

#include "tests/paint/reference.h"
#include "tests/paint/span.h"

namespace {

using reference::Word;

KFixed Fixed(double v) {
  return KFixed::FromRaw(static_cast<std::int32_t>(std::lround(v * 65536)));
}
KVertex2D Point(double x, double y) { return {Fixed(x), Fixed(y)}; }

constexpr KColorStop kGrey[] = {{KFixed::FromRaw(0), {0, 0, 0, 255}},
                                {KFixed::FromRaw(0x10000), {255, 255, 255, 255}}};

/// The grey of a pixel.
int Grey(const KSoftColorRamp& ramp, KPaintType type, int x, int y) {
  KPaint paint;
  paint.type = type;
  paint.linearRamp = paint.radialRamp = &ramp;
  Random random(1);
  Span span(random, x + 1);
  span.style.paint = &paint;
  span.SetSpan(x, x + 1, y);
  Init(span.style, type).solid(&span.style);
  EXPECT_EQ(span.style.row[x] >> 24, 255u);
  return static_cast<int>(span.style.row[x] & 255);
}

KSoftMatrix3D Affine(double a, double b, double c, double d, double e, double f) {
  KSoftMatrix3D m;
  m.Set(Fixed(a), Fixed(b), Fixed(c), Fixed(d), Fixed(e), Fixed(f));
  m.identity = m.linearIdentity = 0;
  return m;
}

/// User-space gradients under a matrix show, at every device pixel, the colour of the point that
/// the pixel comes from.
TEST(KSoftColorRamp, FollowsAMatrix) {
  const struct {
    double m[6];
  } rows[] = {
      {{1, 0, 0, 1, 0, 0}},           {{1, 0, 0, 1, 30, -20}},       {{3, 0, 0, 0.5, 10, 20}},
      {{0.8, 0.6, -0.6, 0.8, 90, 5}}, {{1, 0.3, 0.9, 1.4, -20, 10}}, {{-2, 0, 0.5, 1.5, 200, 30}},
      {{200, 0, 0, 120, 10, 20}},  // as for the box of an object
  };
  for (const auto& row : rows) {
    const auto& [a, b, c, d, e, f] = row.m;
    const KSoftMatrix3D m = Affine(a, b, c, d, e, f);
    const double det = a * d - b * c, unit = std::sqrt(std::fabs(det));
    const double sx = 20 / unit, sy = 10 / unit, ex = 90 / unit, ey = 70 / unit, radius = 80 / unit;
    KSoftColorRamp linear, radial;
    if (&row == rows) {  // without a matrix all coordinates are the device's
      ASSERT_TRUE(linear.SetLinear(Point(sx, sy), Point(ex, ey), kGrey, 2));
      ASSERT_TRUE(radial.SetRadial(Point(sx, sy), Fixed(radius), kGrey, 2));
    } else {
      ASSERT_TRUE(linear.SetLinear(Point(sx, sy), Point(ex, ey), m, kGrey, 2));
      ASSERT_TRUE(radial.SetRadial(Point(sx, sy), Fixed(radius), m, kGrey, 2));
    }
    for (int y = 0; y < 200; y += 23) {
      for (int x = 0; x < 200; x += 23) {
        const double u = (d * (x - e) - c * (y - f)) / det, v = (a * (y - f) - b * (x - e)) / det;
        const double dx = ex - sx, dy = ey - sy;
        const double t = ((u - sx) * dx + (v - sy) * dy) / (dx * dx + dy * dy);
        const double r = std::hypot(u - sx, v - sy) / radius;
        EXPECT_NEAR(Grey(linear, KPaintLinearGradient, x, y), 255 * std::fmin(std::fmax(t, 0), 1),
                    2.5)
            << a << ' ' << b << " at " << x << ", " << y;
        EXPECT_NEAR(Grey(radial, KPaintRadialGradient, x, y), 255 * std::fmin(r, 1), 2.5)
            << a << ' ' << b << " at " << x << ", " << y;
      }
    }
  }
}

TEST(KSoftColorRamp, OwnsPremultipliedStops) {
  KColorStop stops[3] = {
      {Fixed(0), {200, 100, 50, 128}}, {Fixed(0.75), {1, 2, 3, 255}}, {Fixed(0.5), {9, 9, 9, 0}}};
  KSoftColorRamp ramp;
  ASSERT_TRUE(ramp.SetLinear(Point(0, 0), Point(10, 0), stops, 3, KSpreadRepeat));
  stops[0].color = {0, 0, 0, 0};
  const Word colors[3] = {0x80643219, 0xFF010203, 0};
  const std::int32_t positions[3] = {0, 0xC000, 0xC000};  // none descends
  ASSERT_EQ(ramp.count, 3u);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(ramp.colors[i], colors[i]);
    EXPECT_EQ(ramp.positions[i], positions[i]);
  }
  EXPECT_EQ(ramp.spread, KSpreadRepeat);
  EXPECT_NE(ramp.rampAlpha, 0u);
  // What cannot be set leaves the ramp; what can replaces it.
  EXPECT_FALSE(ramp.SetLinear(Point(0, 0), Point(10, 0), stops, 0));
  EXPECT_FALSE(ramp.SetRadial(Point(0, 0), Fixed(10), nullptr, 3));
  EXPECT_FALSE(ramp.SetRadial(Point(0, 0), Fixed(10), stops, 0xFFFFFFFF));
  EXPECT_EQ(ramp.count, 3u);
  ASSERT_TRUE(ramp.SetRadial(Point(0, 0), Fixed(10), kGrey, 2));
  EXPECT_EQ(ramp.count, 2u);
  EXPECT_EQ(ramp.positions[1], 10 << 16);
  EXPECT_EQ(ramp.rampAlpha, 0u);
}

TEST(KSoftColorRamp, DegenerateOnesShowTheLastColour) {
  const KSoftMatrix3D flat = Affine(1, 2, 2, 4, 0, 0), zero = Affine(0, 0, 0, 0, 5, 5);
  KSoftColorRamp ramp;
  for (KSpread spread : {KSpreadPad, KSpreadRepeat}) {
    ASSERT_TRUE(ramp.SetLinear(Point(5, 5), Point(5, 5), kGrey, 2, spread));
    EXPECT_EQ(Grey(ramp, KPaintLinearGradient, 5, 5), 255);
    ASSERT_TRUE(ramp.SetLinear(Point(0, 0), Point(5, 5), zero, kGrey, 2, spread));
    EXPECT_EQ(Grey(ramp, KPaintLinearGradient, 3, 3), 255);
    ASSERT_TRUE(ramp.SetRadial(Point(5, 5), Fixed(0), kGrey, 2, spread));
    EXPECT_EQ(Grey(ramp, KPaintRadialGradient, 5, 5), 255);
    ASSERT_TRUE(ramp.SetRadial(Point(5, 5), Fixed(10), flat, kGrey, 2, spread));
    EXPECT_EQ(Grey(ramp, KPaintRadialGradient, 5, 5), 255);
  }
}

}  // namespace
