// The span fillers of a solid colour.
#include "kalvora/paint/KColorStrip.h"

#include "kalvora/core/channels.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/composite.h"

namespace kalvora {
namespace {

void FillSolid(const KStyleContext2D* style, bool blend) {
  std::uint32_t* const to = style->row + style->x0;
  const int n = style->x1 - style->x0;
  const std::uint32_t color = style->color.Word();
  const std::uint32_t alpha = AlphaWeight(color);
  if (!blend || alpha == 256) return FillSpan(to, n, color);
  // A colour of alpha 0 leaves the span, whatever its channels hold.
  if (alpha != 0) OverSpan(to, n, color);
}

}  // namespace

template <bool AA, bool Blend>
void ColorSpan<AA, Blend>::Draw(const KStyleContext2D* style) {
  if (style->x0 >= style->x1) return;
  if constexpr (!AA) return FillSolid(style, Blend);
  std::uint32_t* const to = style->row + style->x0;
  const std::int32_t* const coverage = style->lineBuffer + style->x0;
  const int n = style->x1 - style->x0;
  const std::uint32_t color = style->color.Word();
  if (!Blend) return LerpSpan(to, coverage, n, color);
  if (color != 0) CoverSpan(to, coverage, n, color);
}

template <bool AA, bool Blend>
void ColorSpan<AA, Blend>::DrawWithAaChecks(const KStyleContext2D* style) {
  if (style->x0 >= style->x1) return;
  if constexpr (!AA) return FillSolid(style, Blend);
  std::uint32_t* const to = style->row + style->x0;
  const std::uint8_t* const mask = style->maskRow + style->x0;
  const int n = style->x1 - style->x0;
  const std::uint32_t color = style->color.Word();
  if (!Blend) return LerpMaskedSpan(to, mask, n, color);
  if (color != 0) CoverMaskedSpan(to, mask, n, color);
}

template struct ColorSpan<false, false>;
template struct ColorSpan<false, true>;
template struct ColorSpan<true, false>;
template struct ColorSpan<true, true>;

}  // namespace kalvora
