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
  EdgeArea(std::int32_t e0, std::int32_t e1, std::int32_t slope, std::int32_t height)
      : first(e0 >> 16),
        last(e1 >> 16),
        slope_(slope),
        height_(height),
        entry_(kFull - (e0 & 0xFFFF)),
        exit_(e1 & 0xFFFF) {
    const auto sum = static_cast<std::uint32_t>(e0) + static_cast<std::uint32_t>(e1);
    middle_ = kFull - static_cast<std::int32_t>((sum >> 1) & 0xFFFF);
  }

  /// Moves to pixel p, whose left border the edge may already have crossed.
  void Begin(std::int32_t p) {
    if (p <= first) return;
    h_ = Hold(Mul(entry_, slope_) + std::int64_t{slope_} * (p - first - 1));
  }

  /// Area in pixel p; call it for consecutive pixels within [first, last].
  std::int32_t Next(std::int32_t p) {
    if (first == last) return Mul(middle_, height_);
    if (p == first) {
      h_ = Hold(Mul(entry_, slope_));
      return Mul(h_, entry_) >> 1;
    }
    if (p == last) return height_ - (Mul(exit_, height_ - h_) >> 1);
    const std::int32_t area = Hold(std::int64_t{h_} + (slope_ >> 1));
    h_ = Hold(std::int64_t{h_} + slope_);
    return area;
  }

  const std::int32_t first;
  const std::int32_t last;

 private:
  std::int32_t Hold(std::int64_t h) const {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(h, 0, height_));
  }

  std::int32_t slope_;
  std::int32_t height_;
  std::int32_t entry_;   // 1 - frac(e0)
  std::int32_t exit_;    // frac(e1)
  std::int32_t middle_;  // 1 - frac of the middle
  std::int32_t h_ = 0;   // height reached at the left border of the next pixel
};

struct Edge {
  std::int32_t x0, x1, slope;
};

// A full row: either order of the ends is taken as it comes.
Edge OrderFull(KFixed xa, KFixed xb, KFixed slope) {
  if (xa <= xb) return {xa.raw, xb.raw, slope.raw};
  return {xb.raw, xa.raw, (-slope).raw};
}

// A partial row: a slope whose sign disagrees with the ends makes the edge vertical at their
// middle.
Edge OrderPartial(KFixed xa, KFixed xb, KFixed slope) {
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

/// Writes the coverage of the pixels that an edge passes through, widens the style context's span,
/// and returns the run between the edges, empty when there is none.
template <typename Put>
Run Cover(KRowStyle* style, const Edge& l, const Edge& r, std::int32_t height) {
  const Put put{style->lineBuffer};
  EdgeArea left(l.x0, l.x1, l.slope, height);
  EdgeArea right(r.x0, r.x1, r.slope, height);
  if (left.first >= style->clip.x1 || right.last < style->clip.x0) return {0, 0, false};
  const std::int32_t start = std::max<std::int32_t>(style->clip.x0, left.first);
  const std::int32_t end = std::min<std::int32_t>(right.last + 1, style->clip.x1);
  if (start >= end) return {0, 0, false};
  style->x0 = std::min(style->x0, start);
  style->x1 = std::max(style->x1, end);

  const std::int32_t leftEnd = std::min(left.last + 1, end);
  const std::int32_t rightStart = std::clamp(right.first, start, end);
  std::int32_t x = start;
  left.Begin(x);
  for (const std::int32_t stop = std::min(leftEnd, rightStart); x < stop; ++x) put(x, left.Next(x));
  const Run run{x, rightStart, true};
  x = std::max(x, rightStart);
  right.Begin(x);
  for (; x < leftEnd; ++x) put(x, std::max(left.Next(x) - right.Next(x), 0));
  for (; x < end; ++x) put(x, height - right.Next(x));
  return run;
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

void KRowSpan::StartRow() {
  x0 = kNoX0;
  x1 = kNoX1;
  solidX0 = kNoX1;
  solidX1 = kNoX0;
  solidHeight = 0;
}
