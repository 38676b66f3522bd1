// Strokes of small known figures: how many rings, and how large.
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/raster/KStack.h"

#include "tests/common/Random.h"
#include "tests/geometry/IdealStroke.h"
#include "tests/geometry/Outline.h"

namespace {

KVertex2D At(double x, double y) { return {ToFixed(x), ToFixed(y)}; }

using Points = std::vector<KVertex2D>;

struct PolyCase {
  const char* name;
  Points points;
  bool closed;
  double width;
  unsigned startCap, endCap, join;
  unsigned rings;
  double area;
};

const double kDisc = M_PI * 25;  // of a pen of width 10

const PolyCase kPolyCases[] = {
    {"no point", {}, false, 10, 2, 2, 1, 0, 0},
    {"a point, butt", {At(5, 5)}, false, 10, 0, 0, 1, 0, 0},
    {"a point, square", {At(5, 5)}, false, 10, 1, 1, 1, 1, 100},
    {"a point, round", {At(5, 5)}, false, 10, 2, 2, 1, 1, kDisc},
    {"a point, butt and round", {At(5, 5)}, false, 10, 0, 2, 1, 1, kDisc / 2},
    {"a point repeated", {At(5, 5), At(5, 5), At(5, 5)}, false, 10, 2, 2, 1, 1, kDisc},
    {"a point closed", {At(5, 5), At(5, 5)}, true, 10, 1, 1, 1, 1, 100},
    {"a line", {At(0, 0), At(30, 40)}, false, 10, 0, 0, 1, 1, 500},
    {"square ends", {At(0, 0), At(30, 40)}, false, 10, 1, 1, 1, 1, 600},
    {"round ends", {At(0, 0), At(30, 40)}, false, 10, 2, 2, 1, 1, 500 + kDisc},
    {"a square and a round end", {At(0, 0), At(30, 40)}, false, 10, 1, 2, 1, 1, 550 + kDisc / 2},
    {"points repeated", {At(0, 0), At(0, 0), At(30, 40), At(30, 40)}, false, 10, 0, 0, 1, 1, 500},
    {"straight on", {At(0, 0), At(20, 0), At(50, 0)}, false, 10, 0, 0, 2, 1, 500},
    {"no width", {At(0, 0), At(30, 40)}, false, 0, 2, 2, 2, 0, 0},
    {"negative width", {At(0, 0), At(30, 40)}, false, -5, 2, 2, 2, 0, 0},
    {"corner, mitered", {At(0, 0), At(50, 0), At(50, 50)}, false, 10, 0, 0, 1, 1, 1000},
    {"corner, beveled", {At(0, 0), At(50, 0), At(50, 50)}, false, 10, 0, 0, 0, 1, 987.5},
    {"corner, round", {At(0, 0), At(50, 0), At(50, 50)}, false, 10, 0, 0, 2, 1, 975 + kDisc / 4},
    {"unknown kinds", {At(0, 0), At(50, 0), At(50, 50)}, false, 10, 7, 9, 5, 1, 987.5},
    {"square", {At(0, 0), At(50, 0), At(50, 50), At(0, 50)}, true, 10, 2, 2, 1, 2, 2000},
    {"square closed by a point",
     {At(0, 0), At(50, 0), At(50, 50), At(0, 50), At(0, 0)},
     true,
     10,
     2,
     2,
     1,
     2,
     2000},
    {"back and forth, closed", {At(0, 0), At(50, 0)}, true, 10, 0, 0, 2, 2, 2 * 500 + kDisc},
};

TEST(StrokeCases, Polylines) {
  KSoftMatrix3D identity;
  for (const PolyCase& c : kPolyCases) {
    for (const bool onStack : {true, false}) {
      KStroker stroker;
      stroker.SetLineWidth(ToFixed(c.width));
      stroker.SetCaps(c.startCap, c.endCap);
      stroker.SetJoin(c.join);
      const Outline outline = Outline::Of(stroker, c.points, c.closed, identity, onStack);
      EXPECT_EQ(outline.rings.size(), c.rings) << c.name;
      EXPECT_NEAR(outline.Area(), c.area, 0.01 * c.area) << c.name;
      EXPECT_EQ(stroker.stack->used, 0u) << c.name;
    }
  }
}

TEST(StrokeCases, MiterLimits) {
  // The miter's length is 1 / sin(a / 2) line widths, a the angle between the lines.
  struct Case {
    double degrees, limit;
    bool mitered;
  };
  KSoftMatrix3D identity;
  for (const Case c : {Case{90, 1.413, false}, Case{90, 1.415, true}, Case{60, 2, true},
                       Case{60, 1.99, false}, Case{29, 4, true}, Case{28.9, 4, false},
                       Case{28.9, 10, true}, Case{3, 38.1, false}, Case{3, 38.3, true}}) {
    const double a = c.degrees * M_PI / 180;
    KStroker stroker;
    stroker.SetLineWidth(ToFixed(10));
    stroker.SetMiterLimit(ToFixed(c.limit));
    const Outline outline = Outline::Of(
        stroker, {At(500, 0), At(0, 0), At(500 * std::cos(a), 500 * std::sin(a))}, false, identity);
    // Just before the tip, on the angle's bisector.
    const double reach = 0.99 * 5 / std::sin(a / 2);
    const Pt tip = Pt{-std::cos(a / 2), -std::sin(a / 2)} * reach;
    EXPECT_EQ(outline.Winding(tip) != 0, c.mitered) << c.degrees << ' ' << c.limit;
  }
}

struct DashCase {
  std::vector<double> lengths;
  double phase;
  unsigned rings;
  double covered;  ///< of a line of 100
};

TEST(StrokeCases, Dashes) {
  const DashCase cases[] = {
      {{10}, 0, 5, 50},           // one length: on and off in turn
      {{10, 10}, 0, 5, 50},       //
      {{10, 10}, 5, 6, 50},       // 5 on, ..., 5 on
      {{10, 10}, 10, 5, 50},      //
      {{10, 10}, -5, 5, 50},      // begins with half a gap
      {{10, 10}, 2005, 6, 50},    //
      {{30, 10, 20}, 0, 3, 60},   // 30 on, 10 off, 20 on, 30 off, 10 on
      {{30, 10, 20}, 60, 2, 40},  // 30 off, 10 on, 20 off, 30 on, 10 off
      {{200, 10}, 0, 1, 100},     // never ends
      {{10, 200}, 10, 0, 0},      // never begins
      {{0, 10}, 0, 0, 0},         // dots under butt caps
      {{7, 0, 3, 10}, 0, 5, 50},  // no gap between 7 and 3
      {{0, 0}, 0, 1, 100},        // no length at all: solid
      {{0, 0, 0}, 7, 1, 100},     //
      {{-5, -5}, 0, 1, 100},      //
      {{5, -5}, 0, 1, 100},       //
      {{5, 0}, 3, 1, 100},        // no gaps
      {{}, 0, 1, 100},            //
      {{10, 1e-5}, 0, 10, 100},   // gaps of one unit
      {{1e-5, 2e-5}, 0, 1, 100},  // more dashes than anyone can draw: solid
  };
  KSoftMatrix3D identity;
  for (const DashCase& c : cases) {
    std::vector<KFixed> lengths;
    std::string name = std::to_string(c.phase) + ":";
    for (const double length : c.lengths) {
      lengths.push_back(KFixed::FromRaw(static_cast<std::int32_t>(std::ceil(length * 65536))));
      name += " " + std::to_string(length);
    }
    KStroker stroker;
    stroker.SetLineWidth(ToFixed(4));
    stroker.SetDashes(lengths.data(), static_cast<unsigned>(lengths.size()), ToFixed(c.phase));
    const Outline outline = Outline::Of(stroker, {At(10, 10), At(90, 70)}, false, identity);
    EXPECT_EQ(outline.rings.size(), c.rings) << name;
    EXPECT_NEAR(outline.Area(), 4 * c.covered, 0.1) << name;
    EXPECT_EQ(stroker.stack->used, 0u);
  }
}

TEST(StrokeCases, DashesGoOnAroundClosedPaths) {
  // A square of 40: 30 on, 10 off ends in a gap; 30 on, 15 off ends 25 into the fourth dash, which
  // goes on into the first one around the corner.
  KSoftMatrix3D identity;
  struct Case {
    double on, off;
    unsigned rings;
    bool corner;  ///< whether the start's miter is there
  };
  for (const Case c : {Case{30, 10, 4, false}, Case{30, 15, 3, true}, Case{500, 15, 2, true}}) {
    KStroker stroker;
    stroker.SetLineWidth(ToFixed(4));
    const KFixed lengths[] = {ToFixed(c.on), ToFixed(c.off)};
    stroker.SetDashes(lengths, 2, ToFixed(0));
    const Outline outline =
        Outline::Of(stroker, {At(10, 10), At(50, 10), At(50, 50), At(10, 50)}, true, identity);
    EXPECT_EQ(outline.rings.size(), c.rings);
    EXPECT_EQ(outline.Winding({8.5, 8.5}) != 0, c.corner);
  }
}

// Within 1 % on smooth curves: circles, an ellipse drawn by the matrix, a wave.
TEST(StrokeCases, AreasOfCurves) {
  for (const double width : {0.5, 1.0, 2.0, 8.0, 30.0}) {
    for (const double radius : {16.0, 40.0, 150.0}) {
      KStroker stroker;
      stroker.SetLineWidth(ToFixed(width));
      KSoftPath circle, wave;
      circle.AddArc(At(0, 0), At(radius, radius), ToFixed(7), ToFixed(360));
      KSoftMatrix3D identity, skewed;
      skewed.Skew(At(30, 20));
      skewed.Scale(At(-1.5, 0.75));
      const double determinant = std::abs(skewed.m0.raw / 65536.0 * (skewed.m4.raw / 65536.0) -
                                          skewed.m1.raw / 65536.0 * (skewed.m3.raw / 65536.0));
      const double ideal = 2 * M_PI * radius * width;
      EXPECT_NEAR(Outline::Of(stroker, circle, identity).Area(), ideal, 0.01 * ideal);
      EXPECT_NEAR(Outline::Of(stroker, circle, skewed).Area(), ideal * determinant,
                  0.01 * ideal * determinant);
      if (width > radius) continue;
      wave.MoveTo(At(0, 0));
      wave.CubicTo(At(radius, 2 * radius), At(2 * radius, -2 * radius), At(3 * radius, 0));
      Polyline line;
      AddCurve(line, {{0, 0}, {radius, 2 * radius}, {2 * radius, -2 * radius}, {3 * radius, 0}},
               2000);
      const double length = line.Length() * width;
      EXPECT_NEAR(Outline::Of(stroker, wave, identity).Area(), length, 0.01 * length);
    }
  }
}

// Every number of the public fields, the matrix and the path may be anything.
TEST(StrokeCases, SurvivesAnyNumbers) {
  Random random(12);
  const auto any = [&] { return KFixed::FromRaw(static_cast<std::int32_t>(random.Word())); };
  for (int i = 0; i < 500; ++i) {
    KStroker stroker;
    stroker.startCap = random.Below(4);
    stroker.endCap = random.Below(4);
    stroker.join = random.Below(4);
    stroker.halfWidth = any();
    stroker.limit = any();
    stroker.limitWidth = any();
    KFixed dashes[5];
    for (KFixed& dash : dashes)
      dash = random.OneIn(3) ? any() : KFixed::FromRaw(random.Below(1 << 22));
    if (random.OneIn(3)) stroker.SetDashes(dashes, 1 + random.Below(5), any());
    KSoftPath path;
    for (unsigned n = 1 + random.Below(6); n > 0; --n) {
      const KVertex2D p[3] = {{any(), any()}, {any(), any()}, {any(), any()}};
      if (random.OneIn(4)) path.MoveTo({any(), any()});
      path.BezierTo(1 + random.Below(3), p, 1);
      if (random.OneIn(5)) path.Close();
    }
    KSoftMatrix3D m;
    if (random.OneIn(2)) m.Set(any(), any(), any(), any(), any(), any());
    KVertex2D** rings = nullptr;
    const unsigned count = stroker.StrokePath(&path, rings, &m, true);
    stroker.FreeStroke(rings, count, true);
    ASSERT_EQ(stroker.stack->used, 0u);
  }
}

// A million lengths, and a line that they would cut into millions of pieces.
TEST(StrokeCases, DashesAreBounded) {
  std::vector<KFixed> lengths(1000000, KFixed::FromRaw(40));
  KSoftPath path;
  for (int i = 0; i < 200; ++i) {
    path.MoveTo(At(0, i));
    path.CubicTo(At(3000, i), At(-3000, i + 5), At(7000, i));
  }
  KStroker stroker;
  KSoftMatrix3D identity;
  stroker.SetDashes(lengths.data(), 1000000, ToFixed(11));
  KVertex2D** rings = nullptr;
  const unsigned count = stroker.StrokePath(&path, rings, &identity, true);
  EXPECT_EQ(count, 200u);
  stroker.FreeStroke(rings, count, true);
}

// A pen that the matrix makes 100,000 pixels long and 12,000 high shows its long sides as it
// should.
TEST(StrokeCases, LongPensFollowCurves) {
  KSoftPath path;
  path.MoveTo(At(0, 0));
  path.QuadTo(At(0.5, 0.2), At(1, 0));
  KSoftMatrix3D m;
  m.Scale(At(8000, 1000));
  KStroker stroker;
  stroker.SetLineWidth(ToFixed(12));
  const Outline outline = Outline::Of(stroker, path, m);
  for (double t = 0.3; t < 0.71; t += 0.1) {
    const double slope = 0.4 * (1 - 2 * t), way = 6 / std::hypot(1, slope);
    const Pt rim = {8000 * (t - slope * way), 1000 * (0.4 * t * (1 - t) + way)};
    EXPECT_NE(outline.Winding(rim - Pt{0, 1}), 0) << t;
    EXPECT_EQ(outline.Winding(rim + Pt{0, 1}), 0) << t;
  }
}

// Curves that leave the plane, or whose pen's rim nobody can see, are not cut finely: such 40
// curves had up to 570,000 vertices.
TEST(StrokeCases, OutlinesAreBounded) {
  KSoftPath path;
  path.MoveTo(At(0, 0));
  for (int i = 1; i < 40; ++i) path.CubicTo(At(i, 9), At(9, -i), At(i % 7, i % 5));
  for (const KVertex2D scale : {At(8000, 8000), At(800, 800), At(800, 0.1)}) {
    KSoftMatrix3D m;
    m.Scale(scale);
    for (const double width : {1.0, 5.0, 120.0, 1000.0, 8000.0, 32000.0}) {
      KStroker stroker;
      stroker.SetLineWidth(ToFixed(width));
      stroker.SetJoin(kRoundJoin);
      EXPECT_LT(Outline::Of(stroker, path, m).Vertices().size(), 80000u) << width;
    }
  }
}

}  // namespace
