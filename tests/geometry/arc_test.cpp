// Elliptical arcs: ArcTo and AddArc against the ellipse.
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/geometry/KSoftPath.h"

#include "tests/common/Random.h"
#include "tests/geometry/IdealStroke.h"

namespace {

KVertex2D At(double x, double y) { return {ToFixed(x), ToFixed(y)}; }

struct Ellipse {
  double cx, cy, rx, ry;
  Pt On(double degrees) const {
    const double a = degrees * M_PI / 180;
    return {cx + rx * std::cos(a), cy + ry * std::sin(a)};
  }
  /// Distance from the centre as a multiple of the ellipse's, and the angle in degrees.
  double Ratio(Pt p) const { return std::hypot((p.x - cx) / rx, (p.y - cy) / ry); }
  double Angle(Pt p) const { return std::atan2((p.y - cy) / ry, (p.x - cx) / rx) * 180 / M_PI; }
};

/// Walks all cubic pieces: each must run along the ellipse in the given sense and turn by 90
/// degrees at most. Returns the whole angle.
double WalkArc(const KSoftPath& path, const Ellipse& e, bool direction) {
  double whole = 0;
  Pt from{};
  for (const KSegment* s = path.first; s; s = s->next) {
    if (s->Opens()) from = ToPt(*s->Start());
    for (unsigned i = 0; i < s->Pieces(); ++i) {
      const KVertex2D* p = s->Points() + i * s->Order();
      const Pt end = ToPt(p[s->Order() - 1]);
      if (s->Order() == 3) {
        double before = e.Angle(from), turned = 0;
        for (int n = 1; n <= 16; ++n) {
          const double t = n / 16.0, u = 1 - t;
          const Pt at = from * (u * u * u) + ToPt(p[0]) * (3 * u * u * t) +
                        ToPt(p[1]) * (3 * u * t * t) + end * (t * t * t);
          const double slack = 3e-4 + 0.02 / std::min(e.rx, e.ry);
          EXPECT_NEAR(e.Ratio(at), 1, slack);
          const double step = std::remainder(e.Angle(at) - before, 360);
          EXPECT_GT(direction ? step : -step, -0.1);
          turned += std::abs(step);
          before = e.Angle(at);
        }
        EXPECT_LE(turned, 90.5);
        whole += turned;
      }
      from = end;
    }
  }
  return whole;
}

TEST(Arc, ArcToRunsAlongTheEllipse) {
  Random random(3);
  for (int i = 0; i < 3000; ++i) {
    const Ellipse e{random.Between(-500, 500) / 1.0, random.Between(-500, 500) / 1.0,
                    random.Between(10, 4000) / 10.0, random.Between(10, 4000) / 10.0};
    const double start = random.Between(-180, 180);
    const double end = random.OneIn(8) ? start : random.Between(-180, 180);
    const bool direction = random.OneIn(2);
    KSoftPath path;
    const Pt a = e.On(start), b = e.On(end);
    path.MoveTo(At(a.x, a.y));
    ASSERT_TRUE(path.ArcTo(At(b.x, b.y), At(e.cx, e.cy), At(e.rx, e.ry), direction));
    EXPECT_EQ(path.current, At(b.x, b.y));
    double sweep = direction ? end - start : start - end;
    while (sweep <= 0) sweep += 360;
    while (sweep > 360) sweep -= 360;
    // A unit of the points is this angle.
    const double slack = 0.1 + 0.02 / std::min(e.rx, e.ry) * 60;
    ASSERT_NEAR(WalkArc(path, e, direction), sweep, slack)
        << start << ' ' << end << ' ' << direction;
    ASSERT_FALSE(testing::Test::HasFailure()) << "case " << i;
  }
}

TEST(Arc, ArcToJoinsWhatIsOffTheEllipse) {
  struct Case {
    KVertex2D start, end, radii;
    std::vector<unsigned> orders;  // of the records
  };
  const Case cases[] = {
      {At(10, 0), At(0, 10), At(10, 10), {3}},    {At(20, 0), At(0, 10), At(10, 10), {1, 3}},
      {At(10, 0), At(0, 20), At(10, 10), {3, 1}}, {At(5, 0), At(0, 5), At(10, 20), {1, 3, 1}},
      {At(10, 0), At(0, 10), At(0, 10), {1}},     {At(10, 0), At(0, 10), At(10, 0), {1}},
      {At(10, 0), At(0, 10), At(-10, -10), {3}},  {At(0, 0), At(0, 10), At(10, 10), {1, 3}},
  };
  for (const Case& c : cases) {
    KSoftPath path;
    path.MoveTo(c.start);
    ASSERT_TRUE(path.ArcTo(c.end, At(0, 0), c.radii, true));
    std::vector<unsigned> orders;
    for (const KSegment* s = path.first; s; s = s->next) orders.push_back(s->Order());
    EXPECT_EQ(orders, c.orders);
    EXPECT_EQ(path.current, c.end);
  }
}

TEST(Arc, AddArcSweepsClockwiseOnTheScreen) {
  const Ellipse e{100, 50, 80, 30};
  struct Case {
    double start, sweep;
    bool closed;
  };
  for (const Case c :
       {Case{0, 90, false}, Case{30, 200, false}, Case{-400, 17, false}, Case{90, -90, false},
        Case{10, -300, false}, Case{45, 45, false}, Case{5, 360, true}, Case{5, 1000, true},
        Case{5, -360, true}, Case{359, 359.9, false}}) {
    KSoftPath path;
    ASSERT_TRUE(path.AddArc(At(e.cx, e.cy), At(e.rx, e.ry), ToFixed(c.start), ToFixed(c.sweep)));
    EXPECT_EQ(path.first->Closed(), c.closed);
    const double sweep = std::min(std::abs(c.sweep), 360.0);
    EXPECT_NEAR(WalkArc(path, e, c.sweep > 0), sweep, 0.1);
    const Pt from = e.On(c.start), to = e.On(c.start + (c.sweep > 0 ? sweep : -sweep));
    EXPECT_LT((ToPt(*path.first->Start()) - from).Norm(), 0.01);
    EXPECT_LT((ToPt(path.current) - to).Norm(), 0.01);
  }
  KSoftPath point;
  ASSERT_TRUE(point.AddArc(At(0, 0), At(10, 10), ToFixed(90), ToFixed(0)));
  EXPECT_EQ(*point.first->Start(), At(0, 10));
  EXPECT_EQ(point.current, At(0, 10));
}

// Any numbers at all: nothing but points comes out.
TEST(Arc, SurvivesAnyNumbers) {
  Random random(8);
  const auto any = [&] { return KFixed::FromRaw(static_cast<std::int32_t>(random.Word())); };
  for (int i = 0; i < 20000; ++i) {
    KSoftPath path;
    path.MoveTo({any(), any()});
    const KVertex2D end = random.OneIn(4) ? path.current : KVertex2D{any(), any()};
    const KVertex2D centre{any(), any()}, radii{any(), any()};
    ASSERT_TRUE(path.ArcTo(end, centre, radii, random.OneIn(2)));
    ASSERT_TRUE(path.AddArc(centre, radii, any(), any()));
  }
}

}  // namespace
