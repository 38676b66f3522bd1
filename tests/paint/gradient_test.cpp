// Gradients: linear and radial fillers against plain per-pixel references.
#include <algorithm>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/paint/KLinearStrip.h"
#include "kalvora/paint/KRadialStrip.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStrips.h"
#include "kalvora/paint/distances.h"

#include "tests/paint/reference.h"
#include "tests/paint/span.h"

namespace {

using reference::Add;
using reference::Mul;
using reference::Sub;
using reference::Word;

struct Stops {
  std::vector<Word> colors;
  std::vector<std::int32_t> positions;
};

/// One pixel of a gradient.
struct Shade {
  Word color;
  bool end;  // of a padded ramp
};

/// Looks up the colours of one span, t after t, pixel by pixel.
class RampReference {
 public:
  RampReference(const Stops& stops_, bool repeat_) : stops(stops_), repeat(repeat_) {}

  /// `step` carries the interpolation from the pixel before; without, every t stands alone.
  Shade At(std::int32_t& t, std::optional<std::int32_t> step) {
    const auto& p = stops.positions;
    if (p.size() == 1) return {stops.colors[0], true};
    const std::int32_t first = p.front(), last = p.back();
    if (t <= first || t >= last) {
      pair = 0;
      if (!repeat) return {t <= first ? stops.colors.front() : stops.colors.back(), true};
      t %= last;
      if (t < 0) t += last;
      if (t <= first) return {stops.colors.front(), false};
    }
    std::size_t i = 1;
    while (p[i] < t) ++i;
    const std::int32_t r = p[i] == p[i - 1] ? 0 : KFixed::Inverse(Fixed(Sub(p[i], p[i - 1]))).raw;
    Word color = 0;
    for (int c = 0; c < 4; ++c) {
      const auto from = static_cast<std::int32_t>(reference::Channel(stops.colors[i - 1], c)) << 16;
      const auto to = static_cast<std::int32_t>(reference::Channel(stops.colors[i], c)) << 16;
      if (step && i == pair) {
        value[c] = Add(value[c], Mul(Mul(*step, r), to - from));
      } else {
        value[c] = Add(from + 0x7F00, Mul(Mul(Sub(t, p[i - 1]), r), to - from));
      }
      color |= static_cast<Word>(std::clamp(value[c] >> 16, 0, 255)) << (8 * c);
    }
    pair = i;
    return {color, false};
  }

 private:
  const Stops& stops;
  bool repeat;
  std::size_t pair = 0;
  std::int32_t value[4] = {};
};

/// Colours, blended, plain, or covered.
Word Expected(bool aa, bool blend, Shade s, Word d, std::int32_t coverage) {
  if (s.end && s.color == 0) return d;
  if (aa) return reference::Over(d, reference::Scale(s.color, reference::CoverageWeight(coverage)));
  return blend ? reference::Over(d, s.color) : s.color;
}

Word AnyColor(Random& random, bool opaque) {
  if (random.OneIn(6)) return 0;
  // Channels at their ends show where an interpolation runs over.
  const Word any = random.OneIn(2) ? random.Next() : (1 + random.Below(255)) << 24 | 0xFF00FF;
  return opaque ? any | 0xFF000000 : Span::Premultiplied(any);
}

/// Stops of ascending positions; whole pixels of an axis that is 1.0 long, or parts of a longer
/// one.
Stops AnyStops(Random& random, bool pixels) {
  Stops stops;
  const int count = random.Between(1, 6);
  const bool opaque = random.OneIn(2), odd = random.OneIn(10);
  for (int i = 0; i < count; ++i) {
    stops.colors.push_back(odd ? Span::Pixel(random) : AnyColor(random, opaque));
    stops.positions.push_back(pixels            ? random.Between(0, 100) * 0x10000
                              : random.OneIn(4) ? random.Between(0, 1) * 0x10000
                                                : random.Between(0, 0x10000));
  }
  std::sort(stops.positions.begin(), stops.positions.end());
  if (random.OneIn(3)) stops.positions.front() = 0;
  if (random.OneIn(20)) stops.positions.back() = random.Between(0x640000, 0x7FFFFFFF);
  if (random.OneIn(20)) stops.positions.front() = -random.Between(0, 0x40000);
  return stops;
}

void Use(KSoftColorRamp& ramp, const Stops& stops, std::uint32_t spread) {
  ramp.colors = stops.colors.data();
  ramp.positions = stops.positions.data();
  ramp.count = static_cast<std::uint32_t>(stops.colors.size());
  ramp.spread = spread;
  ramp.rampAlpha = 0;
  for (Word c : stops.colors) ramp.rampAlpha |= c >> 24 != 255;
}

/// The stops as a draw sees them.
Stops Prepared(const Stops& stops, int opacity, std::int32_t scale, bool repeat) {
  Stops result = stops;
  for (Word& c : result.colors) c = reference::Scale(c, static_cast<Word>(opacity));
  for (std::int32_t& p : result.positions) p = Mul(p, scale);
  if (scale <= 0 || (repeat && result.positions.back() <= 0)) {
    result.colors = {result.colors.back()};
    result.positions = {0};
  }
  return result;
}

template <typename F, template <typename, bool, bool> class Strip>
void ExpectFillers(bool blend, KFiller solid, KFiller coverage) {
  EXPECT_EQ(solid, blend ? (Strip<F, false, true>::Draw) : (Strip<F, false, false>::Draw));
  EXPECT_EQ(coverage, blend ? (Strip<F, true, true>::Draw) : (Strip<F, true, false>::Draw));
}

KSoftMatrix3D AnyAxis(Random& random, bool radial) {
  KSoftMatrix3D m;
  const auto place = [&] {
    return Fixed(random.Between(-50, 350) * 0x10000 + random.Between(0, 0xFFFF));
  };
  const auto word = [&] { return Fixed(static_cast<std::int32_t>(random.Word())); };
  const std::int32_t size = radial ? 0x4000 : 300 << 16;
  const auto part = [&] { return Fixed(random.OneIn(4) ? 0 : random.Between(-size, size)); };
  switch (random.Below(8)) {
    case 0:
      return m;
    case 1:
      m.Translate({place(), place()});
      return m;
    case 2:
      m.Set(word(), word(), word(), word(), word(), word());
      break;
    default:
      m.Set(part(), part(), part(), part(), place(), place());
      break;
  }
  m.identity = m.linearIdentity = 0;
  return m;
}

template <typename F>
class Gradients : public ::testing::Test {};
using Layouts = ::testing::Types<KColor_0888_PM, KColor_8888_PM>;
TYPED_TEST_SUITE(Gradients, Layouts);

TYPED_TEST(Gradients, LinearByTheRules) {
  Random random(1);
  for (int round = 0; round < 1500; ++round) {
    Span span(random, random.Between(1, round % 10 ? 60 : 700));
    const bool pixels = random.OneIn(4);
    const Stops stops = AnyStops(random, pixels);
    KSoftColorRamp ramp;
    Use(ramp, stops, random.Below(3));
    const bool repeat = ramp.spread == KSpreadRepeat;
    if (random.OneIn(4)) ramp.rampAlpha = !ramp.rampAlpha;
    ramp.axis = AnyAxis(random, false);
    if (pixels) {
      ramp.axis.Identity();
      if (random.OneIn(2)) ramp.axis.PreScale({Fixed(-0x10000), Fixed(0x10000)});
      ramp.axis.Translate({KFixed::FromInt(random.Between(-50, 150)), Fixed(0)});
    }
    KPaint paint;
    paint.linearRamp = &ramp;
    paint.opacity = random.OneIn(2) ? 256 : random.Between(0, 256);
    paint.translucent = random.OneIn(2);
    span.style.paint = &paint;

    const KSoftMatrix3D& m = ramp.axis;
    const KVertex2D start{m.m6, m.m7};
    const KVertex2D end = m.identity         ? KVertex2D{Fixed(0x10000), Fixed(0)}
                          : m.linearIdentity ? KVertex2D{m.m6 + Fixed(0x10000), m.m7}
                                             : KVertex2D{m.m0 + m.m6, m.m1 + m.m7};
    const KVertex2D d = end - start;
    const KFixed length = d.Norm();
    const KFixed inverse = length.raw > 0 ? KFixed::Inverse(length) : Fixed(0);
    const std::int32_t ux = (d.x * inverse).raw, uy = (d.y * inverse).raw;
    const Stops prepared = Prepared(stops, paint.opacity, length.raw, repeat);
    // Stretched too far, positions wrap and descend; what such ramps show is left open.
    if (!std::is_sorted(prepared.positions.begin(), prepared.positions.end())) continue;
    const bool blend = paint.opacity != 256 || ramp.rampAlpha;

    KFiller fillers[2] = {nullptr, nullptr};
    KStrips<TypeParam>::VTable.init[KPaintLinearGradient](&span.style, fillers[0], fillers[1]);
    ExpectFillers<TypeParam, KLinearStrip>(blend, fillers[0], fillers[1]);
    for (int i = 0; i < 6; ++i) {
      span.Renew(random);
      const bool aa = i % 2;
      RampReference reference(prepared, repeat);
      std::int32_t t = Add(Mul(Sub(span.style.y << 16, start.y.raw), uy),
                           Mul(Sub(span.style.x0 << 16, start.x.raw), ux));
      ASSERT_TRUE(span.Check(fillers[aa],
                             [&](int x, Word was) {
                               const Shade s = reference.At(t, ux);
                               t = Add(t, ux);
                               return Expected(aa, blend, s, was, span.style.lineBuffer[x]);
                             }))
          << "round " << round << " ux " << ux << " stops " << stops.colors.size();
    }
  }
}

TYPED_TEST(Gradients, RadialByTheRules) {
  Random random(2);
  for (int round = 0; round < 1500; ++round) {
    Span span(random, random.Between(1, round % 10 ? 60 : 700));
    Stops stops = AnyStops(random, false);
    if (random.OneIn(2)) {
      for (std::int32_t& p : stops.positions) p = Mul(p, 150 << 16);
    }
    KSoftColorRamp ramp;
    Use(ramp, stops, random.Below(3));
    const bool repeat = ramp.spread == KSpreadRepeat;
    ramp.axis = AnyAxis(random, random.OneIn(2));
    KPaint paint;
    paint.radialRamp = &ramp;
    paint.opacity = random.OneIn(2) ? 256 : random.Between(0, 256);
    paint.translucent = random.OneIn(2);
    span.style.paint = &paint;
    const Stops prepared = Prepared(stops, paint.opacity, 0x10000, repeat);
    const bool blend = paint.opacity != 256 || paint.translucent;

    KFiller fillers[2] = {nullptr, nullptr};
    KStrips<TypeParam>::VTable.init[KPaintRadialGradient](&span.style, fillers[0], fillers[1]);
    ExpectFillers<TypeParam, KRadialStrip>(blend, fillers[0], fillers[1]);
    const KSoftMatrix3D& m = ramp.axis;
    for (int i = 0; i < 6; ++i) {
      span.Renew(random);
      if (random.OneIn(2)) span.style.y = random.Between(0, 400);
      const bool aa = i % 2;
      RampReference reference(prepared, repeat);
      const KFixed dx = KFixed::FromInt(span.style.x0) - m.m6;
      const KFixed dy = KFixed::FromInt(span.style.y) - m.m7;
      KVertex2D g{m.m0 * dx + m.m3 * dy, m.m1 * dx + m.m4 * dy};
      ASSERT_TRUE(span.Check(fillers[aa],
                             [&](int x, Word was) {
                               std::int32_t t = g.Norm().raw;
                               g = g + KVertex2D{m.m0, m.m1};
                               return Expected(aa, blend, reference.At(t, std::nullopt), was,
                                               span.style.lineBuffer[x]);
                             }))
          << "round " << round << " stops " << stops.colors.size();
    }
  }
}

/// Ramps of any words, in any order: no crash, no hang, nothing outside the span.
TYPED_TEST(Gradients, SurviveBrokenRamps) {
  Random random(3);
  for (int round = 0; round < 2000; ++round) {
    Span span(random, random.Between(1, 100));
    Stops stops;
    for (int i = random.Between(0, 6); i > 0; --i) {
      stops.colors.push_back(random.Next());
      stops.positions.push_back(static_cast<std::int32_t>(random.Word()));
    }
    KSoftColorRamp ramp;
    Use(ramp, stops, random.Below(3));
    ramp.axis = AnyAxis(random, false);
    KPaint paint;
    paint.linearRamp = paint.radialRamp = random.OneIn(50) ? nullptr : &ramp;
    paint.opacity = static_cast<std::int32_t>(random.Word());
    span.style.paint = &paint;
    for (int type : {KPaintLinearGradient, KPaintRadialGradient}) {
      KFiller fillers[2] = {nullptr, nullptr};
      KStrips<TypeParam>::VTable.init[type](&span.style, fillers[0], fillers[1]);
      for (KFiller filler : fillers) {
        span.Renew(random);
        const bool empty = stops.colors.empty() || !paint.linearRamp;
        ASSERT_TRUE(
            span.Check(filler, [&](int x, Word was) { return empty ? was : span.style.row[x]; }));
      }
    }
  }
}

TEST(Gradient, StatedValues) {
  const Word colors[2] = {0xFF000000, 0xFFFFFFFF};
  const std::int32_t positions[2] = {0, 0x10000};
  const struct {
    KPaintType type;
    std::int32_t length;  // of the axis, in pixels, from x = 10 on
    std::uint32_t spread;
    int opacity, x;
    Word want;
  } rows[] = {
      {KPaintLinearGradient, 100, KSpreadPad, 256, 0, 0xFF000000},
      {KPaintLinearGradient, 100, KSpreadPad, 256, 10, 0xFF000000},
      {KPaintLinearGradient, 100, KSpreadPad, 256, 60, 0xFF7F7F7F},
      {KPaintLinearGradient, 100, KSpreadPad, 256, 200, 0xFFFFFFFF},
      {KPaintLinearGradient, 100, KSpreadRepeat, 256, 160, 0xFF7F7F7F},
      {KPaintLinearGradient, 0, KSpreadPad, 256, 7, 0xFFFFFFFF},  // no length: the last colour
      {KPaintRadialGradient, 1, KSpreadPad, 256, 10, 0xFF000000},
      {KPaintRadialGradient, 1, KSpreadPad, 256, 11, 0xFFFFFFFF},
      {KPaintLinearGradient, 1, KSpreadPad, 128, 11, 0},
  };
  KSoftColorRamp ramp;
  ramp.colors = colors;
  ramp.positions = positions;
  ramp.count = 2;
  KPaint paint;
  paint.linearRamp = paint.radialRamp = &ramp;
  Random random(4);
  Span span(random, 300);
  span.style.paint = &paint;
  for (const auto& row : rows) {
    ramp.spread = row.spread;
    paint.opacity = row.opacity;
    ramp.axis.Set(KFixed::FromInt(row.length), Fixed(0), Fixed(0), KFixed::FromInt(row.length),
                  KFixed::FromInt(10), Fixed(0));
    ramp.axis.identity = ramp.axis.linearIdentity = 0;
    KFiller solid, coverage;
    KStrips<KColor_8888_PM>::VTable.init[row.type](&span.style, solid, coverage);
    span.style.x0 = span.style.y = 0;
    span.style.x1 = 300;
    solid(&span.style);
    if (row.want) {
      EXPECT_EQ(span.style.row[row.x], row.want) << row.x;
    }
    if (row.length == 0) continue;
    // Copies only of what an opacity or an axis of another length changes.
    EXPECT_EQ(span.style.table0 == colors, row.opacity == 256);
    EXPECT_EQ(span.style.table1 == positions, row.length == 1 || row.type == KPaintRadialGradient);
  }
  EXPECT_EQ(static_cast<const Word*>(span.style.table0)[1], 0x7F7F7F7Fu);
  EXPECT_EQ(colors[1], 0xFFFFFFFFu);
}

/// Rounding errors add up along a run, at its end beyond the range of a channel, where a wrap would
/// turn black into white.
TEST(Gradient, LongRunsStayInRange) {
  const KColorStop grey[2] = {{Fixed(0), {0, 0, 0, 255}}, {Fixed(0x10000), {255, 255, 255, 255}}};
  const KColorStop yerg[2] = {{Fixed(0), {255, 255, 255, 255}}, {Fixed(0x10000), {0, 0, 0, 255}}};
  Random random(8);
  Span span(random, 2000);
  for (int length = 300; length < 2000; length += 7) {
    for (const bool falling : {false, true}) {
      for (const bool leftward : {false, true}) {
        KSoftColorRamp ramp;
        const KVertex2D left{Fixed(0), Fixed(0)}, right{KFixed::FromInt(length), Fixed(0x1234)};
        ASSERT_TRUE(ramp.SetLinear(leftward ? right : left, leftward ? left : right,
                                   falling ? yerg : grey, 2));
        KPaint paint;
        paint.linearRamp = &ramp;
        span.style.paint = &paint;
        KFiller solid = nullptr, coverage = nullptr;
        KStrips<KColor_8888_PM>::VTable.init[KPaintLinearGradient](&span.style, solid, coverage);
        span.style.x0 = span.style.y = 0;
        span.style.x1 = length;
        solid(&span.style);
        for (int x = 0; x < length; ++x) {
          const int rising = 255 * x / length;
          ASSERT_NEAR(static_cast<int>(span.style.row[x] & 255),
                      falling != leftward ? 255 - rising : rising, 24)
              << x << " of " << length;
        }
      }
    }
  }
}

TEST(Distances, AreNorms) {
  Random random(5);
  for (int round = 0; round < 20000; ++round) {
    const auto word = [&] {
      return random.OneIn(2) ? Fixed(static_cast<std::int32_t>(random.Word()))
                             : Fixed(random.Between(-0x2000000, 0x2000000));
    };
    const KVertex2D g{word(), word()}, step{word(), random.OneIn(3) ? Fixed(0) : word()};
    std::int32_t got[kalvora::kDistances];
    kalvora::Distances(g, step, got);
    KVertex2D at = g;
    for (std::int32_t d : got) {
      ASSERT_EQ(d, at.Norm().raw) << at.x.raw << ", " << at.y.raw;
      at = at + step;
    }
  }
}

TEST(Distances, BeyondACircleIsKnownAtOnce) {
  Random random(6);
  int skipped = 0, beyond = 0;
  for (int round = 0; round < 20000; ++round) {
    const int range = random.OneIn(2) ? 0x7FFFFFFF : 0x1000000;
    const auto word = [&](int r) { return Fixed(random.Between(-r, r)); };
    KVertex2D g{word(range), word(range)};
    const KVertex2D step{word(0x20000), word(0x20000)};
    const int n = random.Between(1, 400);
    // Often a circle that the vectors nearly touch.
    const KVertex2D touching =
        g + KVertex2D{step.x * KFixed::FromInt(n / 2), step.y * KFixed::FromInt(n / 2)};
    const std::int32_t radius = random.OneIn(2) ? random.Between(0, range)
                                                : Add(touching.Norm().raw, random.Between(-9, 150));
    const int run = kalvora::PixelsBeyond(g, step, radius, n);
    ASSERT_TRUE(run >= 0 && run <= n);
    for (int i = 0; i < n; ++i, g = g + step) {
      const bool outside = g.Norm().raw >= radius;
      ASSERT_TRUE(outside || i >= run) << i << " of " << run;
      if (range < 0x7FFFFFFF && i == run) beyond += outside;
    }
    skipped += run > 0;
  }
  EXPECT_GT(skipped, 4000);
  // Runs rarely end before they must.
  EXPECT_LT(beyond, 400);
}

}  // namespace
