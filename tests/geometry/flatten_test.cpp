// Flattening: curves into straight pieces, paths into rings.
#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/core/division.h"
#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/curves.h"
#include "kalvora/geometry/halving/forms.h"
#include "kalvora/raster/KStack.h"
#include "kalvora/raster/ring.h"

#include "tests/common/Allocations.h"
#include "tests/common/GuardedBuffer.h"
#include "tests/common/Random.h"
#include "tests/geometry/IdealStroke.h"

namespace {

namespace ring = kalvora::ring;

KVertex2D At(double x, double y) { return {ToFixed(x), ToFixed(y)}; }

double DistanceTo(const std::vector<Pt>& line, Pt p) {
  double nearest = 1e9;
  for (std::size_t i = 1; i < line.size(); ++i) {
    const Pt a = line[i - 1], d = line[i] - a;
    const double t = Dot(d, d) > 0 ? std::clamp(Dot(p - a, d) / Dot(d, d), 0.0, 1.0) : 0;
    nearest = std::min(nearest, (p - a - d * t).Norm());
  }
  return nearest;
}

/// Flattens a quadratic (3 points) or a cubic (4) into a buffer that ends at a guard page.
std::vector<KVertex2D> Flatten(const std::vector<KVertex2D>& c) {
  static GuardedBuffer buffer(KStroker::kMaxCurvePoints * sizeof(KVertex2D));
  auto* out = buffer.As<KVertex2D>();
  const int n = c.size() == 3 ? KStroker::GetBezierPts(out, c[0], c[1], c[2], 1)
                              : KStroker::GetBezierPts(out, c[0], c[1], c[2], c[3], 1);
  return {out, out + n};
}

// A piece is straight when its control points stand less than a pixel off together: half a pixel at
// the most for the curve.
TEST(Flatten, StaysNearTheCurve) {
  Random random(4);
  for (int i = 0; i < 8000; ++i) {
    const std::int32_t size = 0x10000 << random.Below(10);
    std::vector<KVertex2D> c(3 + random.Below(2));
    for (KVertex2D& p : c) {
      p = {KFixed::FromRaw(random.Between(-size, size)),
           KFixed::FromRaw(random.Between(-size, size))};
    }
    if (random.OneIn(5)) c[1] = c[0];
    if (random.OneIn(5)) c[c.size() - 2] = c.back();
    // Only the distance from the chord counts: a hairpin may overshoot the chord's ends unseen.
    const Pt chord = ToPt(c.back()) - ToPt(c.front());
    bool hairpin = false;
    for (std::size_t k = 1; k < c.size(); ++k) {
      hairpin = hairpin || Dot(ToPt(c[k]) - ToPt(c[k - 1]), chord) < 0;
    }
    if (hairpin) continue;
    const auto points = Flatten(c);
    ASSERT_EQ(points.front(), c.front());
    ASSERT_EQ(points.back(), c.back());
    std::vector<Pt> line, control;
    for (const KVertex2D p : points) line.push_back(ToPt(p));
    for (const KVertex2D p : c) control.push_back(ToPt(p));
    Polyline curve;
    AddCurve(curve, control, 40);
    for (const auto& corner : curve.corners) ASSERT_LT(DistanceTo(line, corner.at), 0.52) << i;
  }
}

// Legs and chords of every size, and bounds on both sides of the true deviation.
TEST(Flatten, CrossProductsDecideLikeTheTable) {
  Random random(5);
  const auto vector = [&] {
    const std::int32_t size = INT32_MAX >> random.Below(31);
    const std::int32_t other = random.OneIn(2) ? size : INT32_MAX >> random.Below(31);
    return KVertex2D{KFixed::FromRaw(random.Between(-size, size)),
                     KFixed::FromRaw(random.Between(-other, other))};
  };
  int flat = 0, unsure = 0;
  for (int i = 0; i < 200000; ++i) {
    const KVertex2D chord = vector(), a = vector();
    const KVertex2D b = random.OneIn(2) ? vector() : KVertex2D::Origin;
    const Pt d = ToPt(chord);
    const double across = std::abs(Cross(ToPt(a), d)) + std::abs(Cross(ToPt(b), d));
    const double near = 1 + random.Between(-1000, 1000) * 1e-6 * random.Below(1000);
    const double exact = across / std::max(d.Norm(), 1e-5) * near * 65536;
    const auto bound = static_cast<std::uint32_t>(std::clamp(exact, 0.0, 4294967295.0));
    const bool table = kalvora::IsFlatByTable(chord, a, b, bound);
    ASSERT_EQ(kalvora::IsFlat(chord, a, b, bound), table) << i;
    std::uint32_t extent = 0;
    for (const KVertex2D v : {chord, a, b}) {
      extent = std::max({extent, kalvora::Magnitude(v.x.raw), kalvora::Magnitude(v.y.raw)});
    }
    using Quick = kalvora::QuickTest;
    const auto verdict = Quick(std::bit_width(extent), bound)(chord, a, b);
    if (verdict != Quick::kUnsure) {
      ASSERT_EQ(verdict == Quick::kFlat, table) << i;
    }
    unsure += verdict == Quick::kUnsure;
    flat += table;
  }
  EXPECT_NEAR(flat, 100000, 20000);
  EXPECT_LT(unsure, 170000);
}

// Halving by the table alone, as long as the number of points is not limited.
void Halve(std::vector<KVertex2D>& out, const std::vector<KVertex2D>& c, std::uint32_t bound,
           int pending = 0) {
  const std::size_t n = c.size() - 1;
  const KVertex2D b = n == 3 ? c[2] - c[3] : KVertex2D::Origin;
  if (kalvora::IsFlatByTable(c[n] - c[0], c[1] - c[0], b, bound) || pending == 10 ||
      out.size() > 200) {
    return out.push_back(c[0]);
  }
  const auto middle = [](KFixed p, KFixed q) {
    return KFixed::FromRaw(static_cast<std::int32_t>((std::int64_t{p.raw} + q.raw) >> 1));
  };
  std::vector<KVertex2D> row = c, early(n + 1), late(n + 1);
  for (std::size_t k = 0; k <= n; ++k) {
    early[k] = row[0];
    late[n - k] = row[n - k];
    for (std::size_t i = 0; i + k < n; ++i) {
      row[i] = {middle(row[i].x, row[i + 1].x), middle(row[i].y, row[i + 1].y)};
    }
  }
  Halve(out, early, bound, pending + 1);
  Halve(out, late, bound, pending);
}

TEST(Flatten, PointsAreTheTables) {
  Random random(9);
  for (int i = 0; i < 20000; ++i) {
    const std::int32_t size = 1 << (10 + random.Below(17)), turn = size >> random.Below(10);
    std::vector<KVertex2D> c(3 + random.Below(2));
    for (KVertex2D& p : c) {
      const auto off = [&](int part) { return KFixed::FromRaw(random.Between(-part, part)); };
      p = {off(turn), off(turn)};
      // Evenly along a chord, on which the ends or all lie.
      const auto step = static_cast<int>(&p - c.data());
      if (i % 3) p.x.raw += size / 4 * step;
      if (i % 2) p.y.raw += size / 5 * step;
    }
    KFixed tolerance = KFixed::FromRaw(1 << random.Below(17));
    if (random.OneIn(2)) {
      // Near the deviation of the whole.
      const std::size_t n = c.size() - 1;
      const Pt d = ToPt(c[n]) - ToPt(c[0]);
      const double across = std::abs(Cross(ToPt(c[1]) - ToPt(c[0]), d)) +
                            (n == 3 ? std::abs(Cross(ToPt(c[2]) - ToPt(c[3]), d)) : 0);
      const double near = 1 + random.Between(-1000, 1000) * 1e-6 * random.Below(100);
      tolerance = ToFixed(std::min(across / std::max(d.Norm(), 1e-5) / 2 * near, 30000.0));
    }
    std::vector<KVertex2D> points(256), plain;
    Halve(plain, c, 2 * static_cast<std::uint32_t>(tolerance.raw));
    plain.push_back(c.back());
    const kalvora::Flatness flatness(tolerance);
    // In words, and in vectors where the processor has them.
    for (const auto flatten :
         {c.size() == 3 ? kalvora::words::FlattenCurve<2> : kalvora::words::FlattenCurve<3>,
          c.size() == 3 ? kalvora::FlattenCurve<2> : kalvora::FlattenCurve<3>}) {
      points.resize(256);
      const int n = flatten(c[0], &c[1], points.data(), flatness);
      if (n > 100) continue;
      points.resize(static_cast<std::size_t>(n));
      ASSERT_EQ(points, plain) << i;
    }
  }
}

TEST(Flatten, CountsPoints) {
  struct Case {
    std::vector<KVertex2D> curve;
    int least, most;
  };
  const Case cases[] = {
      {{At(0, 0), At(30, 0.4), At(70, 0.4), At(100, 0)}, 2, 2},
      {{At(0, 0), At(50, 0.9), At(100, 0)}, 2, 2},
      {{At(0, 0), At(30, 0.6), At(70, 0.6), At(100, 0)}, 3, 3},
      // An S: the deviations of its control points would cancel.
      {{At(0, 0), At(30, 40), At(70, -40), At(100, 0)}, 8, 40},
      // Both ends in one point.
      {{At(5, 5), At(100, 5), At(5, 100), At(5, 5)}, 8, 40},
      // As large and as wound as can be.
      {{At(-32000, 0), At(32000, 32000), At(-32000, 32000), At(32000, 0)}, 200, 256},
      {{At(-32000, 0), At(0, 32000), At(32000, 0)}, 200, 256},
  };
  for (const Case& c : cases) {
    const int n = static_cast<int>(Flatten(c.curve).size());
    EXPECT_GE(n, c.least);
    EXPECT_LE(n, c.most);
  }
}

TEST(Flatten, NeverExceedsTheReserve) {
  Random random(6);
  const auto any = [&] { return KFixed::FromRaw(static_cast<std::int32_t>(random.Word())); };
  for (int i = 0; i < 3000; ++i) {
    std::vector<KVertex2D> c(3 + random.Below(2));
    for (KVertex2D& p : c) p = {any(), any()};
    ASSERT_LE(Flatten(c).size(), 256u);
  }
}

TEST(Flatten, StridesApart) {
  KVertex2D out[3 * 64];
  std::fill(std::begin(out), std::end(out), At(-1, -1));
  const int n = KStroker::GetBezierPts(out, At(0, 0), At(0, 30), At(60, 30), At(60, 0), 3);
  const auto plain = Flatten({At(0, 0), At(0, 30), At(60, 30), At(60, 0)});
  ASSERT_EQ(n, static_cast<int>(plain.size()));
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(out[3 * i], plain[static_cast<std::size_t>(i)]);
    EXPECT_EQ(out[3 * i + 1], At(-1, -1));
  }
}

TEST(Flatten, RingsOfPaths) {
  KStroker stroker;
  KSoftMatrix3D identity, scaled;
  scaled.Scale(At(4, 4));
  KVertex2D** rings = nullptr;
  KSoftPath path;
  EXPECT_EQ(stroker.FlattenPath(rings, &path, &identity, true), 0u);
  EXPECT_EQ(rings, nullptr);

  path.MoveTo(At(1.5, 2.25));
  path.LineTo(At(10.125, 2));
  path.LineTo(At(10, 20));
  path.MoveTo(At(0, 0));
  path.QuadTo(At(5, 10), At(10, 0));
  path.Close();
  for (const bool onStack : {true, false}) {
    ASSERT_EQ(stroker.FlattenPath(rings, &path, &identity, onStack), 2u);
    ASSERT_EQ(ring::Count(rings[0]), 3u);
    EXPECT_EQ(rings[0][1], At(1.5, 2.25));
    EXPECT_EQ(rings[0][3], At(10, 20));
    EXPECT_EQ(ring::Next(rings[0] + 3), rings[0] + 1);
    EXPECT_EQ(ring::Prev(rings[0] + 1), rings[0] + 3);
    const unsigned coarse = ring::Count(rings[1]);
    stroker.FreeRings(rings, 2, onStack);
    // The tolerance is in pixels, whatever the matrix.
    ASSERT_EQ(stroker.FlattenPath(rings, &path, &scaled, onStack), 2u);
    EXPECT_GT(ring::Count(rings[1]), coarse);
    EXPECT_EQ(rings[0][1], At(6, 9));
    stroker.FreeRings(rings, 2, onStack);
  }
  EXPECT_EQ(stroker.stack->used, 0u);
}

}  // namespace
