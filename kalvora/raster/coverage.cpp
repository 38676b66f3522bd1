// Exact-area coverage of one row, or part of a row, between a left and a right edge.
#include <algorithm>
#include <cstdint>

#include "kalvora/core/KFixed.h"
#include "kalvora/raster/KRowStyle.h"

namespace {

using kalvora::Floor;
using kalvora::Fraction;

constexpr std::int32_t kFull = 0x10000;
// Interiors of at most this many pixels are not worth a fill of their own.
constexpr std::int32_t kShortRun = 2;
// Steps lower than this fraction of a row are not drawn.
constexpr std::int32_t kLowestStep = 16;

std::int32_t Mul(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>((std::int64_t{a} * b) >> 16);
}

struct Edge {
  std::int32_t x0, x1, slope;  // x0 <= x1
};

/// The area to the right of one edge, pixel by pixel from left to right, in a step of the given
/// height.
///
/// With the edge between x = e0 and e1 (e0 <= e1) and s the height it gains per pixel:
///   in one pixel           (1 - frac((e0 + e1) / 2)) h
///   entering, f = 1 - frac(e0)   f s f / 2, leaving the pixel at height H = f s
///   between                H + s / 2, then H += s
///   leaving                h - frac(e1) (h - H) / 2
/// H is held to [0, h], so that a slope which does not fit its edge cannot leave the row.
class EdgeArea {
 public:
  EdgeArea(const Edge& e, std::int32_t height)
      : first(e.x0 >> 16), last(e.x1 >> 16), edge_(e), height_(height) {}

  /// Passes the areas of the pixels [x, stop), which the edge goes through, to put(x, area).
  template <typename Put>
  void Each(std::int32_t x, std::int32_t stop, Put put) {
    if (x >= stop) return;
    if (first == last) return put(x, InOne());
    if (x == first) {
      put(x++, Entering());
    } else {
      Begin(x);
    }
    for (const std::int32_t inner = std::min(stop, last); x < inner; ++x) put(x, Between());
    if (x < stop) put(x, Leaving());
  }

  /// Moves to pixel p, whose left border the edge may already have crossed.
  void Begin(std::int32_t p) {
    if (p <= first) return;
    const std::int64_t h = Mul(Entry(), edge_.slope) + std::int64_t{edge_.slope} * (p - first - 1);
    h_ = static_cast<std::int32_t>(std::clamp<std::int64_t>(h, 0, height_));
  }

  /// Area in pixel p; call it for consecutive pixels within [first, last].
  std::int32_t Next(std::int32_t p) {
    if (first == last) return InOne();
    if (p == first) return Entering();
    return p == last ? Leaving() : Between();
  }

  const std::int32_t first;
  const std::int32_t last;

 private:
  std::int32_t InOne() const {
    const auto sum = static_cast<std::uint32_t>(edge_.x0) + static_cast<std::uint32_t>(edge_.x1);
    return Mul(kFull - static_cast<std::int32_t>((sum >> 1) & 0xFFFF), height_);
  }
  std::int32_t Entering() {
    h_ = std::clamp(Mul(Entry(), edge_.slope), 0, height_);
    return Mul(h_, Entry()) >> 1;
  }
  std::int32_t Between() {
    // Beyond two rows a pixel a slope gives no more than there.
    const std::int32_t slope = std::clamp(edge_.slope, -2 * kFull, 2 * kFull);
    const std::int32_t area = std::clamp(h_ + (slope >> 1), 0, height_);
    h_ = std::clamp(h_ + slope, 0, height_);
    return area;
  }
  std::int32_t Leaving() const { return height_ - (Mul(edge_.x1 & 0xFFFF, height_ - h_) >> 1); }

  std::int32_t Entry() const { return kFull - (edge_.x0 & 0xFFFF); }

  Edge edge_;
  std::int32_t height_;
  std::int32_t h_ = 0;  // height reached at the left border of the next pixel
};

// A full row: either order of the ends is taken as it comes.
Edge OrderFull(KFixed xa, KFixed xb, KFixed slope) {
  if (xa <= xb) return {xa.raw, xb.raw, slope.raw};
  return {xb.raw, xa.raw, (-slope).raw};
}

// A partial row: a slope whose sign disagrees with the ends makes the edge vertical at their
// middle.
inline Edge OrderPartial(KFixed xa, KFixed xb, KFixed slope) {
  const bool down = slope.raw < 0;
  const bool back = xa > xb;
  if (down == back)
    return back ? Edge{xb.raw, xa.raw, (-slope).raw} : Edge{xa.raw, xb.raw, slope.raw};
  const auto middle = static_cast<std::int32_t>((std::int64_t{xa.raw} + xb.raw) >> 1);
  return {middle, middle, 0};
}

struct Store {
  std::int32_t* line;
  void operator()(std::int32_t x, std::int32_t area) const { line[x] = area; }
};

struct Add {
  std::int32_t* line;
  void operator()(std::int32_t x, std::int32_t area) const { line[x] += area; }
};

void AddRun(std::int32_t* line, std::int32_t x0, std::int32_t x1, std::int32_t height) {
  for (std::int32_t x = x0; x < x1; ++x) line[x] += height;
}

struct Run {
  std::int32_t x0, x1;
  bool visible;  // false: the span lies outside the clip and the row is untouched

  bool IsLong() const { return x1 - x0 > kShortRun; }
};

// The pixels [x, end) from the first of the right edge on, into which the left edge reaches.
template <typename Put>
void CoverShared(Put put, EdgeArea& left, EdgeArea& right, std::int32_t x, std::int32_t end,
                 std::int32_t height) {
  const std::int32_t leftEnd = std::min(left.last + 1, end);
  left.Begin(x);
  right.Begin(x);
  for (; x < leftEnd; ++x) put(x, std::max(left.Next(x) - right.Next(x), 0));
  for (; x < end; ++x) put(x, height - right.Next(x));
}

/// Writes the coverage of the pixels that an edge passes through, widens the style context's span,
/// and returns the run between the edges, empty when there is none.
template <typename Put>
Run Cover(KRowStyle* style, const Edge& l, const Edge& r, std::int32_t height) {
  const Put put{style->lineBuffer};
  EdgeArea left(l, height);
  EdgeArea right(r, height);
  const std::int32_t start = std::max<std::int32_t>(style->clip.x0, left.first);
  const std::int32_t end = std::min<std::int32_t>(right.last + 1, style->clip.x1);
  if (start >= end || left.first >= style->clip.x1 || right.last < style->clip.x0) {
    return {0, 0, false};
  }
  style->x0 = std::min(style->x0, start);
  style->x1 = std::max(style->x1, end);

  const std::int32_t rightStart = std::clamp(right.first, start, end);
  const std::int32_t leftEnd = std::min(left.last + 1, rightStart);
  left.Each(start, leftEnd, put);
  if (left.last < rightStart) {
    right.Each(rightStart, end, [=](std::int32_t x, std::int32_t area) { put(x, height - area); });
  } else {
    CoverShared(put, left, right, rightStart, end, height);
  }
  return {std::max(start, leftEnd), rightStart, true};
}

}  // namespace

void KRowStyle::ComputeAA(KFixed xa, KFixed xb, KFixed sl, KFixed xc, KFixed xd, KFixed sr) {
  const Run run = Cover<Store>(this, OrderFull(xa, xb, sl), OrderFull(xc, xd, sr), kFull);
  if (!run.visible) return;
  if (run.IsLong()) {
    solidX0 = std::max(solidX0, run.x0);
    solidX1 = std::min(solidX1, run.x1);
    solidHeight = kFull;
  } else {
    for (std::int32_t x = run.x0; x < run.x1; ++x) lineBuffer[x] = kFull;
    solidX1 = kNoSolid;
  }
}

void KRowStyle::ComputeAA(KFixed xa, KFixed xb, KFixed sl, KFixed xc, KFixed xd, KFixed sr,
                          KFixed h) {
  if (h.raw < kLowestStep) return;
  if (xb == xd && xa > xc) {
    std::swap(xa, xc);
    std::swap(sl, sr);
  }
  const Run run = Cover<Add>(this, OrderPartial(xa, xb, sl), OrderPartial(xc, xd, sr), h.raw);
  if (!run.visible) return;
  if (run.IsLong()) {
    JoinSolidRun(run.x0, run.x1, h.raw);
  } else {
    AddRun(lineBuffer, run.x0, run.x1, h.raw);
    SettleSolidRun();
  }
}

// The run of a row that is built from steps is what the runs of all its steps share. What a step
// has beyond the shared run, and what the shared run loses by the step, moves into lineBuffer.
void KRowStyle::JoinSolidRun(std::int32_t from, std::int32_t to, std::int32_t height) {
  if (solidX1 == kNoSolid) {
    AddRun(lineBuffer, from, to, height);
    return;
  }
  if (solidHeight == 0) {
    solidX0 = from;
    solidX1 = to;
    solidHeight = height;
    return;
  }
  const std::int32_t shared0 = std::max(solidX0, from);
  const std::int32_t shared1 = std::min(solidX1, to);
  if (shared1 - shared0 <= kShortRun) {
    SettleSolidRun();
    AddRun(lineBuffer, from, to, height);
    return;
  }
  AddRun(lineBuffer, solidX0, shared0, solidHeight);
  AddRun(lineBuffer, shared1, solidX1, solidHeight);
  AddRun(lineBuffer, from, shared0, height);
  AddRun(lineBuffer, shared1, to, height);
  solidX0 = shared0;
  solidX1 = shared1;
  solidHeight += height;
}

void KRowStyle::SettleSolidRun() {
  if (solidX1 != kNoSolid && solidHeight != 0) AddRun(lineBuffer, solidX0, solidX1, solidHeight);
  solidX1 = kNoSolid;
}
