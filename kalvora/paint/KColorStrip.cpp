// The span fillers of a solid colour.
#include "kalvora/paint/KColorStrip.h"

#include <algorithm>

#include "kalvora/core/channels.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora {
namespace {

Block PixelsOf(const KStyleContext2D* style, const KRowBlock& block) {
  return {style->row + style->x0, block.stride, style->x1 - style->x0, block.rows};
}

void FillMasked(const KStyleContext2D* style, const KRowBlock& block, bool blend) {
  const std::uint32_t color = style->color.Word();
  const ColorLoops& loops = style->loops->color;
  const auto loop = blend ? loops.coverMasked : loops.lerpMasked;
  if (!blend || color != 0) loop(PixelsOf(style, block), block.mask, block.maskStride, color);
}

/// What the solid filler makes of a pixel.
Mix SolidMix(std::uint32_t color, bool blend) {
  const std::uint32_t alpha = AlphaWeight(color);
  if (!blend || alpha == 256) return {0, 0, 0, color};
  return alpha == 0 ? Mix{256, 0, 0, 0} : Mix{256 - alpha, 0, 0, color};
}

/// What the coverage filler makes of a pixel.
Mix CoveredMix(std::uint32_t color, bool blend, std::int32_t coverage) {
  const auto w = static_cast<std::uint32_t>(CoverageWeight(coverage));
  if (!blend) return {256 - w, Lo(color) * w, Hi(color) * w, 0};
  const std::uint32_t s = Scale(color, w);
  return {256 - AlphaWeight(s), 0, 0, s};
}

struct ColorRows : Differences {
  const ColorLoops& loops;
};

void FillAlike(const Differences& differences, std::uint32_t* to, int n, std::int32_t held) {
  const auto& rows = static_cast<const ColorRows&>(differences);
  const Block block{to, 0, n, 1};
  const auto weight = static_cast<std::uint32_t>(std::min(held, 256));
  if (rows.blend) return rows.loops.over(block, Scale(rows.color, weight));
  if (weight == 256) return rows.loops.fill(block, rows.color);
  const Mix mix{256 - weight, Lo(rows.color) * weight, Hi(rows.color) * weight, 0};
  rows.loops.edged(block, mix, mix, mix);
}

}  // namespace

void FillColorBlock(const KStyleContext2D* style, const KRowBlock& block) {
  style->loops->color.fill(PixelsOf(style, block), style->color.Word());
}

void BlendColorBlock(const KStyleContext2D* style, const KRowBlock& block) {
  const std::uint32_t color = style->color.Word();
  const std::uint32_t alpha = AlphaWeight(color);
  if (alpha == 256) return FillColorBlock(style, block);
  // A colour of alpha 0 leaves the span, whatever its channels hold.
  if (alpha != 0) style->loops->color.over(PixelsOf(style, block), color);
}

template <bool Blend>
static void FillRow(const KStyleContext2D* style) {
  (Blend ? BlendColorBlock : FillColorBlock)(style, {.rows = 1, .stride = 0});
}

template <bool AA, bool Blend>
void ColorSpan<AA, Blend>::Draw(const KStyleContext2D* style) {
  if (style->x0 >= style->x1) return;
  if constexpr (!AA) return FillRow<Blend>(style);
  const std::uint32_t color = style->color.Word();
  const auto loop = Blend ? style->loops->color.cover : style->loops->color.lerp;
  if (Blend && color == 0) return;
  loop(style->row + style->x0, style->lineBuffer + style->x0, style->x1 - style->x0, color);
}

template <bool AA, bool Blend>
void ColorSpan<AA, Blend>::DrawWithAaChecks(const KStyleContext2D* style) {
  if (style->x0 >= style->x1) return;
  if constexpr (!AA) return FillRow<Blend>(style);
  FillMasked(style, {.rows = 1, .stride = 0, .mask = style->maskRow + style->x0}, Blend);
}

template struct ColorSpan<false, false>;
template struct ColorSpan<false, true>;
template struct ColorSpan<true, false>;
template struct ColorSpan<true, true>;

void FillEdgedColorBlock(const KStyleContext2D* style, const KRowBlock& block) {
  const std::uint32_t color = style->color.Word();
  const bool blend = style->blend != 0;
  const Mix inner = SolidMix(color, blend);
  const auto edge = [&](std::int32_t coverage) {
    return coverage == KRowBlock::kNoEdge ? inner : CoveredMix(color, blend, coverage);
  };
  // In a single column only one of the edges counts.
  const bool first = block.left != KRowBlock::kNoEdge || style->x1 - style->x0 > 1;
  style->loops->color.edged(PixelsOf(style, block), edge(first ? block.left : block.right), inner,
                            edge(block.right));
}

void FillColorDifferences(const KStyleContext2D* style, const KRowDifferences& differences) {
  static_assert(Differences::kFullBits == KRowDifferences::kFullBits);
  const ColorRows rows{{.to = style->row + style->x0,
                        .stride = differences.stride,
                        .y = differences.y,
                        .line = differences.line,
                        .touched = differences.touched,
                        .lineStride = differences.lineStride,
                        .edges = differences.edges,
                        .ranges = differences.ranges,
                        .n = style->x1 - style->x0,
                        .rows = differences.rows,
                        .start = differences.start + Differences::kHalf,
                        .color = style->color.Word(),
                        .blend = style->blend,
                        .alike = FillAlike},
                       style->loops->color};
  rows.loops.differences(rows);
}

static void FillSteps(const KStyleContext2D* style, const KRowSteps& steps) {
  const std::uint32_t color = style->color.Word();
  const bool blend = style->blend != 0;
  if (!blend || color != 0) style->loops->color.steps(steps, color, blend);
}

KStepFiller ColorSteps(const KStyleContext2D* style) {
  return style->loops->color.steps ? FillSteps : nullptr;
}

static void FillStraight(const KStyleContext2D* style, const KStraightEdges& edges) {
  style->loops->color.straight(style->row + style->x0, style->x1 - style->x0, edges,
                               style->color.Word());
}

KStraightFiller ColorStraight(const KStyleContext2D* style) {
  return style->loops->color.straight && !style->blend ? FillStraight : nullptr;
}

void FillMaskedBlock(const KStyleContext2D* style, const KRowBlock& block) {
  FillMasked(style, block, style->blend != 0);
}

}  // namespace kalvora
