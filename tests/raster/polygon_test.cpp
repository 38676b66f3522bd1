// Scan conversion against the exact area, shape family by shape family, and against itself under
// clips.
#include <cmath>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/raster/sweep/longdivision.h"

#include "tests/common/Random.h"
#include "tests/raster/AreaReference.h"
#include "tests/raster/Canvas.h"

namespace {

using Ring = std::vector<KVertex2D>;
using Rings = std::vector<Ring>;

constexpr int kSize = 32;
// Half a level: coverage that weighs as much as full coverage becomes full.
constexpr double kTolerance = 0.55 / 255;

KVertex2D At(double x, double y) {
  return {KFixed::FromRaw(static_cast<std::int32_t>(std::lround(x * 65536))),
          KFixed::FromRaw(static_cast<std::int32_t>(std::lround(y * 65536)))};
}
double Uniform(Random& random, double low, double high) {
  return low + (high - low) * random.Next() / 4294967296.0;
}
KVertex2D Anywhere(Random& random, double margin = 6) {
  return At(Uniform(random, -margin, kSize + margin), Uniform(random, -margin, kSize + margin));
}

Ring Star(double cx, double cy, double outer, double inner, int points, double turn) {
  Ring ring;
  for (int i = 0; i < 2 * points; ++i) {
    const double a = turn + M_PI * i / points, r = i % 2 ? inner : outer;
    ring.push_back(At(cx + r * std::cos(a), cy + r * std::sin(a)));
  }
  return ring;
}
// Every second corner of a regular polygon: crosses itself.
Ring Pentagram(double cx, double cy, double radius, int corners, double turn) {
  Ring ring;
  for (int i = 0; i < corners; ++i) {
    const double a = turn + 2 * M_PI * i * (corners / 2) / corners;
    ring.push_back(At(cx + radius * std::cos(a), cy + radius * std::sin(a)));
  }
  return ring;
}
Ring Reversed(Ring ring) {
  std::reverse(ring.begin(), ring.end());
  return ring;
}

Rings Triangle(Random& r) { return {{Anywhere(r), Anywhere(r), Anywhere(r)}}; }
Rings Quad(Random& r) { return {{Anywhere(r), Anywhere(r), Anywhere(r), Anywhere(r)}}; }
Rings Tangle(Random& r) {
  Ring ring(5 + r.Below(9));
  for (KVertex2D& v : ring) v = Anywhere(r);
  return {ring};
}
Rings SpikyStar(Random& r) {
  return {Star(Uniform(r, 8, 24), Uniform(r, 8, 24), Uniform(r, 4, 20), Uniform(r, 0.5, 6),
               3 + static_cast<int>(r.Below(8)), Uniform(r, 0, 6))};
}
Rings CrossedStar(Random& r) {
  return {Pentagram(Uniform(r, 8, 24), Uniform(r, 8, 24), Uniform(r, 3, 20),
                    5 + 2 * static_cast<int>(r.Below(9)), Uniform(r, 0, 6))};
}
Rings Hole(Random& r) {
  const double cx = Uniform(r, 10, 22), cy = Uniform(r, 10, 22), turn = Uniform(r, 0, 6);
  const int n = 3 + static_cast<int>(r.Below(5));
  Ring inner = Star(cx, cy, 5, 3.5, n, turn);
  return {Star(cx, cy, 12, 11, n, turn), r.OneIn(2) ? inner : Reversed(inner)};
}
Rings Sliver(Random& r) {
  const KVertex2D a = Anywhere(r), b = Anywhere(r);
  const double w = Uniform(r, 0.001, 0.3);
  return {{a, b, b + At(w, w / 3), a + At(w / 2, w)}};
}
Rings Speck(Random& r) {
  const double x = Uniform(r, 1, 30), y = Uniform(r, 1, 30), d = Uniform(r, 0.02, 1.4);
  Ring ring(3 + r.Below(3));
  for (KVertex2D& v : ring) v = At(Uniform(r, x, x + d), Uniform(r, y, y + d));
  return {ring};
}
Rings NearlyFlat(Random& r) {
  const double y = Uniform(r, 2, 30);
  return {
      {At(-4, y), At(36, y + Uniform(r, -0.1, 0.1)), At(30, y + Uniform(r, 0, 2)), At(2, y + 1)}};
}
// Corners on whole pixels and halves: ties of every kind.
Rings Lattice(Random& r) {
  Ring ring(3 + r.Below(8));
  for (KVertex2D& v : ring) v = At(r.Between(0, 20) * 0.5 + 8, r.Between(0, 20) * 0.5 + 8);
  return {ring};
}
Rings Overlap(Random& r) {
  Rings rings = Triangle(r);
  rings.push_back(Quad(r)[0]);
  rings.push_back(Lattice(r)[0]);
  return rings;
}

// Dozens of edges that cross, some level, and far beyond the sides.
Rings Thicket(Random& r) {
  Ring ring(9 + r.Below(72));
  const double margin = r.OneIn(3) ? 500 : 6;
  for (KVertex2D& v : ring) {
    v = Anywhere(r, margin);
    if (r.OneIn(10)) v.y = ring[0].y;
  }
  return {ring};
}
// Quadrilaterals that begin and end at few heights inside the rows, some with level sides.
Rings Terraces(Random& r) {
  Rings rings(2 + r.Below(7));
  for (Ring& ring : rings) {
    const double top = 8 + r.Below(8) * 0.25, bottom = top + (1 + r.Below(8)) * 0.25;
    const double upper = r.OneIn(2) ? top : top + 0.25, lower = r.OneIn(2) ? bottom : bottom - 0.25;
    ring = {At(Uniform(r, -4, 36), top), At(Uniform(r, -4, 36), upper),
            At(Uniform(r, -4, 36), bottom), At(Uniform(r, -4, 36), lower)};
    if (r.OneIn(3)) ring = Reversed(ring);
  }
  return rings;
}

struct Family {
  const char* name;
  Rings (*make)(Random&);
  int count;
};

constexpr Family kFamilies[] = {
    {"triangle", Triangle, 3000},       {"quad", Quad, 1500},
    {"tangle", Tangle, 1000},           {"star", SpikyStar, 800},
    {"crossed star", CrossedStar, 800}, {"hole", Hole, 800},
    {"sliver", Sliver, 1000},           {"speck", Speck, 1500},
    {"nearly flat", NearlyFlat, 800},   {"lattice", Lattice, 1500},
    {"overlap", Overlap, 500},          {"thicket", Thicket, 60},
    {"terraces", Terraces, 500},
};

struct Worst {
  double error = 0;
  int x = 0, y = 0;
};

Worst Compare(const Canvas& canvas, const AreaReference& reference) {
  Worst worst;
  for (int y = 0; y < canvas.height; ++y) {
    for (int x = 0; x < canvas.width; ++x) {
      const double error = std::abs(canvas.At(x, y) / 65536.0 - reference.At(x, y));
      if (error > worst.error) worst = {error, x, y};
      EXPECT_GE(canvas.At(x, y), 0);
      EXPECT_LE(canvas.At(x, y), 0x10000);
    }
  }
  return worst;
}

TEST(Polygon, CoversTheExactArea) {
  for (const Family& family : kFamilies) {
    Random random(2026);
    Canvas canvas(kSize, kSize);
    double largest = 0;
    for (int i = 0; i < family.count; ++i) {
      const Rings rings = family.make(random);
      for (const KFillRule rule : {KFillNonZero, KFillEvenOdd}) {
        canvas.Clear();
        canvas.Draw(rings, rule);
        const Worst worst = Compare(canvas, AreaReference({rings, rule}, nullptr, kSize, kSize));
        largest = std::max(largest, worst.error);
        ASSERT_LE(worst.error, kTolerance)
            << family.name << " " << i << " rule " << rule << " at " << worst.x << "," << worst.y
            << " has " << canvas.At(worst.x, worst.y) / 65536.0;
        ASSERT_EQ(canvas.stack.used, 0u);
      }
    }
    RecordProperty(family.name, std::to_string(largest * 255));
  }
}

// The step ends where an upright edge and another cross, by rounding in another column than the
// edge's own.
TEST(Polygon, CrossingBesideAnUprightEdge) {
  const auto at = [](int x, int y) { return KVertex2D{KFixed::FromRaw(x), KFixed::FromRaw(y)}; };
  const Rings rings{{at(1048576, 1081344), at(1048576, 557056), at(1081344, 589824),
                     at(1146880, 688128), at(557056, 917504)}};
  Canvas canvas(kSize, kSize);
  canvas.Draw(rings, KFillNonZero);
  const Worst worst = Compare(canvas, AreaReference({rings, -1}, nullptr, kSize, kSize));
  EXPECT_LE(worst.error, kTolerance) << worst.x << "," << worst.y;
}

TEST(Polygon, ClipPathsLimitToTheirInterior) {
  Random random(7);
  Canvas canvas(kSize, kSize);
  for (int i = 0; i < 1500; ++i) {
    const Rings rings = kFamilies[random.Below(std::size(kFamilies))].make(random);
    const Rings clip = kFamilies[random.Below(std::size(kFamilies))].make(random);
    const KFillRule rule = random.OneIn(2) ? -1 : 1, clipRule = random.OneIn(2) ? -1 : 1;
    canvas.Clear();
    canvas.Draw(rings, rule, &clip, clipRule);
    const ReferenceShape clipShape{clip, clipRule};
    const Worst worst = Compare(canvas, AreaReference({rings, rule}, &clipShape, kSize, kSize));
    ASSERT_LE(worst.error, kTolerance) << i << " at " << worst.x << "," << worst.y;
  }
}

TEST(Polygon, CombsOfHundredsOfTeeth) {
  constexpr int kWidth = 600, kHeight = 40;
  for (const double tooth : {1.1, 1.9, 3.7}) {
    Ring ring{At(599, 39), At(1, 39)};
    for (double x = 1; x + tooth < 599; x += tooth) {
      ring.push_back(At(x, 3.3));
      ring.push_back(At(x + tooth / 2, 35.7));
    }
    Canvas canvas(kWidth, kHeight);
    canvas.Draw({ring}, KFillNonZero);
    const Worst worst = Compare(canvas, AreaReference({{ring}, -1}, nullptr, kWidth, kHeight));
    EXPECT_LE(worst.error, kTolerance) << tooth << " at " << worst.x << "," << worst.y;
  }
}

// Edges that all cross each other, and enter in any order: hundreds are exact, with thousands of
// crossings a row; many more are drawn in slabs.
TEST(Polygon, CrossingsByTheThousand) {
  constexpr int kHeight = 6;
  Random random(17);
  for (const int edges : {200, 600, 6000, 20000}) {
    Ring ring;
    for (int i = 0; i < edges; ++i) {
      ring.push_back(At(Uniform(random, 0, kSize), i % 2 ? 0.25 : kHeight - 0.25));
    }
    Canvas canvas(kSize, kHeight);
    canvas.Draw({ring}, KFillEvenOdd);
    if (edges < 1000) {
      const Worst worst = Compare(canvas, AreaReference({{ring}, 1}, nullptr, kSize, kHeight));
      EXPECT_LE(worst.error, kTolerance) << edges << " at " << worst.x << "," << worst.y;
    } else {
      // Half of every pixel is inside.
      for (int x = 8; x < kSize - 8; ++x) EXPECT_NEAR(canvas.At(x, 3) / 65536.0, 0.5, 0.05) << x;
    }
  }
}

// Inside a clip rectangle exactly the pixels of the full draw, outside nothing.
TEST(Polygon, ClipRectanglesCrop) {
  Random random(11);
  Canvas whole(kSize, kSize), cropped(kSize, kSize);
  for (int i = 0; i < 3000; ++i) {
    const Rings rings = kFamilies[random.Below(std::size(kFamilies))].make(random);
    const KFillRule rule = random.OneIn(2) ? -1 : 1;
    const Rings path = kFamilies[random.Below(std::size(kFamilies))].make(random);
    const Rings* clipPath = random.OneIn(4) ? &path : nullptr;
    whole.Clear();
    whole.Draw(rings, rule, clipPath);
    cropped.Clear();
    const auto edge = [&] { return static_cast<std::int16_t>(random.Below(kSize + 1)); };
    const KClip clip{edge(), edge(), edge(), edge()};
    cropped.style.clip = clip;
    cropped.Draw(rings, rule, clipPath);
    for (int y = 0; y < kSize; ++y) {
      for (int x = 0; x < kSize; ++x) {
        const bool inside = x >= clip.x0 && x < clip.x1 && y >= clip.y0 && y < clip.y1;
        ASSERT_EQ(cropped.At(x, y), inside ? whole.At(x, y) : 0) << i << " at " << x << "," << y;
      }
    }
  }
}

// Without a divider quotients are the divider's own.
TEST(Polygon, LongDivision) {
  Random random(23);
  for (int i = 0; i < 100000; ++i) {
    const std::uint32_t spread = random.Next() >> random.Below(32);
    const std::uint32_t d = (random.OneIn(2) ? spread : 0u - spread) | 0x80000000u;
    const std::uint32_t hi = random.OneIn(4) ? d - 1 - (spread & 3) : random.Below(d);
    const std::uint32_t lo = random.OneIn(2) ? random.Next() : 0;
    const auto quotient = static_cast<std::uint32_t>((std::uint64_t{hi} << 32 | lo) / d);
    ASSERT_EQ(kalvora::DivideByNewton(hi, lo, d), quotient) << hi << " " << lo << " " << d;
    const std::uint32_t width = random.Next() >> 1 >> random.Below(31), dy = d >> random.Below(32);
    ASSERT_EQ(kalvora::RatioByNewton(width, dy), (std::uint64_t{width} << 32) / dy) << dy;
  }
}

TEST(Polygon, RulesAndOrientation) {
  const Ring square{At(4, 4), At(20, 4), At(20, 20), At(4, 20)};
  const Ring hole{At(8, 8), At(16, 8), At(16, 16), At(8, 16)};
  struct Case {
    Rings rings;
    KFillRule rule;
    int middle;
  };
  const Case cases[] = {
      {{square, hole}, KFillNonZero, 0x10000},     {{square, hole}, KFillEvenOdd, 0},
      {{square, Reversed(hole)}, KFillNonZero, 0}, {{square, Reversed(hole)}, KFillEvenOdd, 0},
      {{Reversed(square), hole}, KFillNonZero, 0}, {{square, square}, KFillEvenOdd, 0},
  };
  for (const Case& c : cases) {
    Canvas canvas(kSize, kSize);
    canvas.Draw(c.rings, c.rule);
    EXPECT_EQ(canvas.At(12, 12), c.middle);
    EXPECT_EQ(canvas.At(5, 12), c.rings[1] == square ? 0 : 0x10000);
    EXPECT_EQ(canvas.At(2, 12), 0);
  }
}

// Coordinates over the whole range, rings of every length, clips of every kind: nothing may leave
// the buffers.
TEST(Polygon, HostileShapesStayInside) {
  Random random(13);
  Canvas canvas(kSize, kSize);
  const auto any = [&] {
    Rings rings(1 + random.Below(3));
    for (Ring& ring : rings) {
      ring.resize(random.Below(12));
      for (KVertex2D& v : ring) {
        v = {KFixed::FromRaw(static_cast<std::int32_t>(random.Word())),
             KFixed::FromRaw(static_cast<std::int32_t>(random.Word()))};
        if (random.OneIn(3)) v = Anywhere(random);
      }
    }
    std::erase_if(rings, [](const Ring& ring) { return ring.empty(); });
    return rings;
  };
  for (int i = 0; i < 4000; ++i) {
    const Rings rings = any(), path = any();
    const auto edge = [&] { return static_cast<std::int16_t>(random.Below(kSize + 1)); };
    canvas.style.clip = {edge(), edge(), edge(), edge()};
    canvas.Draw(rings, static_cast<KFillRule>(random.Word()), random.OneIn(3) ? &path : nullptr);
    ASSERT_EQ(canvas.stack.used, 0u);
  }
}

}  // namespace
