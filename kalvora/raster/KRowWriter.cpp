// KRowWriter: from spans to filler calls.
#include "kalvora/raster/KRowWriter.h"

#include <algorithm>
#include <iterator>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/support/KMem.h"

namespace kalvora {
namespace {

constexpr std::int32_t kRow = 0x10000;
constexpr std::int32_t kLowestStep = 16;  // what ComputeAA still draws
// From here on a coverage weighs 256, as much as full coverage.
constexpr std::int32_t kAsGoodAsFull = kRow - 128;

}  // namespace

KRowWriter::KRowWriter(const RasterJob& job, std::int32_t y)
    : style_(job.style), target_(job.target) {
  const std::int32_t type = style_->paint->type;
  if (type < 0 || type >= static_cast<std::int32_t>(std::size(job.strips->init))) return;
  job.strips->init[type](style_, solid_, coverage_);
  const KClip& clip = style_->clip;
  if (clip.x0 < clip.x1) {
    KMem::Memset32(reinterpret_cast<std::uint32_t*>(style_->lineBuffer) + clip.x0, 0,
                   static_cast<unsigned>(clip.x1 - clip.x0));
  }
  GoTo(y >> 16);
}

void KRowWriter::GoTo(std::int32_t row) {
  style_->y = row;
  style_->row = target_->Row32(static_cast<unsigned>(row));
  style_->StartRow();
  carried_ = 0;
  reached_ = INT32_MIN;
  added_ = false;
}

bool KRowWriter::BeginStep(std::int32_t y, std::int32_t stop) {
  height_ = stop - y + carried_;
  if (height_ < kLowestStep) {
    carried_ = height_;
    return false;
  }
  carried_ = 0;
  // Only a step that covers its row from top to bottom may store instead of add.
  added_ = added_ || stop - y != kRow;
  return true;
}

void KRowWriter::Span(std::int32_t leftTop, std::int32_t leftBottom, KFixed leftSlope,
                      std::int32_t rightTop, std::int32_t rightBottom, KFixed rightSlope) {
  const KFixed xa = KFixed::FromRaw(leftTop), xb = KFixed::FromRaw(leftBottom);
  const KFixed xc = KFixed::FromRaw(rightTop), xd = KFixed::FromRaw(rightBottom);
  // A further span of a whole row: paint what lies to its left, unless both share a pixel. Whether
  // they do must not depend on the clip.
  added_ = added_ || std::min(leftTop, leftBottom) >> 16 < reached_;
  if (!added_ && style_->x0 < style_->x1) {
    Paint();
    style_->StartRow();
  }
  reached_ = std::max(reached_, (std::max(rightTop, rightBottom) >> 16) + 1);
  if (added_) {
    style_->ComputeAA(xa, xb, leftSlope, xc, xd, rightSlope, KFixed::FromRaw(height_));
  } else {
    style_->ComputeAA(xa, xb, leftSlope, xc, xd, rightSlope);
  }
}

void KRowWriter::EndStep(std::int32_t stop) {
  if (stop & (kRow - 1)) return;
  Paint();
  GoTo(stop >> 16);
}

void KRowWriter::SkipTo(std::int32_t y) {
  if (y >> 16 == style_->y) return;
  Paint();
  GoTo(y >> 16);
}

void KRowWriter::Fill(KFiller filler, std::int32_t from, std::int32_t to) {
  if (from >= to) return;
  style_->x0 = from;
  style_->x1 = to;
  filler(style_);
}

void KRowWriter::Paint() {
  const std::int32_t x0 = style_->x0;
  const std::int32_t x1 = style_->x1;
  if (x0 >= x1) return;
  // A run that not every step of the row shares has only part of its height.
  if (style_->solidHeight < kAsGoodAsFull) style_->SettleSolidRun();
  std::int32_t solid0 = style_->solidX0;
  std::int32_t solid1 = style_->solidX1;
  if (style_->solidHeight == 0 || solid0 >= solid1) solid0 = solid1 = x1;
  if (added_) {
    // Rounding may leave a sum a few units outside, or short of full: then it must count as full
    // also where an opacity multiplies it, as in a solid run, whose extent depends on the clip.
    const auto settle = [line = style_->lineBuffer](std::int32_t from, std::int32_t to) {
      for (std::int32_t x = from; x < to; ++x) {
        line[x] = line[x] >= kAsGoodAsFull ? kRow : std::max(line[x], 0);
      }
    };
    settle(x0, solid0);
    settle(solid1, x1);
  }
  Fill(coverage_, x0, solid0);
  Fill(solid_, solid0, solid1);
  Fill(coverage_, solid1, x1);
  auto* line = reinterpret_cast<std::uint32_t*>(style_->lineBuffer);
  KMem::Memset32(line + x0, 0, static_cast<unsigned>(solid0 - x0));
  KMem::Memset32(line + solid1, 0, static_cast<unsigned>(x1 - solid1));
}

}  // namespace kalvora
