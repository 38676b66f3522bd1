// DashPattern: where a phase lies in the pattern, and how often a subpath is cut.
#include "kalvora/geometry/strokes/DashPattern.h"

#include <algorithm>

#include "kalvora/core/division.h"
#include "kalvora/geometry/strokes/bezier.h"

using namespace kalvora;

namespace {

constexpr int kExtraBits = Bezier<3>::kExtraBits;

}  // namespace

// On and off alternate by themselves: an odd number of lengths changes roles with every round.
void KDash::Advance() {
  on = !on;
  hidden = false;
  index = index + 1 < count ? index + 1 : 0;
  left = std::int64_t{lengths[index].raw} << kExtraBits;
}

bool KDash::PassBoundary(const KDashWay& way) {
  if (Draws() || held || round == 0) return false;
  KDash next = *this;
  next.Advance();
  // A dash that leaves its way may come into sight on the next one.
  next.hidden = next.on && next.left < way.length - way.done &&
                way.seen.Misses(way.done, way.done + next.left);
  if (next.Draws()) return false;
  *this = next;
  return true;
}

DashPattern::DashPattern(const KFixed* lengths, std::uint32_t count, std::uint32_t phase) {
  if (!lengths || count == 0) return;
  std::int64_t sums[2] = {0, 0};
  bool zeros[2] = {false, false};
  for (std::uint32_t i = 0; i < count; ++i) {
    if (lengths[i] < kZero) return;
    sums[i & 1] += lengths[i].raw;
    if (lengths[i] == kZero) zeros[i & 1] = true;
    longest_ = std::max(longest_, lengths[i]);
  }
  const std::int64_t total = sums[0] + sums[1];
  const bool odd = count & 1;
  if (total == 0 || (!odd && sums[1] == 0)) return;

  const std::int64_t cycle = odd ? 2 * total : total;
  std::int64_t ahead = static_cast<std::int32_t>(phase) % cycle;
  if (ahead < 0) ahead += cycle;
  start_.lengths = lengths;
  start_.count = count;
  round_ = cycle << kExtraBits;
  boundariesOfRound_ = odd ? 2 * std::uint64_t{count} : count;
  const bool gapless = zeros[1] || (odd && zeros[0]);
  start_.round = gapless ? 0 : round_;
  while (ahead > 0 && ahead >= lengths[start_.index].raw) {
    ahead -= lengths[start_.index].raw;
    start_.Advance();
  }
  start_.left = (lengths[start_.index].raw - ahead) << kExtraBits;
}

std::uint32_t DashPattern::Boundaries(const Subpath& subpath) const {
  KDash dash = start_;
  std::uint64_t boundaries = 0;
  const auto walk = [&](KVertex2D from, KVertex2D to) {
    // A little more than the length, so that roundings on the way never make it one too few.
    std::int64_t length = LengthOf(Between(from, to)) + 1;
    length = (length << kExtraBits) + length;
    if (length > round_) {
      const std::int64_t rounds = Quotient(length, round_);
      boundaries += static_cast<std::uint64_t>(rounds) * boundariesOfRound_;
      length -= rounds * round_;
    }
    while (dash.left < length && boundaries <= kMostBoundaries) {
      length -= dash.left;
      dash.Advance();
      ++boundaries;
    }
    dash.left -= length;
  };
  KVertex2D at = subpath.start;
  subpath.ForEach([&](unsigned order, const KVertex2D* points, unsigned pieces) {
    // A curve is no longer than its control polygon.
    for (std::uint64_t i = 0; i < std::uint64_t{pieces} * order; ++i) {
      if (boundaries > kMostBoundaries) return;
      walk(at, points[i]);
      at = points[i];
    }
  });
  if (subpath.closed && boundaries <= kMostBoundaries) walk(at, subpath.start);
  return static_cast<std::uint32_t>(std::min(boundaries, std::uint64_t{kMostBoundaries} + 1));
}
