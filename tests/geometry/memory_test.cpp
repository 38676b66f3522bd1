// Strokes and flattening when the n-th allocation fails, for every n: no rings, and nothing leaked.
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/raster/KStack.h"

#include "tests/common/Allocations.h"
#include "tests/geometry/IdealStroke.h"

namespace {

KVertex2D At(double x, double y) { return {ToFixed(x), ToFixed(y)}; }

/// Long enough for outlines to outgrow their first room several times.
void Build(KSoftPath& path) {
  for (int n = 0; n < 3; ++n) {
    path.MoveTo(At(10 * n, 0));
    path.CubicTo(At(500, 10 * n), At(-300, 400), At(200, 300));
    for (int i = 0; i < 60; ++i) path.LineTo(At(i % 7 * 20, i * 10 + n));
    path.QuadTo(At(20, 30), At(10 * n, 5));
    if (n != 1) path.Close();
  }
}

enum class What { Flatten, Solid, Dashed };

class AllocationFailure : public testing::TestWithParam<What> {};

TEST_P(AllocationFailure, LeavesNothing) {
  const KFixed dashes[] = {ToFixed(90), ToFixed(20), ToFixed(1), ToFixed(20)};
  KSoftPath path;
  Build(path);
  KSoftMatrix3D m;
  m.Rotate(ToFixed(30));
  for (const bool onStack : {true, false}) {
    int failures = 0;
    for (int failing = 1;; ++failing) {
      KStroker stroker;
      stroker.SetLineWidth(ToFixed(20));
      stroker.SetCaps(kRoundCap, kRoundCap);
      stroker.SetJoin(kRoundJoin);
      if (GetParam() == What::Dashed) stroker.SetDashes(dashes, 4, ToFixed(0));
      KVertex2D** rings = nullptr;
      unsigned count;
      bool failed;
      {
        Allocations allocations(failing);
        count = GetParam() == What::Flatten ? stroker.FlattenPath(rings, &path, &m, onStack)
                                            : stroker.StrokePath(&path, rings, &m, onStack);
        failed = allocations.Count() >= failing;
      }
      // A failure to give room back goes unnoticed.
      if (count == 0) {
        ++failures;
        EXPECT_TRUE(failed);
        EXPECT_EQ(rings, nullptr);
      }
      stroker.FreeStroke(rings, count, onStack);
      ASSERT_EQ(stroker.stack->used, 0u) << "allocation " << failing;
      if (!failed) break;
      ASSERT_LT(failing, 2000);
    }
    EXPECT_GE(failures, 2);
  }
}

INSTANTIATE_TEST_SUITE_P(Stroke, AllocationFailure,
                         testing::Values(What::Flatten, What::Solid, What::Dashed));

// The scratch stack is warm after the first stroke.
TEST(StrokeMemory, SecondStrokeAllocatesNothing) {
  KSoftPath path;
  Build(path);
  KSoftMatrix3D m;
  KStroker stroker;
  const KFixed dashes[] = {ToFixed(10), ToFixed(5)};
  for (const bool dashed : {false, true}) {
    stroker.SetDashes(dashes, dashed ? 2 : 0, ToFixed(0));
    for (int frame = 0; frame < 3; ++frame) {
      Allocations allocations;
      KVertex2D** rings = nullptr;
      const unsigned count = stroker.StrokePath(&path, rings, &m, true);
      stroker.FreeStroke(rings, count, true);
      stroker.stack->Collect();
      if (frame == 2) {
        EXPECT_EQ(allocations.Count(), 0);
      }
    }
  }
}

}  // namespace
