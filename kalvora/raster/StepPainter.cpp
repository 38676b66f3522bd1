// StepPainter: rows to filler calls.
#include "kalvora/raster/StepPainter.h"

#include <utility>

namespace kalvora {

// Complete rows go; the present one stays.
bool StepPainter::MakeRoom() {
  if (first_ == 0) return false;
  Paint();
  count_ = 0;
  for (int i = std::exchange(first_, 0); i < KRowSteps::kMost; ++i) {
    Add(Get(2 * i), Get(2 * i + 1), steps_.height[2 * i]);
  }
  return true;
}

void StepPainter::Paint() {
  if (rows_ == 0) return;
  steps_.rows = std::exchange(rows_, 0);
  steps_.x0 = clip_.x0;
  steps_.x1 = clip_.x1;
  painter_.Steps(steps_);
}

}  // namespace kalvora
