// KRowWriter: from steps of a row to runs of it.
#include "kalvora/raster/KRowWriter.h"

#include <algorithm>

namespace kalvora {
namespace {

constexpr std::int32_t kRow = 0x10000;
constexpr std::int32_t kLowestStep = 16;  // what ComputeAA still draws
// From here on a coverage weighs 256, as much as full coverage.
constexpr std::int32_t kAsGoodAsFull = kRow - 128;

}  // namespace

KRowWriter::KRowWriter(const RasterJob& job, std::int32_t y)
    : style_(job.style), painter_(job), ready_(painter_.Bind()) {
  if (ready_) GoTo(y >> 16);
}

KRowWriter::~KRowWriter() {
  if (ready_ && style_->x0 < style_->x1)
    std::fill(style_->lineBuffer + style_->x0, style_->lineBuffer + style_->x1, 0);
  style_->StartRow();
}

void KRowWriter::GoTo(std::int32_t row) {
  painter_.GoTo(row);
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
  painter_.Covered(x0, solid0);
  painter_.Solid(solid0, solid1);
  painter_.Covered(solid1, x1);
  style_->StartRow();
}

}  // namespace kalvora
