// KRowPainter: rows and runs to filler calls.
#include "kalvora/raster/KRowPainter.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/core/channels.h"

namespace kalvora {
namespace {

/// The coverage that fillers turn back into the weight of a mask byte. None is exactly 0, so that
/// picking and the product with an opacity see none.
std::int32_t MaskCoverage(std::uint8_t m) {
  const auto weight = static_cast<std::int32_t>(MaskWeight(m));
  return weight == 0 ? 0 : weight * 256 - 128;
}

std::int32_t WeighByMask(std::int32_t coverage, std::uint8_t m) {
  const auto weight = static_cast<std::uint32_t>(MaskCoverage(m));
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(coverage) * weight >> 16);
}

// In line, for most runs are short.
void Clear(std::int32_t* coverage, std::int32_t n) {
  for (; n >= 4; n -= 4, coverage += 4) {
    coverage[0] = coverage[1] = coverage[2] = coverage[3] = 0;
  }
  if (n & 2) coverage[0] = coverage[1] = 0, coverage += 2;
  if (n & 1) coverage[0] = 0;
}

}  // namespace

KRowPainter::~KRowPainter() {
  job_.style->paint = nullptr;
  job_.style->share = KRowStyle::kWholeOpacity;
}

bool KRowPainter::Bind(std::int32_t share) {
  job_.style->paint = job_.paint;
  job_.style->share = share;
  pixels_ = job_.target->Row32(0);
  stride_ = static_cast<std::ptrdiff_t>(job_.target->stride / 4);
  solid_ = coverage_ = nullptr;
  job_.style->block = job_.style->edged = nullptr;
  job_.style->differences = nullptr;
  job_.style->steps = nullptr;
  job_.style->straight = nullptr;
  if (job_.init) job_.init(job_.record, solid_, coverage_);
  return solid_ && coverage_;
}

void KRowPainter::Fill(KFiller filler, std::int32_t from, std::int32_t to) {
  job_.style->x0 = from;
  job_.style->x1 = to;
  filler(job_.record);
}

void KRowPainter::Solid(std::int32_t from, std::int32_t to) {
  if (from >= to) return;
  if (!job_.mask) return Fill(solid_, from, to);
  const std::uint8_t* bytes = job_.mask->At(from, job_.style->y);
  std::transform(bytes, bytes + (to - from), job_.style->lineBuffer + from, MaskCoverage);
  Fill(coverage_, from, to);
  Clear(job_.style->lineBuffer + from, to - from);
}

void KRowPainter::Covered(std::int32_t from, std::int32_t to) {
  if (from >= to) return;
  std::int32_t* line = job_.style->lineBuffer;
  // An outline goes on nearby in the next row, where its pixels are read: far from here in memory.
  const auto below = reinterpret_cast<std::uintptr_t>(job_.style->row) + job_.target->stride;
  __builtin_prefetch(reinterpret_cast<const void*>(below + 4 * static_cast<unsigned>(from)), 1);
  if (job_.mask) {
    std::transform(line + from, line + to, job_.mask->At(from, job_.style->y), line + from,
                   WeighByMask);
  }
  Fill(coverage_, from, to);
  Clear(line + from, to - from);
}

// Goes to the box's first row, and sets its columns.
KRowBlock KRowPainter::BlockOf(const PixelBox& box) {
  GoTo(box.y0);
  job_.style->x0 = box.x0;
  job_.style->x1 = box.x1;
  return {.rows = box.y1 - box.y0, .stride = stride_};
}

void KRowPainter::Column(std::int32_t x, const PixelBox& box, std::int32_t coverage) {
  for (std::int32_t y = box.y0; y < box.y1; ++y) {
    GoTo(y);
    job_.style->lineBuffer[x] = coverage;
    Covered(x, x + 1);
  }
}

void KRowPainter::Box(const PixelBox& box, std::int32_t left, std::int32_t right) {
  if (box.IsEmpty()) return;
  const bool edges = left != KRowBlock::kNoEdge || right != KRowBlock::kNoEdge;
  const KBlockFiller filler = edges ? job_.style->edged : job_.style->block;
  if (!filler || job_.mask) return Parts(box, left, right);
  KRowBlock block = BlockOf(box);
  block.left = left;
  block.right = right;
  filler(job_.record, block);
}

// Where there is no filler for all of the box.
void KRowPainter::Parts(const PixelBox& box, std::int32_t left, std::int32_t right) {
  const bool hasLeft = left != KRowBlock::kNoEdge;
  const bool hasRight = right != KRowBlock::kNoEdge && (!hasLeft || box.x1 - box.x0 > 1);
  PixelBox inner = box;
  inner.x0 += hasLeft;
  inner.x1 -= hasRight;
  if (job_.style->block && !job_.mask) {
    if (!inner.IsEmpty()) job_.style->block(job_.record, BlockOf(inner));
  } else {
    for (std::int32_t y = inner.y0; y < inner.y1; ++y) {
      GoTo(y);
      Solid(inner.x0, inner.x1);
    }
  }
  if (hasLeft) Column(box.x0, box, left);
  if (hasRight) Column(inner.x1, box, right);
}

void KRowPainter::Masked(const PixelBox& box) {
  if (box.IsEmpty() || !job_.style->block) return;
  KRowBlock block = BlockOf(box);
  block.mask = job_.mask->At(box.x0, box.y0);
  block.maskStride = static_cast<std::ptrdiff_t>(job_.mask->stride);
  job_.style->block(job_.record, block);
}

}  // namespace kalvora
