// The span fillers of a solid colour.
#include "kalvora/paint/KColorStrip.h"

#include "kalvora/paint/channels.h"
#include "kalvora/raster/KStyleContext2D.h"

namespace kalvora {
namespace {

void Fill(std::uint32_t* begin, std::uint32_t* end, std::uint32_t color) {
  while (begin != end) *begin++ = color;
}

/// d = over(d, c); a colour of alpha 0 leaves the span, whatever its channels hold.
void FillOver(std::uint32_t* begin, std::uint32_t* end, std::uint32_t color) {
  const std::uint32_t alpha = AlphaWeight(color);
  if (alpha == 0) return;
  if (alpha == 256) return Fill(begin, end, color);
  for (; begin != end; ++begin) *begin = Scale(*begin, 256 - alpha) + color;
}

std::uint32_t WeightAt(const KStyleContext2D* style, std::int32_t x) {
  return static_cast<std::uint32_t>(CoverageWeight(style->lineBuffer[x]));
}

void FillSolid(const KStyleContext2D* style, bool blend) {
  if (style->x0 >= style->x1) return;
  std::uint32_t* const begin = style->row + style->x0;
  std::uint32_t* const end = style->row + style->x1;
  if (blend) return FillOver(begin, end, style->color.Word());
  Fill(begin, end, style->color.Word());
}

}  // namespace

template <bool AA, bool Blend>
void ColorSpan<AA, Blend>::Draw(const KStyleContext2D* style) {
  if constexpr (!AA) return FillSolid(style, Blend);
  std::uint32_t* const row = style->row;
  const std::uint32_t color = style->color.Word();
  if (Blend && color == 0) return;
  const std::int32_t x1 = style->x1;
  for (std::int32_t x = style->x0; x < x1; ++x) {
    const std::uint32_t w = WeightAt(style, x);
    row[x] = Blend ? Over(row[x], Scale(color, w)) : Lerp(row[x], color, w);
  }
}

template <bool AA, bool Blend>
void ColorSpan<AA, Blend>::DrawWithAaChecks(const KStyleContext2D* style) {
  if constexpr (!AA) return FillSolid(style, Blend);
  std::uint32_t* const row = style->row;
  const std::uint8_t* const mask = style->maskRow;
  const std::uint32_t color = style->color.Word();
  if (Blend && color == 0) return;
  const std::int32_t x1 = style->x1;
  for (std::int32_t x = style->x0; x < x1; ++x) {
    const std::uint32_t w = MaskWeight(mask[x]);
    if (w == 0) continue;
    // An opaque colour at full weight comes out of Over as it is.
    if (w == 256) {
      row[x] = Blend ? Over(row[x], color) : color;
    } else {
      row[x] = Blend ? Over(row[x], Scale(color, w)) : Lerp(row[x], color, w);
    }
  }
}

template struct ColorSpan<false, false>;
template struct ColorSpan<false, true>;
template struct ColorSpan<true, false>;
template struct ColorSpan<true, true>;

}  // namespace kalvora
