// KMaskPainter: masks to boxes of a row painter.
#include "kalvora/paint/KMaskPainter.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KStrips.h"

namespace kalvora {

namespace {

// Sums that cannot wrap are made in 32 bits.
inline PixelBox BoxOf(const KClip& clip, const KSoftPixmap& mask, int x0, int y0, int x1, int y1) {
  if (!mask.pixels || mask.pixelShift != 0) return {};
  constexpr std::uint32_t kNear = 1u << 30;
  const auto isNear = [](int v) { return static_cast<std::uint32_t>(v) + kNear < 2 * kNear; };
  const std::uint32_t columns = std::min(mask.width, mask.stride);
  if ((columns | mask.height) < kNear && isNear(x0) && isNear(y0)) {
    return {clip, x0, y0, std::min(x1, x0 + static_cast<int>(columns)),
            std::min(y1, y0 + static_cast<int>(mask.height))};
  }
  return {clip, std::int64_t{x0}, std::int64_t{y0},
          std::min(std::int64_t{x1}, std::int64_t{x0} + columns),
          std::min(std::int64_t{y1}, std::int64_t{y0} + mask.height)};
}

}  // namespace

PixelBox MaskBox(const KClip& clip, const KSoftPixmap& mask, int x0, int y0, int x1, int y1) {
  return BoxOf(clip, mask, x0, y0, x1, y1);
}

KMaskPainter::KMaskPainter(const PaintJob& job)
    : job_(job), painter_(job_), reads_(job.paint->type == KPaintColor) {
  job_.mask = &bytes_;
  // Colours have fillers that read the bytes themselves.
  if (reads_) {
    job_.init = job.target->format == KFormat0888PM
                    ? KStrips<KColor_0888_PM>::InitColorWithAaChecks
                    : KStrips<KColor_8888_PM>::InitColorWithAaChecks;
  }
  Bind();
}

void KMaskPainter::Draw(const KSoftPixmap& mask, int x0, int y0, int x1, int y1) {
  const PixelBox box = BoxOf(job_.style->clip, mask, x0, y0, x1, y1);
  if (box.IsEmpty() || !bound_) return;
  bytes_ = {mask.pixels, mask.stride, x0, y0};
  if (reads_) {
    painter_.Masked(box);
  } else {
    painter_.Box(box);
  }
}

}  // namespace kalvora
