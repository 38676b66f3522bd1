// Gradients: linear and radial fillers against plain per-pixel references.
#include <algorithm>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/paint/KSoftColorRamp.h"
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
  const Word w = aa ? reference::CoverageWeight(coverage) : 256;
  return reference::Composite(d, s.color, aa || blend, w);
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

KSoftMatrix3D AnyAxis(Random& random, bool radial) {
  KSoftMatrix3D m;
  const auto place = [&] {
    const std::int32_t whole = random.Between(-50, random.OneIn(3) ? 2500 : 350) * 0x10000;
    return Fixed(random.OneIn(2) ? whole : whole + random.Between(0, 0xFFFF));
  };
  const auto word = [&] { return Fixed(static_cast<std::int32_t>(random.Word())); };
  // Along slopes of thousands of pixels rounding errors add up.
  const std::int32_t size = radial ? 0x4000 : (random.OneIn(2) ? 300 : 5000) << 16;
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

/// The axis of a linear gradient, and where pixels lie along it.
struct Axis {
  explicit Axis(const KSoftMatrix3D& m) : start{m.m6, m.m7} {
    const KVertex2D end = m.identity         ? KVertex2D{Fixed(0x10000), Fixed(0)}
                          : m.linearIdentity ? KVertex2D{m.m6 + Fixed(0x10000), m.m7}
                                             : KVertex2D{m.m0 + m.m6, m.m1 + m.m7};
    const KVertex2D d = end - start;
    length = d.Norm();
    const KFixed inverse = length.raw > 0 ? KFixed::Inverse(length) : Fixed(0);
    ux = (d.x * inverse).raw, uy = (d.y * inverse).raw;
  }
  std::int32_t At(std::int32_t x, std::int32_t y) const {
    return Add(Mul(Sub(y << 16, start.y.raw), uy), Mul(Sub(x << 16, start.x.raw), ux));
  }

  KVertex2D start;
  KFixed length;
  std::int32_t ux, uy;
};

TEST(Gradients, FollowTheRules) {
  Random random(1);
  for (int round = 0; round < 6000; ++round) {
    const bool radial = round % 2, pixels = random.OneIn(4);
    Span span(random, random.Between(1, round % 10 ? 60 : 2500));
    const Stops stops = AnyStops(random, pixels);
    KSoftColorRamp ramp;
    Use(ramp, stops, random.Below(3));
    const bool repeat = ramp.spread == KSpreadRepeat;
    if (random.OneIn(4)) ramp.rampAlpha = !ramp.rampAlpha;
    ramp.axis = AnyAxis(random, radial && random.OneIn(2));
    if (pixels && !radial) {
      ramp.axis.Identity();
      if (random.OneIn(2)) ramp.axis.PreScale({Fixed(-0x10000), Fixed(0x10000)});
      ramp.axis.Translate({KFixed::FromInt(random.Between(-50, 150)), Fixed(0)});
    }
    KPaint paint;
    paint.linearRamp = paint.radialRamp = &ramp;
    paint.opacity = random.OneIn(2) ? 256 : random.Between(0, 256);
    paint.translucent = random.OneIn(2);
    span.style.paint = &paint;

    const KSoftMatrix3D& m = ramp.axis;
    const Axis axis(m);
    const Stops prepared =
        Prepared(stops, paint.opacity, radial ? 0x10000 : axis.length.raw, repeat);
    // Stretched too far, positions wrap and descend; what such ramps show is left open.
    if (!std::is_sorted(prepared.positions.begin(), prepared.positions.end())) continue;
    const bool blend = paint.opacity != 256 || (radial ? paint.translucent : ramp.rampAlpha != 0);
    const Fillers fillers =
        Init(span.style, radial ? KPaintRadialGradient : KPaintLinearGradient, random.OneIn(2));
    for (const bool aa : {false, true, false, true}) {
      span.Renew(random);
      if (random.OneIn(2)) span.style.y = random.Between(0, 400);
      const int x0 = span.style.x0, y = span.style.y;
      RampReference reference(prepared, repeat);
      std::int32_t along = axis.At(x0, y);
      const KFixed dx = KFixed::FromInt(x0) - m.m6, dy = KFixed::FromInt(y) - m.m7;
      KVertex2D g{m.m0 * dx + m.m3 * dy, m.m1 * dx + m.m4 * dy};
      const auto expected = [&](int x, Word was) {
        std::int32_t distance = g.Norm().raw;
        const Shade s =
            radial ? reference.At(distance, std::nullopt) : reference.At(along, axis.ux);
        along = Add(along, axis.ux);
        g = g + KVertex2D{m.m0, m.m1};
        return Expected(aa, blend, s, was, span.style.lineBuffer[x]);
      };
      ASSERT_TRUE(span.Check(aa ? fillers.coverage : fillers.solid, expected))
          << "round " << round << " ux " << axis.ux << " stops " << stops.colors.size();
    }
  }
}

/// Ramps of any words, in any order and on any axis: no crash, no hang, nothing outside the span.
TEST(Gradients, SurviveBrokenRamps) {
  Random random(3);
  const auto word = [&] { return Fixed(static_cast<std::int32_t>(random.Word())); };
  for (int round = 0; round < 4000; ++round) {
    Span span(random, random.Between(1, 100));
    Stops stops;
    for (int i = random.Between(0, 6); i > 0; --i) {
      stops.colors.push_back(random.Next());
      stops.positions.push_back(word().raw);
    }
    KSoftColorRamp ramp;
    Use(ramp, stops, random.Below(3));
    ramp.axis = AnyAxis(random, false);
    const KColorStop owned[2] = {{word(), {1, 2, 3, 4}}, {word(), {5, 6, 7, 255}}};
    const KVertex2D p{word(), word()}, q{word(), word()};
    const KSoftMatrix3D m = AnyAxis(random, false);
    ASSERT_TRUE(round % 3 != 1 || ramp.SetLinear(p, q, m, owned, 2));
    ASSERT_TRUE(round % 3 != 2 || ramp.SetRadial(p, q.x, m, owned, 2));
    KPaint paint;
    paint.linearRamp = paint.radialRamp = random.OneIn(50) ? nullptr : &ramp;
    paint.opacity = word().raw;
    span.style.paint = &paint;
    const bool empty = ramp.count == 0 || !paint.linearRamp;
    for (int type : {KPaintLinearGradient, KPaintRadialGradient}) {
      const Fillers fillers = Init(span.style, type, round % 2);
      for (KFiller filler : {fillers.solid, fillers.coverage}) {
        span.Renew(random);
        ASSERT_TRUE(
            span.Check(filler, [&](int x, Word was) { return empty ? was : span.style.row[x]; }));
      }
    }
  }
}

TEST(Gradients, StatedValues) {
  const Word colors[2] = {0xFF000000, 0xFFFFFFFF};
  const std::int32_t positions[2] = {0, 0x10000};
  const struct {
    KPaintType type;
    int length;  // of the axis, from x = 10 on
    std::uint32_t spread;
    int x;
    Word want;
  } rows[] = {
      {KPaintLinearGradient, 100, KSpreadPad, 0, 0xFF000000},
      {KPaintLinearGradient, 100, KSpreadPad, 10, 0xFF000000},
      {KPaintLinearGradient, 100, KSpreadPad, 60, 0xFF7F7F7F},
      {KPaintLinearGradient, 100, KSpreadPad, 200, 0xFFFFFFFF},
      {KPaintLinearGradient, 100, KSpreadRepeat, 160, 0xFF7F7F7F},
      {KPaintLinearGradient, 0, KSpreadPad, 7, 0xFFFFFFFF},  // no length: the last colour
      {KPaintRadialGradient, 1, KSpreadPad, 10, 0xFF000000},
      {KPaintRadialGradient, 1, KSpreadPad, 11, 0xFFFFFFFF},
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
  span.SetSpan(0, 300, 0);
  for (const auto& row : rows) {
    ramp.spread = row.spread;
    const KFixed length = KFixed::FromInt(row.length);
    ramp.axis.Set(length, Fixed(0), Fixed(0), length, KFixed::FromInt(10), Fixed(0));
    ramp.axis.identity = ramp.axis.linearIdentity = 0;
    // Copies only of what an opacity or an axis of another length changes.
    paint.opacity = 128;
    Init(span.style, row.type);
    EXPECT_EQ(static_cast<const Word*>(span.style.table0)[row.length ? 1 : 0], 0x7F7F7F7Fu);
    paint.opacity = 256;
    Init(span.style, row.type).solid(&span.style);
    EXPECT_EQ(span.style.row[row.x], row.want) << row.x;
    if (row.length == 0) continue;
    EXPECT_EQ(span.style.table0, colors);
    EXPECT_EQ(span.style.table1 == positions, row.length == 1);
  }
}

TEST(Distances, AreNorms) {
  Random random(5);
  for (int round = 0; round < 20000; ++round) {
    const auto word = [&] {
      return random.OneIn(2) ? Fixed(static_cast<std::int32_t>(random.Word()))
                             : Fixed(random.Between(-0x2000000, 0x2000000));
    };
    KVertex2D at{word(), word()};
    const KVertex2D step{word(), random.OneIn(3) ? Fixed(0) : word()};
    std::int32_t got[kalvora::kDistances];
    kalvora::Distances(at, step, got);
    for (std::int32_t d : got) {
      ASSERT_EQ(d, at.Norm().raw) << at.x.raw << ", " << at.y.raw;
      at = at + step;
    }
  }
}

/// Of 400 pixels in steps of one, as few as possible are left to be looked at.
TEST(Distances, BeyondACircleIsKnownAtOnce) {
  const struct {
    int x, y, dx, radius;  // in pixels
    int low, high;         // how many are beyond the circle
  } rows[] = {
      {100, 0, -1, 50, 49, 50},     // goes in and through
      {-100, 30, 1, 50, 59, 60},    // where it is 40 wide
      {100, 0, 1, 50, 400, 400},    // goes away
      {-100, 51, 1, 50, 400, 400},  // passes
      {10, 0, 1, 50, 0, 0},         // starts inside
      {100, 0, 0, 50, 400, 400},    // stays where it is
      {100, 0, 100, 50, 0, 0},      // goes where coordinates wrap
      {100, 0, -1, -50, 0, 0},      // no circle
      {100, 0, -1, 0x4000, 0, 0},   // one too large to be sure
  };
  for (const auto& row : rows) {
    const auto at = [](int v) { return KFixed::FromInt(v); };
    const int run =
        kalvora::PixelsBeyond({at(row.x), at(row.y)}, {at(row.dx), at(0)}, at(row.radius).raw, 400);
    EXPECT_TRUE(run >= row.low && run <= row.high) << run << " of row " << &row - rows;
  }
}

}  // namespace
