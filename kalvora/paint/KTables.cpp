// The constant tables, computed by the compiler in integers.
#include "kalvora/paint/KTables.h"

#include "kalvora/core/circle.h"

namespace {

constexpr int kSegments = 32;

/// Twice the Catmull-Rom weights as cubics c3 t^3 + c2 t^2 + c1 t + c0. At t = u / 32 a weight is
/// (c3 u^3 + 32 c2 u^2 + 32^2 c1 u + 32^3 c0) / 65536: a whole number of 16.16 units.
struct Cubic {
  std::int64_t c3, c2, c1, c0;

  constexpr std::int64_t At(std::int64_t u) const {
    return ((c3 * u + 32 * c2) * u + 1024 * c1) * u + 32768 * c0;
  }
};
constexpr Cubic kWeights[4] = {{-1, 2, -1, 0}, {3, -5, 0, 2}, {-3, 4, 1, 0}, {1, -1, 0, 0}};

/// Points at which a segment's deviation from its chord is looked at: enough for every intercept to
/// come out as with the true maximum.
constexpr std::int64_t kSteps = 64;
constexpr std::int64_t kDeviationScale = kSteps * kSteps * kSteps;

/// The largest deviation of a weight from its chord on segment k, in 1 / kDeviationScale of a unit.
/// With s = 0..1 along the segment the deviation is s (s - 1) (c3 s + m), m = c3 (3 k + 1) + 32 c2.
constexpr std::int64_t LargestDeviation(const Cubic& w, int k) {
  const std::int64_t m = w.c3 * (3 * k + 1) + 32 * w.c2;
  std::int64_t largest = 0;
  for (std::int64_t i = 1; i < kSteps; ++i) {
    const std::int64_t deviation = i * (i - kSteps) * (w.c3 * i + m * kSteps);
    const std::int64_t size = deviation < 0 ? -deviation : deviation;
    if (size > (largest < 0 ? -largest : largest)) largest = deviation;
  }
  return largest;
}

/// Four lines of equal error for segment k: the chord, moved by half the largest deviation.
/// Intercepts are truncated; where that leaves their sum one above 65536, the one that truncation
/// raised most is lowered.
constexpr void FitSegment(std::array<std::int32_t, 256>& table, int k) {
  constexpr std::int64_t unit = 2 * kDeviationScale;
  std::int64_t sum = 0;
  std::int64_t worst = 0;
  int raised = 0;
  for (int j = 0; j < 4; ++j) {
    const Cubic& w = kWeights[j];
    const std::int64_t rise = w.At(k + 1) - w.At(k);
    const std::int64_t exact = (w.At(k) - rise * k) * unit + LargestDeviation(w, k);
    const std::int64_t intercept = exact / unit;
    const std::int64_t error = intercept * unit - exact;
    if (error > worst) {
      worst = error;
      raised = j;
    }
    sum += intercept;
    table[8 * k + 2 * j] = static_cast<std::int32_t>(rise * kSegments);
    table[8 * k + 2 * j + 1] = static_cast<std::int32_t>(intercept);
  }
  if (sum == 65537) --table[8 * k + 2 * raised + 1];
}

constexpr std::array<std::int32_t, 256> MakeBicubic() {
  std::array<std::int32_t, 256> table{};
  for (int k = 0; k < kSegments; ++k) FitSegment(table, k);
  return table;
}

constexpr std::int32_t kUnit = kalvora::kOne.raw;
constexpr std::int32_t kKappa = kalvora::kQuarterControl;

}  // namespace

constinit const std::array<std::int32_t, 256> KTables::KBicubic = MakeBicubic();

// clang-format off
constinit const std::array<std::int32_t, 32> KTables::KCircle = {
    kUnit,  0,  kUnit,   kKappa,  kKappa,  kUnit,  0,       kUnit,
    0,  kUnit,  -kKappa, kUnit,  -kUnit,   kKappa, -kUnit,  0,
    -kUnit, 0,  -kUnit, -kKappa, -kKappa, -kUnit,  0,      -kUnit,
    0, -kUnit,  kKappa, -kUnit,   kUnit,  -kKappa, kUnit,   0,
};
// clang-format on
