// Colour ramps: preparation for a draw, and look-up.
#include "kalvora/paint/ramp.h"

#include <cstdlib>

#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStyleContext2D.h"

namespace kalvora {
namespace {

constexpr std::uint32_t kMostStops = 1u << 24;

/// Room for `words` words in the style context's scratch buffer; null when memory runs out.
std::uint32_t* Scratch(KStyleContext2D* style, std::uint32_t words) {
  const std::uint32_t size = words * static_cast<std::uint32_t>(sizeof(std::uint32_t));
  if (style->scratchSize < size) {
    if (style->ownsScratch) std::free(style->scratch);
    style->scratch = std::malloc(size);
    style->ownsScratch = style->scratch != nullptr;
    style->scratchSize = style->scratch ? size : 0;
  }
  return static_cast<std::uint32_t*>(style->scratch);
}

void FreeOwnedTables(KStyleContext2D* style) {
  if (style->ownedTables & 1) std::free(style->table0);
  if (style->ownedTables & 2) std::free(style->table1);
  style->ownedTables = 0;
  style->table0 = style->table1 = nullptr;
}

}  // namespace

bool PrepareRamp(KStyleContext2D* style, const KSoftColorRamp* ramp, std::int32_t opacity,
                 KFixed scale) {
  FreeOwnedTables(style);
  if (!ramp || ramp->count < 1 || ramp->count > kMostStops) return false;
  const std::uint32_t* colors = ramp->colors;
  const std::int32_t* positions = ramp->positions;
  std::uint32_t count = ramp->count;
  if (!colors || !positions) return false;
  style->spread = ramp->spread;
  style->rampWord = ramp->reserved1 >> 5;

  const auto scaled = [scale](std::int32_t position) {
    return (KFixed::FromRaw(position) * scale).raw;
  };
  const bool period = scaled(positions[count - 1]) > 0;
  if (scale.raw <= 0 || count == 1 || (ramp->spread == KSpreadRepeat && !period)) {
    colors += count - 1;
    positions += count - 1;
    count = 1;
    style->spread = KSpreadPad;
  }

  const bool weigh = opacity != 256;
  const bool stretch = scale != kOne;
  std::uint32_t* memory = nullptr;
  if (weigh || stretch) {
    memory = Scratch(style, 2 * count);
    if (!memory) return false;
  }
  if (weigh) {
    for (std::uint32_t i = 0; i < count; ++i) {
      memory[i] = KColor32::FromWord(colors[i]).Weight(static_cast<unsigned>(opacity)).Word();
    }
    colors = memory;
  }
  if (stretch) {
    auto* copy = reinterpret_cast<std::int32_t*>(memory + count);
    for (std::uint32_t i = 0; i < count; ++i) copy[i] = scaled(positions[i]);
    positions = copy;
  }
  // Only read, also where they are the ramp's own.
  style->table0 = const_cast<std::uint32_t*>(colors);
  style->table1 = const_cast<std::int32_t*>(positions);
  style->stopCount = count;
  return true;
}

RampReader::RampReader(const KStyleContext2D* style)
    : colors_(static_cast<const std::uint32_t*>(style->table0)),
      positions_(static_cast<const std::int32_t*>(style->table1)),
      count_(style->stopCount),
      first_(positions_[0]),
      last_(positions_[count_ - 1]),
      repeats_(style->spread == KSpreadRepeat && last_ > 0) {}

void RampReader::Move(std::int32_t t) {
  if (count_ < 2) return;
  while (index_ < count_ - 1 && positions_[index_] < t) ++index_;
  while (index_ > 1 && positions_[index_ - 1] >= t) --index_;
  pair_.p0 = positions_[index_ - 1];
  pair_.p1 = positions_[index_];
  pair_.r = KFixed::Inverse(KFixed::FromRaw(pair_.p1) - KFixed::FromRaw(pair_.p0));
  for (int i = 0; i < 4; ++i) {
    pair_.c0[i] = static_cast<std::int32_t>(colors_[index_ - 1] >> (8 * i) & 0xFF);
    pair_.dc[i] = static_cast<std::int32_t>(colors_[index_] >> (8 * i) & 0xFF) - pair_.c0[i];
  }
}

}  // namespace kalvora
