// Fillers of whole blocks with a pixmap pattern that is stretched along its rows, and mixed.
//
// All rows of such a block show the same columns: where they lie is found once. Rows of the source
// are mixed across once, however many device rows show them, and kept by their number; the device
// row is then mixed from those.
#include "kalvora/paint/patterns/stretchblock.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/core/division.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/loops/loops.h"
#include "kalvora/paint/patterns/bicubic.h"
#include "kalvora/paint/patterns/edges.h"
#include "kalvora/paint/patterns/patternwalk.h"
#include "kalvora/support/KFlags.h"

namespace kalvora {
namespace {

/// How samples get into the target.
class Putter {
 public:
  explicit Putter(const KStyleContext2D* style)
      : loops_(style->loops->pixels),
        opacity_(Flags.IgnoreAlpha ? 256 : style->opacity),
        alpha_(!Flags.IgnoreAlpha && style->source->hasAlpha) {}

  /// They are stored as they are.
  bool Stores() const { return !alpha_ && opacity_ == 256; }
  void Row(std::uint32_t* to, const std::uint32_t* samples, int n) const {
    Loop(Weight::kFull, Weight::kOpacity)(to, samples, nullptr, n, opacity_);
  }
  /// One sample at a coverage, 16.16.
  EdgePut Edge(std::int32_t coverage) const {
    const std::uint32_t weight =
        opacity_ == 256 ? EdgePut::Weight(coverage) : EdgePut::Weight(coverage, opacity_);
    return {alpha_, 256, weight};
  }

 private:
  PixelLoop Loop(Weight full, Weight opacity) const {
    const auto weight = static_cast<int>(opacity_ == 256 ? full : opacity);
    return alpha_ ? loops_.over[weight] : loops_.lerp[weight];
  }

  const PixelLoops& loops_;
  std::int32_t opacity_;
  bool alpha_;
};

/// All rows of the n columns from x on.
template <typename Columns>
void FillColumns(const KStyleContext2D* style, const KRowBlock& rows, const Putter& putter,
                 std::int32_t x, int n) {
  constexpr std::int32_t kNone = KRowBlock::kNoEdge;
  const bool starts = x == style->x0, ends = x + n == style->x1;
  const std::int32_t left = starts ? rows.left : kNone;
  const std::int32_t right = ends && (left == kNone || n > 1) ? rows.right : kNone;
  const int begin = left != kNone, end = n - (right != kNone);
  const EdgePut putLeft = putter.Edge(left), putRight = putter.Edge(right);
  Columns columns(style, x, n);
  std::uint32_t samples[Columns::kMost];
  std::uint32_t* to = style->row + x;
  for (std::int32_t y = 0; y < rows.rows; ++y, to += rows.stride) {
    const std::uint32_t before = to[0], after = to[n - 1];
    std::uint32_t* const got = putter.Stores() ? to : samples;
    columns.Read(got, style->y + y, n);
    const std::uint32_t first = got[0], last = got[n - 1];
    if (!putter.Stores()) putter.Row(to + begin, samples + begin, end - begin);
    if (left != kNone) to[0] = putLeft(before, first);
    if (right != kNone) to[end] = putRight(after, last);
  }
}

template <typename Columns>
void FillBlock(const KStyleContext2D* style, const KRowBlock& rows) {
  const Putter putter(style);
  for (std::int32_t x = style->x0; x < style->x1; x += Columns::kMost) {
    FillColumns<Columns>(style, rows, putter, x, std::min(Columns::kMost, style->x1 - x));
  }
}

/// The position, half a pixel back, of the first pixel of some columns, and of those below.
struct Origin {
  PatternPosition at;
  std::int32_t y;
  std::uint32_t down;

  Origin(const KStyleContext2D* style, std::int32_t x)
      : at(style, x, style->y),
        y(style->y),
        down(static_cast<std::uint32_t>(style->source->transform.m4.raw)) {
    at.ShiftHalf();
  }
  std::uint32_t V(std::int32_t row) const {
    return at.v + static_cast<std::uint32_t>(row - y) * down;
  }
};

/// Columns of bilinear samples.
class BilinearColumns {
 public:
  static constexpr int kMost = 256;

  BilinearColumns(const KStyleContext2D* style, std::int32_t x, int n)
      : loops_(style->loops->stretch), source_(*style->source), origin_(style, x) {
    PatternPosition at = origin_.at;
    // Where there is no neighbour to the right, the last pair has all its weight there, or none.
    for (int i = 0; i < n; ++i, at.Step()) {
      const std::int32_t column = at.Column(), last = source_.width - 2;
      offset_[i] = static_cast<std::uint32_t>(std::clamp(column, 0, last)) * 4;
      weight_[i] = column < 0 ? 0 : column > last ? 256 : FractionWeight(at.u);
    }
  }

  /// The samples of row y.
  void Read(std::uint32_t* to, std::int32_t y, int n) {
    const std::uint32_t v = origin_.V(y);
    const std::int32_t whole = static_cast<std::int32_t>(v) >> 16;
    const std::int32_t row = Clamped(whole, source_.height);
    const std::int32_t below = row + (whole >= 0 && row + 1 < source_.height);
    const std::uint32_t* const top = Row(row, n);
    loops_.mixDown(to, n, top, Row(below, n), FractionWeight(v));
  }

 private:
  const std::uint32_t* Row(std::int32_t row, int n) {
    const auto slot = static_cast<std::size_t>(row & 1);
    if (number_[slot] != row) {
      number_[slot] = row;
      loops_.mixAcross(mixed_[slot], n, source_.Row(row), offset_, weight_);
    }
    return mixed_[slot];
  }

  const StretchLoops& loops_;
  const PatternPixels source_;
  const Origin origin_;
  std::uint32_t offset_[kMost] = {}, weight_[kMost] = {};
  std::uint32_t mixed_[2][kMost];
  std::int32_t number_[2] = {-1, -1};
};

/// Columns of bicubic samples.
class BicubicColumns {
 public:
  static constexpr int kMost = 128;

  BicubicColumns(const KStyleContext2D* style, std::int32_t x, int n)
      : loops_(style->loops->stretch),
        alpha_(style->sampleAlpha),
        source_(*style->source),
        origin_(style, x) {
    PatternPosition at = origin_.at;
    for (int i = 0; i < n; ++i, at.Step()) {
      const Taps taps = TapsAt<KRepeatClamp>(at.U(), source_.width);
      const std::int32_t first = std::clamp(at.Column() - 1, 0, source_.width - 4);
      offset_[i] = static_cast<std::uint32_t>(first) * 4;
      // Pixels that count twice at an edge have both weights; four times, as cubicDown wants it.
      for (int j = 0; j < 4; ++j) weight_[4 * i + taps.index[j] - first] += 4 * taps.weight[j];
    }
  }

  /// The samples of row y.
  void Read(std::uint32_t* to, std::int32_t y, int n) {
    const Taps taps = TapsAt<KRepeatClamp>(static_cast<std::int32_t>(origin_.V(y)), source_.height);
    const std::int32_t* rows[4];
    for (int j = 0; j < 4; ++j) rows[j] = Row(taps.index[j], n);
    loops_.cubicDown(to, n, rows, taps.weight, alpha_);
  }

 private:
  const std::int32_t* Row(std::int32_t row, int n) {
    const auto slot = static_cast<std::size_t>(row & 3);
    if (number_[slot] != row) {
      number_[slot] = row;
      loops_.cubicAcross(sums_[slot], n, source_.Row(row), offset_, weight_);
    }
    return sums_[slot];
  }

  const StretchLoops& loops_;
  const SampleAlpha alpha_;
  const PatternPixels source_;
  const Origin origin_;
  std::uint32_t offset_[kMost] = {};
  std::int32_t weight_[4 * kMost] = {};
  std::int32_t sums_[4][4 * kMost + 4] = {};
  std::int32_t number_[4] = {-1, -1, -1, -1};
};

/// Steps of more source pixels than this could wrap, and come back, within the eight columns that
/// mixAcross looks at together, and takes to rise or fall throughout.
constexpr std::uint32_t kSteepest = 4096;

}  // namespace

KBlockFiller SelectStretchBlock(const KStyleContext2D* style) {
  const KSoftMatrix3D& m = style->source->transform;
  const bool alongRows = m.m1 == kZero && m.m3 == kZero && !m.linearIdentity;
  if (!alongRows || style->source->repeatRule != KRepeatClamp) return nullptr;
  const std::int32_t width = PatternPixels(*style->source).width;
  const bool steep = Magnitude(m.m0.raw) > kSteepest << 16;
  switch (style->source->quality) {
    case KSamplingBilinear:
      return width >= 2 && !steep ? FillBlock<BilinearColumns> : nullptr;
    case KSamplingBicubic:
      return width >= 4 ? FillBlock<BicubicColumns> : nullptr;
    default:
      return nullptr;
  }
}

}  // namespace kalvora
