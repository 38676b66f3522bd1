// KSoftPath: records, copies, transforms.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/geometry/KSoftPath.h"

#include "tests/common/Allocations.h"

namespace {

constexpr KVertex2D At(double x, double y) {
  return {KFixed::FromRaw(static_cast<std::int32_t>(x * 65536)),
          KFixed::FromRaw(static_cast<std::int32_t>(y * 65536))};
}

std::vector<std::uint32_t> Headers(const KSoftPath& path) {
  std::vector<std::uint32_t> headers;
  for (const KSegment* s = path.first; s; s = s->next) headers.push_back(s->header);
  return headers;
}

std::vector<KVertex2D> Points(const KSoftPath& path) {
  std::vector<KVertex2D> points;
  for (const KSegment* s = path.first; s; s = s->next)
    points.insert(points.end(), s->Start(), s->Start() + s->PointCount());
  return points;
}

// Bit 0 opens, bit 1 closed, bits 2-3 order, from bit 4 pieces.
TEST(Path, Records) {
  KSoftPath path;
  path.Close();
  path.MoveTo(At(9, 9));
  path.MoveTo(At(1, 2));
  EXPECT_EQ(path.first, nullptr);
  EXPECT_TRUE(path.LineTo(At(3, 4)));
  EXPECT_TRUE(path.LineTo(At(5, 6)));
  EXPECT_TRUE(path.QuadTo(At(7, 7), At(8, 8)));
  path.Close();
  const KVertex2D six[] = {At(1, 0), At(2, 0), At(3, 0), At(4, 0), At(5, 0), At(6, 0)};
  EXPECT_TRUE(path.BezierTo(3, six, 2));
  path.MoveTo(At(0, 0));
  EXPECT_TRUE(path.CubicTo(At(1, 1), At(2, 2), At(3, 3)));

  EXPECT_EQ(Headers(path),
            (std::vector<std::uint32_t>{0x17, 0x14, 0x18, 0x2C, 0x1D}));  // 0x17: opens, closed
  EXPECT_EQ(Points(path),
            (std::vector<KVertex2D>{At(1, 2), At(3, 4), At(5, 6), At(7, 7), At(8, 8), At(1, 0),
                                    At(2, 0), At(3, 0), At(4, 0), At(5, 0), At(6, 0), At(0, 0),
                                    At(1, 1), At(2, 2), At(3, 3)}));
  EXPECT_EQ(path.subpathCount, 2u);
  EXPECT_EQ(path.current, At(3, 3));
  path.Reset();
  EXPECT_EQ(path.first, nullptr);
  EXPECT_EQ(path.last, nullptr);
  EXPECT_EQ(path.subpathStart, nullptr);
  EXPECT_EQ(path.subpathCount, 0u);
  EXPECT_EQ(path.newSubpath, 1);
  EXPECT_EQ(path.current, At(3, 3));
}

TEST(Path, RefusesWhatIsNoPiece) {
  const KVertex2D points[4] = {At(1, 1), At(2, 2), At(3, 3), At(4, 4)};
  struct Case {
    unsigned order, count;
  };
  for (const Case c : {Case{1, 0}, Case{0, 1}, Case{4, 1}, Case{3, UINT32_MAX}}) {
    KSoftPath path;
    EXPECT_FALSE(path.BezierTo(c.order, points, c.count));
    EXPECT_EQ(path.first, nullptr);
    EXPECT_EQ(path.current, KVertex2D::Origin);
    EXPECT_EQ(path.newSubpath, 1);
  }
}

TEST(Path, CopiesCloseTheirFirstSubpath) {
  KSoftPath path;
  path.LineTo(At(1, 1));
  path.MoveTo(At(5, 5));
  path.LineTo(At(6, 6));
  KSoftPath copy = path;
  EXPECT_EQ(Points(copy), Points(path));
  EXPECT_EQ(copy.subpathCount, 2u);
  EXPECT_EQ(copy.current, path.current);
  copy.Close();
  EXPECT_EQ(Headers(copy), (std::vector<std::uint32_t>{0x17, 0x15}));
  path.Close();
  EXPECT_EQ(Headers(path), (std::vector<std::uint32_t>{0x15, 0x17}));

  KSoftPath empty;
  empty.MoveTo(At(7, 8));
  copy = empty;
  EXPECT_EQ(copy.first, nullptr);
  EXPECT_EQ(copy.current, At(7, 8));
  KSoftPath& self = path;
  path = self;
  EXPECT_EQ(Points(path).size(), 4u);
}

TEST(Path, TransformKeepsWithin8000) {
  KSoftMatrix3D identity, shift, twice;
  shift.Translate(At(1, 0));
  twice.Scale(At(2, 2));
  const double kUnit = 1 / 65536.0;
  struct Case {
    KVertex2D point;
    const KSoftMatrix3D* matrix;
    bool fits;
  };
  const Case cases[] = {
      {At(8000, -8000), &identity, true},       {At(8000 + kUnit, 0), &identity, false},
      {At(0, -8000 - kUnit), &identity, false}, {At(7999, 0), &shift, true},
      {At(7999 + kUnit, 0), &shift, false},     {At(4000, 4000), &twice, true},
      {At(4000, 4000 + kUnit), &twice, false}};
  for (const Case& c : cases) {
    KSoftPath path, out;
    path.LineTo(c.point);
    path.LineTo(At(1, 1));
    out.LineTo(At(2, 2));
    EXPECT_EQ(path.Transform(&out, c.matrix), c.fits);
    EXPECT_EQ(out.first != nullptr, c.fits);
    if (!c.fits) continue;
    EXPECT_EQ(out.subpathCount, 2u);
    EXPECT_EQ(out.current, At(1, 1));  // unmapped
    EXPECT_EQ(Points(out)[3], c.matrix->Map(c.point));
  }
  KSoftPath empty, out;
  out.LineTo(At(1, 1));
  EXPECT_TRUE(empty.Transform(&out, &twice));
  EXPECT_EQ(out.subpathCount, 1u);
}

TEST(Path, SurvivesEveryAllocationFailure) {
  KSoftPath source;
  for (int i = 0; i < 4; ++i) {
    source.MoveTo(At(i, 0));
    source.LineTo(At(i, 9));
  }
  for (int failing = 1; failing <= 4; ++failing) {
    KSoftPath built, copy, out;
    {
      Allocations allocations(failing);
      for (int i = 0; i < 4; ++i) EXPECT_EQ(built.LineTo(At(i, i)), i + 1 != failing);
    }
    EXPECT_EQ(Headers(built).size(), 3u);
    EXPECT_EQ(built.first->header & 1, 1u);
    {
      Allocations allocations(failing);
      copy = source;
    }
    EXPECT_EQ(copy.first, nullptr);
    KSoftMatrix3D m;
    {
      Allocations allocations(failing);
      EXPECT_FALSE(source.Transform(&out, &m));
    }
    EXPECT_EQ(Headers(out).size(), static_cast<std::size_t>(failing) - 1);
  }
}

// Paths of any sizes, built in turns: in the end nothing is taken from the heap.
TEST(Path, RewoundPathsKeepTheirMemory) {
  const std::vector<KVertex2D> points(20000, At(1, 2));
  const unsigned sizes[][4] = {{1, 1, 1, 1}, {1, 300, 1, 9000}, {20000, 1, 20000, 5}, {7, 0, 0, 0}};
  KSoftPath path;
  int taken = 0;
  for (int round = 0; round < 8; ++round) {
    taken = 0;
    for (const auto& counts : sizes) {
      path.Rewind();
      std::size_t expected = 1;
      {
        Allocations allocations;
        for (const unsigned count : counts) {
          EXPECT_EQ(path.BezierTo(1, points.data(), count), count > 0);
          expected += count;
        }
        taken += allocations.Count();
      }
      EXPECT_EQ(Points(path).size(), expected);
    }
  }
  EXPECT_EQ(taken, 0);
}

}  // namespace
