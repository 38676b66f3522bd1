// Strokes of random paths against the union of plane figures that they ought to be.
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

/// A stroke to be judged: the path as the library takes it, and its ideal.
struct Case {
  KSoftPath path;
  std::vector<Polyline> lines;
  KSoftMatrix3D matrix;
  StrokeStyle style{};
  std::vector<KFixed> dashes;
  KFixed phase{};
};

class Generator {
 public:
  explicit Generator(std::uint64_t seed) : random(seed) {}

  Random random;

  KFixed Fixed(double low, double high) {
    return KFixed::FromRaw(random.Between(static_cast<std::int32_t>(low * 65536),
                                          static_cast<std::int32_t>(high * 65536)));
  }
  double Real(double low, double high) { return Fixed(low, high).raw / 65536.0; }

  /// In a box of this size about the last point: wide pens meet short lines.
  KVertex2D Next(KVertex2D last, double size) {
    if (random.OneIn(12)) return last;
    KVertex2D p = last + KVertex2D{Fixed(-size, size), Fixed(-size, size)};
    if (random.OneIn(6)) p.x = last.x;
    if (random.OneIn(6)) p.y = last.y;
    return p;
  }

  void AddSubpath(Case& c, bool curves, bool dashed) {
    const double size = std::exp2(Real(curves && dashed ? 3 : -1, 6));
    KVertex2D at{Fixed(-60, 60), Fixed(-60, 60)};
    c.path.MoveTo(at);
    Polyline line;
    line.Add(ToPt(at), false);
    const unsigned pieces = 1 + random.Below(curves ? 3 : 7);
    for (unsigned i = 0; i < pieces; ++i) {
      const unsigned order = curves ? 1 + random.Below(3) : 1;
      std::vector<Pt> control{ToPt(at)};
      KVertex2D p[3];
      for (unsigned n = 0; n < order; ++n) {
        p[n] = Next(n ? p[n - 1] : at, size);
        control.push_back(ToPt(p[n]));
      }
      // Hairpins: the last control point, or the end, beyond the others on one line.
      if (order == 3 && random.OneIn(8)) {
        p[1] = p[2] = at + (p[0] - at) + (p[0] - at);
        control[2] = control[3] = ToPt(p[1]);
      }
      c.path.BezierTo(order, p, 1);
      if (order == 1) {
        line.Add(control[1], false);
      } else {
        AddCurve(line, control, 160);
      }
      at = p[order - 1];
    }
    if (random.OneIn(3)) {
      c.path.Close();
      line.closed = true;
    }
    c.lines.push_back(line);
  }

  KSoftMatrix3D Matrix(double largest) {
    KSoftMatrix3D m;
    switch (random.Below(5)) {
      case 0:
        return m;
      case 1:
        m.Translate({Fixed(-50, 50), Fixed(-50, 50)});
        return m;
      case 2:
        m.Rotate(Fixed(1, 359));
        break;
      default:
        m.Skew({Fixed(0, 50), Fixed(0, 30)});
        m.Rotate(Fixed(1, 359));
        break;
    }
    const double scale = std::exp2(Real(-2, largest));
    m.Scale({ToFixed(scale * Real(0.5, 2) * (random.OneIn(3) ? -1 : 1)), ToFixed(scale)});
    m.Translate({Fixed(-50, 50), Fixed(-50, 50)});
    return m;
  }

  Case Make(bool curves, bool dashed) {
    Case c;
    for (unsigned n = 1 + random.Below(2); n > 0; --n) AddSubpath(c, curves, dashed);
    // The ideal's curves are straight lines: the ends of their dashes are not good enough for wide
    // pens on tiny curves.
    const bool modest = curves && dashed;
    c.matrix = Matrix(modest ? 0 : 2);
    c.style = {std::exp2(Real(-1.5, modest ? 3 : 4.5)), random.Below(3), random.Below(3),
               random.Below(3), Real(1, 10)};
    if (!dashed) return c;
    for (unsigned n = 1 + random.Below(4); n > 0; --n)
      c.dashes.push_back(random.OneIn(6) ? KFixed::FromRaw(0) : Fixed(0.3, 20));
    c.dashes.push_back(Fixed(0.5, 20));
    c.phase = random.OneIn(3) ? KFixed::FromRaw(0) : Fixed(-50, 50);
    return c;
  }
};

void Apply(const Case& c, KStroker& stroker) {
  stroker.SetLineWidth(ToFixed(2 * c.style.h));
  stroker.SetCaps(c.style.startCap, c.style.endCap);
  stroker.SetJoin(c.style.join);
  stroker.SetMiterLimit(ToFixed(c.style.limit));
  ASSERT_TRUE(stroker.SetDashes(c.dashes.data(), static_cast<unsigned>(c.dashes.size()), c.phase));
}

IdealStroke IdealOf(const Case& c) {
  IdealStroke ideal(c.style);
  std::vector<double> lengths;
  double gaps = 0;
  for (std::size_t i = 0; i < c.dashes.size(); ++i) {
    lengths.push_back(c.dashes[i].raw / 65536.0);
    if (i % 2 || c.dashes.size() % 2) gaps += lengths[i];
  }
  for (const Polyline& line : c.lines) {
    if (gaps == 0) {
      ideal.Add(line);
    } else if (line.corners.size() < 2) {
      ideal.ambiguous = true;
    } else {
      const double phase = c.phase.raw / 65536.0;
      for (const Polyline& dash : CutIntoDashes(line, lengths, phase, ideal.ambiguous)) {
        ideal.Add(dash);
      }
    }
  }
  return ideal;
}

/// The ideal as seen on the device: a point is judged together with points around it.
class Judge {
 public:
  Judge(const IdealStroke& ideal, const KSoftMatrix3D& m) : ideal_(ideal) {
    a_ = m.m0.raw / 65536.0, b_ = m.m1.raw / 65536.0;
    c_ = m.m3.raw / 65536.0, d_ = m.m4.raw / 65536.0;
    e_ = m.m6.raw / 65536.0, f_ = m.m7.raw / 65536.0;
    determinant_ = a_ * d_ - b_ * c_;
  }

  Pt ToDevice(Pt p) const { return {p.x * a_ + p.y * c_ + e_, p.x * b_ + p.y * d_ + f_}; }

  /// Whether the stroke comes as near as this to a point.
  bool Reaches(Pt device, double distance) const {
    const IdealStroke::Figures near = Near(device, distance);
    for (const double r : {0.0, 0.4, 0.1, 0.02, 0.7, 1.0}) {
      for (int i = 0; i < 72; ++i) {
        const double angle = i * M_PI / 36;
        const Pt p = device + Pt{std::cos(angle), std::sin(angle)} * (r * distance);
        if (IdealStroke::Contains(near, ToUser(p), true)) return true;
      }
    }
    return false;
  }
  /// Whether everything about a point up to this distance is inside the stroke, or outside;
  /// undecided in between.
  enum Verdict { kInside, kOutside, kUndecided };
  Verdict Look(Pt device, double distance) const {
    const IdealStroke::Figures near = Near(device, distance);
    const bool inside = IdealStroke::Contains(near, ToUser(device), false);
    if (!inside && IdealStroke::Contains(near, ToUser(device), true)) return kUndecided;
    for (int i = 0; i < 12; ++i) {
      const double angle = i * M_PI / 6;
      const Pt p = device + Pt{std::cos(angle), std::sin(angle)} * distance;
      if (IdealStroke::Contains(near, ToUser(p), !inside) != inside) return kUndecided;
    }
    return inside ? kInside : kOutside;
  }

 private:
  Pt ToUser(Pt p) const {
    const double x = p.x - e_, y = p.y - f_;
    return {(x * d_ - y * c_) / determinant_, (y * a_ - x * b_) / determinant_};
  }

  IdealStroke::Figures Near(Pt device, double distance) const {
    const Pt at = ToUser(device);
    const double scale = distance / std::abs(determinant_);
    const Pt reach{(std::abs(c_) + std::abs(d_)) * scale, (std::abs(a_) + std::abs(b_)) * scale};
    return ideal_.Near(at - reach, at + reach);
  }

  const IdealStroke& ideal_;
  double a_, b_, c_, d_, e_, f_, determinant_;
};

/// The outline may stand this far from the ideal one, in device pixels.
constexpr double kTolerance = 0.25;

struct Tally {
  int judged = 0, skipped = 0;
  std::size_t hidden = 0;
};

void Check(const Case& c, Random& random, Tally& tally) {
  const IdealStroke ideal = IdealOf(c);
  if (ideal.ambiguous) {
    ++tally.skipped;
    return;
  }
  KStroker stroker;
  Apply(c, stroker);
  const Outline outline = Outline::Of(stroker, c.path, c.matrix);
  ASSERT_EQ(stroker.stack->used, 0u);
  const Judge judge(ideal, c.matrix);
  std::vector<Pt> anchors = outline.Vertices();
  // No spikes: every vertex lies on the ideal stroke, or nearly.
  for (const Pt v : anchors) {
    ASSERT_TRUE(judge.Reaches(v, kTolerance)) << "spike at " << v.x << ' ' << v.y;
  }
  // No holes, and nothing beside the stroke, about the vertices and along the path.
  for (const Polyline& line : c.lines) {
    for (const Polyline::Corner& corner : line.corners)
      anchors.push_back(judge.ToDevice(corner.at));
  }
  for (int i = 0; i < 40; ++i) {
    const Pt near = anchors[random.Below(static_cast<std::uint32_t>(anchors.size()))];
    const double reach = random.OneIn(2) ? 3 : 40;
    const Pt p = near + Pt{(random.Below(2001) / 1000.0 - 1) * reach,
                           (random.Below(2001) / 1000.0 - 1) * reach};
    const Judge::Verdict verdict = judge.Look(p, kTolerance);
    if (verdict == Judge::kUndecided) continue;
    ++tally.judged;
    ASSERT_EQ(outline.Winding(p) != 0, verdict == Judge::kInside) << "at " << p.x << ' ' << p.y;
  }
}

/// With a clip, nothing is missing within it.
void CheckClipped(const Case& c, Random& random, Tally& tally) {
  KStroker stroker;
  Apply(c, stroker);
  const Outline whole = Outline::Of(stroker, c.path, c.matrix);
  const auto edge = [&] { return static_cast<std::int16_t>(random.Between(-150, 150)); };
  const std::int16_t x = edge(), y = edge();
  const KRect clip = {x, y, static_cast<std::int16_t>(x + 20), static_cast<std::int16_t>(y + 20)};
  const Outline seen = Outline::Of(stroker, c.path, c.matrix, true, &clip);
  for (int i = 0; i < 20; ++i) {
    const Pt p{x + random.Below(20001) / 1000.0, y + random.Below(20001) / 1000.0};
    ASSERT_EQ(seen.Winding(p), whole.Winding(p)) << "at " << p.x << ' ' << p.y;
  }
  tally.hidden += whole.rings.size() - seen.rings.size();
}

// Dashes of 5 with gaps of 3 along lines that go far beyond the clip, and beyond the plane.
TEST(DashesBeyondTheClip, AreCountedNotBuilt) {
  const KRect clip = {0, 0, 200, 200};
  const double ends[][2] = {{-100, 7300}, {-7999, 8000}, {-29999.5, 30000}, {50, 32767}};
  for (const auto& [from, to] : ends) {
    for (const int scale : {1, 4}) {
      KStroker stroker;
      const KFixed dashes[] = {ToFixed(5), ToFixed(3)};
      stroker.SetDashes(dashes, 2, ToFixed(1.5));
      stroker.SetLineWidth(ToFixed(2));
      KSoftPath path;
      path.MoveTo({ToFixed(from), ToFixed(from)});
      path.LineTo({ToFixed(to), ToFixed(to)});
      KSoftMatrix3D m;
      m.Scale({KFixed::FromInt(scale), KFixed::FromInt(scale)});
      const Outline seen = Outline::Of(stroker, path, m, true, &clip);
      EXPECT_LT(seen.rings.size(), 60u);
      for (double at = std::max(from, 0.0); at * scale < 200; at += 0.17) {
        const double along = std::fmod((at - from) * std::sqrt(2.0) + 1.5, 8);
        if (std::min({along, std::abs(along - 5), 8 - along}) < 0.01) continue;
        EXPECT_EQ(seen.Winding({at * scale, at * scale}) != 0, along < 5) << from << ' ' << at;
      }
    }
  }
}

struct Kind {
  const char* name;
  bool curves, dashed;
  int cases;
};

class RandomStrokes : public testing::TestWithParam<Kind> {};

TEST_P(RandomStrokes, AreTheIdealOnes) {
  const Kind kind = GetParam();
  Tally tally;
  for (int i = 0; i < kind.cases; ++i) {
    Generator generator(static_cast<std::uint64_t>(i));
    const Case c = generator.Make(kind.curves, kind.dashed);
    ASSERT_NO_FATAL_FAILURE(CheckClipped(c, generator.random, tally)) << "case " << i;
    ASSERT_NO_FATAL_FAILURE(Check(c, generator.random, tally))
        << "case " << i << ": h " << c.style.h << " join " << c.style.join << " caps "
        << c.style.startCap << c.style.endCap << " limit " << c.style.limit;
  }
  EXPECT_LT(tally.skipped, kind.cases / 3);
  EXPECT_GT(tally.judged, kind.cases * 10);
  EXPECT_GT(tally.hidden, static_cast<std::size_t>(kind.cases));
}

INSTANTIATE_TEST_SUITE_P(Stroke, RandomStrokes,
                         testing::Values(Kind{"Polylines", false, false, 4000},
                                         Kind{"Curves", true, false, 1000},
                                         Kind{"DashedPolylines", false, true, 2000},
                                         Kind{"DashedCurves", true, true, 800}),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace
