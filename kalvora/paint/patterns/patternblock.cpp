// Fillers of whole blocks with a pixmap pattern.
#include "kalvora/paint/patterns/patternblock.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/loops/loops.h"
#include "kalvora/paint/patterns/edges.h"
#include "kalvora/paint/patterns/patternwalk.h"
#include "kalvora/support/KFlags.h"

namespace kalvora {
namespace {

/// How source pixels get into the target.
enum class Put { kCopy, kOver, kOverOpacity, kLerpOpacity };

Put PutOf(const KStyleContext2D* style) {
  if (Flags.IgnoreAlpha) return Put::kCopy;
  if (style->source->hasAlpha) return style->opacity != 256 ? Put::kOverOpacity : Put::kOver;
  return style->opacity != 256 ? Put::kLerpOpacity : Put::kCopy;
}

const std::uint32_t* Words(const std::uint8_t* row) {
  return static_cast<const std::uint32_t*>(static_cast<const void*>(row));
}

void PutBlock(const KStyleContext2D* style, Put put, const Block& block,
              const std::uint32_t* source, std::ptrdiff_t sourceStride) {
  const PixelLoops& loops = style->loops->pixels;
  if (put == Put::kCopy) return loops.copyBlock(block, source, sourceStride);
  if (put == Put::kOver) return loops.overBlock(block, source, sourceStride);
  const auto weight = static_cast<int>(Weight::kOpacity);
  const PixelLoop loop = put == Put::kOverOpacity ? loops.over[weight] : loops.lerp[weight];
  for (int y = 0; y < block.rows; ++y) {
    loop(block.to + y * block.stride, source + y * sourceStride, nullptr, block.n, style->opacity);
  }
}

/// What the coverage fillers do with source pixels of one coverage.
EdgePut EdgeOf(const KStyleContext2D* style, Put put, std::int32_t coverage) {
  const bool blend = put == Put::kOver || put == Put::kOverOpacity;
  const auto opacity = static_cast<std::uint32_t>(style->opacity);
  if (put == Put::kCopy || put == Put::kOver) return {blend, 256, EdgePut::Weight(coverage)};
  if (blend && style->source->transform.linearIdentity) {
    return {blend, opacity, EdgePut::Weight(coverage)};
  }
  return {blend, 256, EdgePut::Weight(coverage, style->opacity)};
}

/// The nearest pixels along rows of the pixmap, which all rows of the block pick from the same
/// columns: so many columns at a time.
class NearestColumns {
 public:
  static constexpr int kMost = 256;

  NearestColumns(const KStyleContext2D* style, std::int32_t x0, int count)
      : style_(style), source_(*style->source), n_(count), x0_(x0) {
    PatternPosition at(style, x0, style->y);
    if (Tiles()) {
      at.WrapInto(source_);
      for (int i = 0; i < n_; ++i, at.StepWrapped(source_)) columns_[i] = at.u >> 16;
    } else {
      for (int i = 0; i < n_; ++i, at.Step()) {
        columns_[i] = static_cast<std::uint32_t>(Clamped(at.Column(), source_.width));
      }
    }
  }

  /// Fills these columns of all rows. A row that shows the same pixels as the one before is copied
  /// from it, or mixed from the same picked ones.
  void Fill(const KRowBlock& rows, Put put) {
    std::uint32_t picked[kMost];
    std::uint32_t* to = style_->row + x0_;
    std::int32_t last = -1;
    RowWalk walk(*this);
    for (std::int32_t y = 0; y < rows.rows; ++y, to += rows.stride) {
      const std::int32_t row = walk.Next();
      const Block line{to, 0, n_, 1};
      if (put == Put::kCopy) {
        if (row == last) {
          style_->loops->pixels.copyBlock(line, to - rows.stride, 0);
        } else {
          style_->loops->pixels.pick(to, n_, columns_, Words(source_.Row(row)));
        }
      } else {
        if (row != last) style_->loops->pixels.pick(picked, n_, columns_, Words(source_.Row(row)));
        PutBlock(style_, put, line, picked, 0);
      }
      last = row;
    }
  }

  /// Fills a single column, weighed by a coverage.
  void FillCovered(const KRowBlock& rows, Put put, std::int32_t coverage) {
    const EdgePut edge = EdgeOf(style_, put, coverage);
    std::uint32_t* to = style_->row + x0_;
    RowWalk walk(*this);
    for (std::int32_t y = 0; y < rows.rows; ++y, to += rows.stride) {
      *to = edge(*to, Words(source_.Row(walk.Next()))[columns_[0]]);
    }
  }

 private:
  bool Tiles() const { return style_->source->repeatRule != 0; }

  /// The rows of the source that the rows of a block show: they do not depend on the column.
  class RowWalk {
   public:
    explicit RowWalk(const NearestColumns& c)
        : source_(c.source_),
          tiles_(c.Tiles()),
          at_(c.style_, c.x0_, c.style_->y),
          rise_(PatternPosition(c.style_, c.x0_, c.style_->y + 1).v - at_.v) {}

    std::int32_t Next() {
      PatternPosition at = at_;
      at_.v += rise_;
      if (!tiles_) return Clamped(at.Row(), source_.height);
      at.WrapInto(source_);
      return at.Row();
    }

   private:
    const PatternPixels& source_;
    const bool tiles_;
    PatternPosition at_;
    const std::uint32_t rise_;
  };

  const KStyleContext2D* style_;
  const PatternPixels source_;
  const int n_;
  const std::int32_t x0_;
  std::uint32_t columns_[kMost];
};

void FillNearest(const KStyleContext2D* style, std::int32_t x0, std::int32_t x1,
                 const KRowBlock& rows) {
  const Put put = PutOf(style);
  for (std::int32_t x = x0; x < x1; x += NearestColumns::kMost) {
    NearestColumns(style, x, std::min(NearestColumns::kMost, x1 - x)).Fill(rows, put);
  }
}

/// Whole pixels: rows as they are where the block lies within the pixmap or one of its tiles.
void FillCopied(const KStyleContext2D* style, std::int32_t x0, std::int32_t x1,
                const KRowBlock& rows) {
  const PatternPixels p(*style->source);
  const PatternPosition at(style, x0, style->y);
  const bool tile = style->source->repeatRule != 0;
  const std::int32_t column = tile ? Wrapped(at.Column(), p.width) : at.Column();
  const std::int32_t row = tile ? Wrapped(at.Row(), p.height) : at.Row();
  if (column < 0 || row < 0 || column + (x1 - x0) > p.width || row + rows.rows > p.height) {
    return FillNearest(style, x0, x1, rows);
  }
  PutBlock(style, PutOf(style), {style->row + x0, rows.stride, x1 - x0, rows.rows},
           Words(PatternPixels::Pixel(p.Row(row), column)),
           static_cast<std::ptrdiff_t>(p.stride / sizeof(std::uint32_t)));
}

void FillBlock(const KStyleContext2D* style, const KRowBlock& rows) {
  const auto fill = style->source->transform.linearIdentity ? FillCopied : FillNearest;
  const bool left = rows.left != KRowBlock::kNoEdge;
  const std::int32_t x0 = style->x0 + left;
  const bool right = rows.right != KRowBlock::kNoEdge && x0 < style->x1;
  const std::int32_t x1 = style->x1 - right;
  if (x0 < x1) fill(style, x0, x1, rows);
  const Put put = PutOf(style);
  if (left) NearestColumns(style, style->x0, 1).FillCovered(rows, put, rows.left);
  if (right) NearestColumns(style, x1, 1).FillCovered(rows, put, rows.right);
}

}  // namespace

void SelectPatternBlock(KStyleContext2D* style) {
  const KSoftMatrix3D& m = style->source->transform;
  const bool nearest = style->source->quality == KSamplingNearest && m.m1 == kZero && m.m3 == kZero;
  if (m.linearIdentity || nearest) style->block = style->edged = FillBlock;
}

}  // namespace kalvora
