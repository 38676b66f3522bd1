// KRowPainter: rows and runs to filler calls.
#include "kalvora/raster/KRowPainter.h"

#include <algorithm>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/core/channels.h"
#include "kalvora/support/KMem.h"

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

/// `p` - n, where the result may lie before the array that p points into.
const std::uint8_t* Before(const std::uint8_t* p, std::int32_t n) {
  return reinterpret_cast<const std::uint8_t*>(reinterpret_cast<std::uintptr_t>(p) -
                                               static_cast<std::uintptr_t>(n));
}

}  // namespace

KRowPainter::~KRowPainter() {
  job_.style->paint = nullptr;
  job_.style->share = KRowStyle::kWholeOpacity;
}

bool KRowPainter::Bind(std::int32_t share) {
  job_.style->paint = job_.paint;
  job_.style->share = share;
  solid_ = coverage_ = nullptr;
  if (job_.init) job_.init(job_.record, solid_, coverage_);
  return solid_ && coverage_;
}

void KRowPainter::GoTo(std::int32_t y) {
  job_.style->y = y;
  job_.style->row = job_.target->Row32(static_cast<unsigned>(y));
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
  KMem::Memset32(reinterpret_cast<std::uint32_t*>(job_.style->lineBuffer) + from, 0,
                 static_cast<unsigned>(to - from));
}

void KRowPainter::Covered(std::int32_t from, std::int32_t to) {
  if (from >= to) return;
  std::int32_t* line = job_.style->lineBuffer;
  if (job_.mask) {
    std::transform(line + from, line + to, job_.mask->At(from, job_.style->y), line + from,
                   WeighByMask);
  }
  Fill(coverage_, from, to);
  KMem::Memset32(reinterpret_cast<std::uint32_t*>(line) + from, 0,
                 static_cast<unsigned>(to - from));
}

void KRowPainter::Masked(std::int32_t from, std::int32_t to) {
  if (from >= to) return;
  job_.style->maskRow = Before(job_.mask->At(from, job_.style->y), from);
  Fill(coverage_, from, to);
  job_.style->maskRow = nullptr;
}

}  // namespace kalvora
