// The pixels of a pattern, and the position of a row's pixels in it.
#include "kalvora/paint/patterns/patternwalk.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KStyleContext2D.h"

namespace kalvora {
namespace {

constexpr std::uint32_t kReach = 0x8000;  // columns and rows that 16.16 coordinates address
constexpr std::uint32_t kPixelSize = 4;

std::uint32_t Modulo(std::uint32_t v, std::int32_t count) {
  const std::int64_t period = std::int64_t{count} << 16;
  if (v < period) return v;
  const std::int64_t rest = static_cast<std::int32_t>(v) % period;
  return static_cast<std::uint32_t>(rest < 0 ? rest + period : rest);
}

/// Limits [begin, end) to the k with 0 <= start + k step < limit.
void Limit(int& begin, int& end, std::int64_t start, std::int64_t step, std::int64_t limit) {
  if (step < 0) {  // the same from the other side
    start = limit - 1 - start;
    step = -step;
  }
  const std::int64_t room = limit - 1 - start;
  if (limit <= 0 || room < 0 || (step == 0 && start < 0)) {
    end = begin;
    return;
  }
  if (start >= 0 && start + step * (end - 1) < limit) return;
  const std::int64_t enter = start < 0 ? (step - 1 - start) / step : 0;
  begin = std::max(begin, static_cast<int>(std::min<std::int64_t>(enter, end)));
  end = static_cast<int>(std::min<std::int64_t>(end, room / step + 1));
}

}  // namespace

PatternPixels::PatternPixels(const KSoftPixmap& pixmap) {
  if (!pixmap.HasWords()) return;
  const std::uint32_t columns = std::min(pixmap.width, pixmap.stride / kPixelSize);
  if (columns == 0 || pixmap.height == 0) return;
  pixels = pixmap.pixels;
  stride = pixmap.stride;
  width = static_cast<std::int32_t>(std::min(columns, kReach));
  height = static_cast<std::int32_t>(std::min(pixmap.height, kReach));
}

PatternPosition::PatternPosition(const KStyleContext2D* style)
    : PatternPosition(style, style->x0, style->y) {}

PatternPosition::PatternPosition(const KStyleContext2D* style, std::int32_t x, std::int32_t y) {
  const KSoftMatrix3D& m = style->source->transform;
  const KVertex2D p = m.Map({KFixed::FromInt(x), KFixed::FromInt(y)});
  const bool straight = m.identity || m.linearIdentity;
  u = static_cast<std::uint32_t>(p.x.raw);
  v = static_cast<std::uint32_t>(p.y.raw);
  du = straight ? 0x10000 : static_cast<std::uint32_t>(m.m0.raw);
  dv = straight ? 0 : static_cast<std::uint32_t>(m.m1.raw);
}

void PatternPosition::WrapInto(const PatternPixels& p) {
  u = Modulo(u, p.width);
  v = Modulo(v, p.height);
  du = Modulo(du, p.width);
  dv = Modulo(dv, p.height);
}

InsideRun::InsideRun(const PatternPosition& p, int n, std::int64_t uEnd, std::int64_t vEnd)
    : end(n) {
  Limit(begin, end, p.U(), static_cast<std::int32_t>(p.du), uEnd);
  Limit(begin, end, p.V(), static_cast<std::int32_t>(p.dv), vEnd);
  if (begin >= end) begin = end = 0;
}

}  // namespace kalvora
