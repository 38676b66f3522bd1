// Colour ramps: preparation for a draw, and the colours of a row.
#include "kalvora/paint/gradients/ramp.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "kalvora/core/KColor32.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora {
namespace {

constexpr std::uint32_t kMostStops = 1u << 24;
/// Of a channel in 8.24: what makes the whole part of the sum a rounded one, as 0x7F00 does in
/// 16.16.
constexpr std::uint32_t kRounding = 0x7F0000;

/// `size` bytes of the style context's scratch buffer; null when memory runs out.
void* Scratch(KStyleContext2D* style, std::size_t size) {
  if (size > UINT32_MAX) return nullptr;
  if (style->scratchSize < size) {
    if (style->ownsScratch) std::free(style->scratch);
    style->scratch = std::malloc(size);
    style->ownsScratch = style->scratch != nullptr;
    style->scratchSize = style->scratch ? static_cast<std::uint32_t>(size) : 0;
  }
  return style->scratch;
}

void FreeOwnedTables(KStyleContext2D* style) {
  if (style->ownedTables & 1) std::free(style->table0);
  if (style->ownedTables & 2) std::free(style->table1);
  style->ownedTables = 0;
  style->table0 = style->table1 = nullptr;
}

std::int64_t FloorDivide(std::int64_t v, std::int64_t by) {
  return v >= 0 ? v / by : -((by - 1 - v) / by);
}

/// v / width with 32 fraction bits, modulo 2^64; width > 0.
std::uint64_t Part(std::int64_t v, std::int64_t width) {
  const std::int64_t whole = v >= 0 && v < width ? 0 : FloorDivide(v, width);
  const auto rest = static_cast<std::uint64_t>(v - whole * width);
  const auto unsignedWidth = static_cast<std::uint64_t>(width);
  const int excess = std::max(0, static_cast<int>(std::bit_width(unsignedWidth)) - 32);
  return (static_cast<std::uint64_t>(whole) << 32) +
         ((rest >> excess) << 32) / (unsignedWidth >> excess);
}

std::uint32_t Channel(std::uint32_t pixel, int i) { return pixel >> (8 * i) & 0xFF; }

/// What channel i of the pair grows by, 8.24, where t / (p1 - p0), 32 fraction bits, grows by f.
std::uint32_t Growth(const StopPair& pair, int i, std::uint64_t f) {
  const std::uint64_t rise = std::uint64_t{Channel(pair.c1, i)} - Channel(pair.c0, i);
  return static_cast<std::uint32_t>((rise * f + 0x80) >> 8);
}

std::uint32_t FirstValue(const StopPair& pair, int i) {
  return (Channel(pair.c0, i) << 24) + kRounding;
}

/// The colours and positions of a source, each stop after the other.
class Stops {
 public:
  Stops(const KSoftColorRamp& source, std::int32_t opacity, const RampScale& scale)
      : source_(source), opacity_(static_cast<unsigned>(opacity)), scale_(scale) {}

  std::int64_t Position(std::uint32_t i) const { return scale_(source_.positions[i]); }
  std::uint32_t Color(std::uint32_t i) const {
    if (opacity_ == 256) return source_.colors[i];
    return KColor32::FromWord(source_.colors[i]).Weight(opacity_).Word();
  }

 private:
  const KSoftColorRamp& source_;
  unsigned opacity_;
  RampScale scale_;
};

/// Fills in the stops from `begin` to `end`.
void SetStops(PreparedRamp& ramp, const Stops& stops, std::uint32_t begin, std::uint32_t end) {
  ramp.first = ramp.last = stops.Position(begin);
  ramp.firstColor = ramp.lastColor = stops.Color(begin);
  ramp.pairCount = 0;
  for (std::uint32_t i = begin + 1; i < end; ++i) {
    const std::int64_t position = stops.Position(i);
    const std::uint32_t color = stops.Color(i);
    if (position > ramp.last) {
      StopPair& pair = ramp.Pairs()[ramp.pairCount++];
      pair.p0 = ramp.last;
      pair.p1 = position;
      pair.c0 = ramp.lastColor;
      pair.c1 = color;
      ramp.last = position;
    }
    ramp.lastColor = color;
  }
}

}  // namespace

PreparedRamp* PrepareRamp(KStyleContext2D* style, const KSoftColorRamp* source,
                          std::int32_t opacity, const RampScale& scale, std::int64_t leastPeriod,
                          std::uint32_t words) {
  FreeOwnedTables(style);
  if (!source || !source->colors || !source->positions) return nullptr;
  const std::uint32_t count = source->count;
  if (count < 1 || count > kMostStops) return nullptr;
  const std::size_t size = sizeof(PreparedRamp) + (count - 1) * sizeof(StopPair);
  auto* ramp = static_cast<PreparedRamp*>(Scratch(style, size + words * sizeof(std::uint32_t)));
  if (!ramp) return nullptr;

  const Stops stops(*source, opacity, scale);
  ramp->loops = style->loops;
  SetStops(*ramp, stops, scale.factor == 0 ? count - 1 : 0, count);
  ramp->repeats = source->spread == KSpreadRepeat;
  if (ramp->repeats && ramp->last < leastPeriod) {
    SetStops(*ramp, stops, count - 1, count);
    ramp->repeats = false;
  }
  style->table1 = ramp;
  style->table0 = ramp->Pairs() + (count - 1);
  return ramp;
}

void PreparedRamp::SetLine(const RampLine& pixels) {
  line = pixels;
  for (std::uint32_t i = 0; i < pairCount; ++i) {
    StopPair& pair = Pairs()[i];
    const std::int64_t width = pair.p1 - pair.p0;
    const std::uint64_t origin = Part(line.origin - pair.p0, width);
    const std::uint64_t x = Part(line.stepX, width), y = Part(line.stepY, width);
    const std::uint64_t period = repeats ? Part(last, width) : 0;
    for (int c = 0; c < 4; ++c) {
      pair.origin[c] = FirstValue(pair, c) + Growth(pair, c, origin);
      pair.growX[c] = Growth(pair, c, x);
      pair.growY[c] = Growth(pair, c, y);
      pair.growPeriod[c] = Growth(pair, c, period);
    }
  }
}

std::uint32_t PreparedRamp::ColorAt(std::int64_t t) const {
  if (t <= first) return firstColor;
  if (t >= last) return lastColor;
  const StopPair* pair =
      std::lower_bound(Pairs(), Pairs() + pairCount, t,
                       [](const StopPair& p, std::int64_t at) { return p.p1 < at; });
  const std::uint64_t f = Part(t - pair->p0, pair->p1 - pair->p0);
  std::uint32_t color = 0;
  for (int i = 0; i < 4; ++i)
    color |= (FirstValue(*pair, i) + Growth(*pair, i, f)) >> 24 << (8 * i);
  return color;
}

int RampWalk::Next(int n) {
  ended_ = false;
  const std::int64_t step = step_, first = ramp_.first, last = ramp_.last;
  std::int64_t t = t_ - start_;
  if (ramp_.repeats) {
    if (t_ > first && t_ < last) {
      period_ = start_ = 0;
    } else if (t >= last && t < 2 * last && start_ != 0) {
      ++period_;
      start_ += last;
    } else if (t < 0 || t >= last || start_ == 0) {
      period_ = FloorDivide(t_, last);
      start_ = period_ * last;
    }
    t = t_ - start_;
    if (t <= first) return Flat(ramp_.firstColor, step < 0 ? t : first - t, n);
  } else if (t <= first || t >= last) {
    ended_ = true;
    if (t <= first) return Flat(ramp_.firstColor, step > 0 ? first - t : INT64_MAX, n);
    return Flat(ramp_.lastColor, step < 0 ? t - last : INT64_MAX, n);
  }
  while (pair_->p1 < t) ++pair_;
  while (pair_->p0 >= t) --pair_;
  SetColors();
  if (step < 0) {
    // In all periods but the first, t begins at 0.
    return Advance(t - (start_ == 0 ? pair_->p0 + 1 : std::max<std::int64_t>(pair_->p0 + 1, 0)), n);
  }
  // A ramp that begins before 0 is shown once from there on.
  const std::int64_t room = t_ <= first ? first - t_ : INT64_MAX;
  return Advance(std::min(room, std::min(pair_->p1, last - 1) - t), n);
}

int RampWalk::Flat(std::uint32_t color, std::int64_t room, int n) {
  flat_ = true;
  color_ = color;
  return Advance(room, n);
}

void RampWalk::SetColors() {
  const auto x = static_cast<std::uint32_t>(x_), y = static_cast<std::uint32_t>(y_);
  const auto period = static_cast<std::uint32_t>(period_);
  const StopPair& pair = *pair_;
  grow_ = direction_ == kAlongRow ? pair.growX : pair.growY;
  std::uint32_t growth = color_ = 0;
  for (int i = 0; i < 4; ++i) {
    value_[i] =
        pair.origin[i] + x * pair.growX[i] + y * pair.growY[i] - period * pair.growPeriod[i];
    growth |= grow_[i];
    color_ |= value_[i] >> 24 << (8 * i);
  }
  flat_ = growth == 0;
}

int RampWalk::Advance(std::int64_t room, int n) {
  const std::int64_t size = step_ < 0 ? -step_ : step_;
  const int run = room >= size * (n - 1) ? n : static_cast<int>(room / size) + 1;
  t_ += step_ * run;
  (direction_ == kAlongRow ? x_ : y_) += run;
  return run;
}

void RampWalk::WriteAll(std::uint32_t* to, int n) {
  while (n > 0) {
    const int run = Next(n);
    Write(to, run);
    to += run;
    n -= run;
  }
}

void RampWalk::Write(std::uint32_t* to, int n) {
  if (flat_) {
    std::fill_n(to, n, color_);
    return;
  }
  ramp_.loops->gradient.series(to, n, value_, grow_);
  for (int i = 0; i < 4; ++i) value_[i] += static_cast<std::uint32_t>(n) * grow_[i];
}

}  // namespace kalvora
