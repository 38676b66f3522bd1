// Gradients: linear and radial fillers against the ideal gradient and each other.
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/core/roots.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/gradients/distances.h"

#include "tests/paint/reference.h"
#include "tests/paint/span.h"

namespace {

using reference::Word;

struct Stops {
  std::vector<Word> colors;
  std::vector<std::int32_t> positions;
};

/// What gradients are, in real numbers: the colour at a position of a ramp.
class Ideal {
 public:
  /// Positions are multiplied by `unit`.
  Ideal(const Stops& stops_, bool repeats, double unit_) : stops(stops_), unit(unit_) {
    period = repeats ? At(stops.positions.size() - 1) : 0;
  }

  /// Whether `got` is the colour at t, give or take `near`, with channels off by less than
  /// `levels`.
  bool Shows(double t, Word got, double near, double levels) const {
    return Matches(t, got, near, levels) || Matches(t - near, got, near, levels) ||
           Matches(t + near, got, near, levels);
  }
  /// t lies at an end of a padded ramp or beyond it.
  bool IsEnd(double t) const {
    return period == 0 && (t <= At(0) || t >= At(stops.positions.size() - 1));
  }

 private:
  double At(std::size_t i) const { return stops.positions[i] * unit; }
  bool Matches(double t, Word got, double near, double levels) const {
    const std::size_t last = stops.positions.size() - 1;
    if (period > 0 && (t <= At(0) || t >= At(last))) t -= std::floor(t / period) * period;
    if (t <= At(0)) return got == stops.colors.front();
    if (t >= At(last)) return Distance(got, stops.colors.back()) <= levels;
    std::size_t i = 1;
    while (At(i) < t) ++i;
    const double width = At(i) - At(i - 1), f = (t - At(i - 1)) / width;
    for (int c = 0; c < 4; ++c) {
      const double from = reference::Channel(stops.colors[i - 1], c);
      const double rise = reference::Channel(stops.colors[i], c) - from;
      const double want = from + f * rise + 0x7F00 / 65536.0;
      const double off = levels + near * std::fabs(rise) / width;
      const double channel = reference::Channel(got, c);
      if (channel < std::floor(want - off) || channel > std::floor(want + off)) return false;
    }
    return true;
  }
  static double Distance(Word a, Word b) {
    double most = 0;
    for (int c = 0; c < 4; ++c) {
      most = std::max(most, std::fabs(1.0 * reference::Channel(a, c) - reference::Channel(b, c)));
    }
    return most;
  }

  const Stops& stops;
  double unit, period;
};

/// A pixel that a span of colours left as it was.
constexpr Word kThrough = 0x12345678;

/// Colours, blended, plain, or covered.
Word Expected(bool aa, bool blend, Word s, Word d, std::int32_t coverage) {
  if (s == kThrough) return d;
  const Word w = aa ? reference::CoverageWeight(coverage) : 256;
  return reference::Composite(d, s, aa || blend, w);
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

/// Where the pixels of a gradient lie along its ramp.
struct Place {
  Place(const KSoftMatrix3D& m_, bool radial_) : m(m_), radial(radial_) {
    if (radial) return;
    const bool unit = m.identity || m.linearIdentity;
    dx = unit ? 1 : m.m0.raw / 65536.0, dy = unit ? 0 : m.m1.raw / 65536.0;
    length = std::hypot(dx, dy);
  }
  double At(int x, int y) const {
    if (radial) {
      const std::int64_t ox = x * 0x10000 - std::int64_t{m.m6.raw};
      const std::int64_t oy = y * 0x10000 - std::int64_t{m.m7.raw};
      const auto offset = [&](KFixed a, KFixed b) {
        return Fixed(static_cast<std::int32_t>((a.raw * ox >> 16) + (b.raw * oy >> 16)));
      };
      const KVertex2D g{offset(m.m0, m.m3), offset(m.m1, m.m4)};
      return kalvora::Root(static_cast<std::uint64_t>(std::int64_t{g.x.raw} * g.x.raw) +
                           static_cast<std::uint64_t>(std::int64_t{g.y.raw} * g.y.raw));
    }
    const double px = x - m.m6.raw / 65536.0, py = y - m.m7.raw / 65536.0;
    return (px * dx + py * dy) / length;
  }
  /// What takes positions to the same unit.
  double Unit() const { return radial ? 1 : length / 65536; }

  const KSoftMatrix3D& m;
  bool radial;
  double dx = 0, dy = 0, length = 1;
};

/// Every filler shows, wherever its span begins, the same colours, and they are those of the ideal
/// gradient: of linear ones to 1/50 of a level, of radial ones to a level.
TEST(Gradients, AreFunctionsOfThePixel) {
  Random random(1);
  int checked = 0;
  for (int round = 0; round < 6000; ++round) {
    const bool radial = round % 2, pixels = random.OneIn(4);
    Span span(random, random.Between(1, round % 10 ? 60 : 2500));
    Stops stops = AnyStops(random, pixels);
    KSoftColorRamp ramp;
    Use(ramp, stops, random.Below(3));
    ramp.axis = AnyAxis(random, radial && random.OneIn(2));
    if (pixels && !radial) {
      ramp.axis.Identity();
      if (random.OneIn(2)) ramp.axis.PreScale({Fixed(-0x10000), Fixed(0x10000)});
      ramp.axis.Translate({KFixed::FromInt(random.Between(-50, 150)), Fixed(0)});
    }
    const Place place(ramp.axis, radial);
    const bool repeat = ramp.spread == KSpreadRepeat;
    const double last = stops.positions.back() * place.Unit();
    // Shorter axes and periods show what is left of a ramp, or noise.
    if (repeat && last < (radial ? 1 : 4)) continue;
    if (place.length < 0.5) continue;
    ++checked;

    // The colours: those of a ramp that was weighed beforehand, drawn as if it were opaque.
    KPaint paint;
    paint.linearRamp = paint.radialRamp = &ramp;
    paint.opacity = random.OneIn(2) ? 256 : random.Between(0, 256);
    const int opacity = std::exchange(paint.opacity, 256);
    std::vector<Word> own = stops.colors;
    for (Word& c : stops.colors) c = reference::Scale(c, static_cast<Word>(opacity));
    ramp.rampAlpha = 0;
    span.style.paint = &paint;
    const int type = radial ? KPaintRadialGradient : KPaintLinearGradient;
    const int y = random.OneIn(2) ? random.Between(0, 400) : random.Between(0, 2000);
    std::fill_n(span.style.row, span.width, kThrough);
    span.SetSpan(0, span.width, y);
    Init(span.style, type).solid(&span.style);
    const std::vector<Word> colors(span.style.row, span.style.row + span.width);
    const Ideal ideal(stops, repeat, place.Unit());
    for (int x = 0; x < span.width; ++x) {
      const double t = place.At(x, y);
      const Word color = colors[static_cast<std::size_t>(x)];
      const bool through = color == kThrough && ideal.IsEnd(t);
      ASSERT_TRUE(ideal.Shows(t, through ? 0 : color, radial ? 0 : 1e-5, radial ? 1.01 : 0.02))
          << std::hex << color << std::dec << " at " << x << ", " << y << ", t " << t
          << " in round " << round << ", stops " << stops.colors.size();
    }

    // All fillers composite them.
    stops.colors = own;
    ramp.rampAlpha = random.OneIn(2), paint.translucent = random.OneIn(2);
    paint.opacity = opacity;
    const bool blend = opacity != 256 || (radial ? paint.translucent : ramp.rampAlpha != 0);
    const Fillers fillers = Init(span.style, type, random.OneIn(2));
    for (const bool aa : {false, true, false, true}) {
      span.Renew(random);
      span.style.y = y;
      const auto expected = [&](int x, Word was) {
        return Expected(aa, blend, colors[static_cast<std::size_t>(x)], was,
                        span.style.lineBuffer[x]);
      };
      ASSERT_TRUE(span.Check(aa ? fillers.coverage : fillers.solid, expected)) << "round " << round;
    }
  }
  EXPECT_GT(checked, 4000);
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
    paint.opacity = 256;
    Init(span.style, row.type).solid(&span.style);
    EXPECT_EQ(span.style.row[row.x], row.want) << row.x;
  }
}

TEST(Distances, AreExactFloors) {
  Random random(5);
  for (int round = 0; round < 20000; ++round) {
    const auto word = [&] {
      return random.OneIn(2) ? Fixed(static_cast<std::int32_t>(random.Word()))
                             : Fixed(random.Between(-0x2000000, 0x2000000));
    };
    const kalvora::OffsetRow row{{word(), word()}, {word(), random.OneIn(3) ? Fixed(0) : word()}};
    const int n = random.Between(1, 40);
    const bool series = row.IsSeries(n);
    const kalvora::SquareSeries squares(row);
    KVertex2D at = row.g;
    for (int i = 0; i < n; ++i, at = at + row.step) {
      const std::uint64_t square = static_cast<std::uint64_t>(std::int64_t{at.x.raw} * at.x.raw) +
                                   static_cast<std::uint64_t>(std::int64_t{at.y.raw} * at.y.raw);
      const std::uint64_t d = row.DistanceAt(i);
      ASSERT_TRUE(d * d <= square && (d == UINT32_MAX || (d + 1) * (d + 1) > square)) << square;
      if (!series) continue;
      ASSERT_EQ(squares.At(i), square);
      const kalvora::IndexRange range = squares.Below(square + 1, n);
      ASSERT_TRUE(range.begin <= i && i < range.end && range.end <= n) << square;
    }
  }
}

/// Of 400 pixels in steps of one, those beyond a circle are known but for a few.
TEST(Distances, BelowARadius) {
  const struct {
    int x, y, dx, radius;  // in pixels
    int begin, end;        // of those in the circle
  } rows[] = {
      {100, 0, 1, 50, 0, 0},       {-500, 0, 1, 50, 0, 0},     {49, 0, 1, 50, 0, 1},
      {-440, 0, 1, 50, 391, 400},  {50, 0, 0, 50, 0, 0},       {-200, 60, 1, 50, 0, 0},
      {-200, 30, 1, 50, 161, 240}, {100, 40, -1, 50, 71, 130}, {0, 0, 1, 500, 0, 400},
  };
  for (const auto& row : rows) {
    const auto at = [](int v) { return KFixed::FromInt(v); };
    const kalvora::OffsetRow offsets{{at(row.x), at(row.y)}, {at(row.dx), at(0)}};
    const std::uint64_t limit = std::uint64_t{static_cast<unsigned>(row.radius)} << 16;
    const kalvora::IndexRange range = kalvora::SquareSeries(offsets).Below(limit * limit, 400);
    const bool all = row.begin == row.end || (range.begin <= row.begin && row.end <= range.end);
    EXPECT_TRUE(all && range.end - range.begin <= row.end - row.begin + 8)
        << &row - rows << ": " << range.begin << " to " << range.end;
  }
  // So far away that real numbers cannot tell a square from the next.
  const kalvora::SquareSeries squares({{Fixed(-200), Fixed(0x3FFFFF55)}, {Fixed(1), Fixed(0)}});
  for (int i = 200; i < 400; ++i) {
    const kalvora::IndexRange range = squares.Below(squares.At(i) + 1, 400);
    EXPECT_TRUE(range.begin <= 400 - i && i < range.end) << range.begin << " to " << range.end;
  }
}

}  // namespace
