// A table of a ramp's colours.
#include "kalvora/paint/gradients/rampcells.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace kalvora {
namespace {

/// The largest difference of a channel.
int Difference(std::uint32_t a, std::uint32_t b) {
  int most = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    most = std::max(
        most, std::abs(static_cast<int>(a >> shift & 0xFF) - static_cast<int>(b >> shift & 0xFF)));
  }
  return most;
}

}  // namespace

void RampCells::Prepare(PreparedRamp* ramp, std::uint32_t* memory) {
  ramp_ = ramp;
  table_.period = ramp->repeats ? static_cast<std::uint32_t>(ramp->last) : 0;
  // Where both end stops are one, distances up to it have the first colour.
  const std::int64_t end = ramp->pairCount > 0 ? ramp->last : ramp->last + 1;
  end_ = static_cast<std::uint64_t>(std::max<std::int64_t>(end, 0));
  ChooseShift();
  table_.count = static_cast<std::uint32_t>((end_ + Width() - 1) >> table_.shift);
  table_.colors = memory;
  steep_ = memory + kMost + 1;

  // The table is the row of a gradient whose pixels lie in the middle of the cells.
  showsThrough_ = ramp->ShowsThrough();
  ramp->repeats = false;
  ramp->SetLine({static_cast<std::int64_t>(Width() / 2), static_cast<std::int32_t>(Width()), 0});
  RampWalk(*ramp, 0, 0).WriteAll(memory, static_cast<int>(table_.count));
  memory[table_.count] = ramp->lastColor;

  hasSteep_ = false;
  std::fill_n(steep_, kSteepWords, 0);
  for (std::uint32_t i = 0; i < ramp->pairCount; ++i) MarkSteep(ramp->Pairs()[i]);
  if (ramp->first >= 0 && table_.count > 0) Compare(ramp->first, ramp->firstColor);
  // Distances beyond the end, in the last cell.
  if (end_ & (Width() - 1)) Compare(static_cast<std::int64_t>(end_) - 1, ramp->lastColor);
}

/// Four cells a level, when there is room for them.
void RampCells::ChooseShift() {
  const int least = std::max(0, static_cast<int>(std::bit_width(end_)) - 11);
  int most = std::max(least, static_cast<int>(std::bit_width(end_)) - 4);
  for (std::uint32_t i = 0; i < ramp_->pairCount && most > least; ++i) {
    const StopPair& pair = ramp_->Pairs()[i];
    const auto levels = static_cast<std::uint64_t>(Difference(pair.c0, pair.c1));
    if (levels == 0) continue;
    const std::uint64_t width = static_cast<std::uint64_t>(pair.p1 - pair.p0) / (4 * levels);
    most = std::max(least, std::min(most, static_cast<int>(std::bit_width(width)) - 1));
  }
  table_.shift = most;
}

/// Marks the cells of a pair whose colour is more than a level from that of some distance.
void RampCells::MarkSteep(const StopPair& pair) {
  const std::int64_t begin = std::max<std::int64_t>(pair.p0 + 1, 0);
  const std::int64_t last = std::min(pair.p1, static_cast<std::int64_t>(end_) - 1);
  if (begin > last) return;
  const auto levels = static_cast<std::uint64_t>(Difference(pair.c0, pair.c1));
  if (levels << table_.shift > static_cast<std::uint64_t>(pair.p1 - pair.p0)) {
    for (std::int64_t cell = begin >> table_.shift; cell <= last >> table_.shift; ++cell)
      SetSteep(cell);
    return;
  }
  // Else only cells that other pairs share, at whose ends the pair's colours are furthest away.
  const auto width = static_cast<std::int64_t>(Width());
  const auto check = [this](std::int64_t distance) { Compare(distance, ramp_->ColorAt(distance)); };
  check(begin);
  check(std::min(last, begin | (width - 1)));
  check(std::max(begin, last & -width));
  check(last);
}

void RampCells::Compare(std::int64_t distance, std::uint32_t color) {
  const std::int64_t cell = distance >> table_.shift;
  if (Difference(color, table_.colors[cell]) > 1) SetSteep(cell);
}

void RampCells::SetSteep(std::int64_t cell) {
  steep_[cell / 32] |= 1u << (cell % 32);
  hasSteep_ = true;
}

std::uint32_t RampCells::ColorAt(std::uint32_t distance) const {
  if (distance >= end_) return table_.colors[table_.count];
  const std::uint32_t cell = distance >> table_.shift;
  return IsSteep(cell) ? ramp_->ColorAt(distance) : table_.colors[cell];
}

}  // namespace kalvora
