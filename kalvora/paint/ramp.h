// Colour ramps as the gradient fillers see them: preparation for a draw, and look-up.
#ifndef KALVORA_PAINT_RAMP_H
#define KALVORA_PAINT_RAMP_H

#include <cstdint>

#include "kalvora/core/KFixed.h"

struct KSoftColorRamp;
struct KStyleContext2D;

namespace kalvora {

/// Makes table0, table1, stopCount and spread of the style context ready for a draw. Colours
/// are copied only to weigh them by an opacity (0..256) below 256, positions only for a scale
/// other than 1.0; the copies stay in the scratch buffer, which grows as needed and is kept. A
/// scale of 0 and less, or a repeated ramp without a period, leaves the last colour alone. False
/// when there is nothing to draw, or no memory.
bool PrepareRamp(KStyleContext2D* style, const KSoftColorRamp* ramp, std::int32_t opacity,
                 KFixed scale);

/// The colours between two neighbouring stops as straight lines of t:
///
///     c(t) = c0 + 0x7F00 + ((t - p0) r) (c1 - c0),   r = 1 / (p1 - p0)
///
/// in each channel, 16.16, of which the whole part, held to 0..255, is the channel of the pixel.
struct StopPair {
  std::int32_t p0 = 0;  ///< the pair colours p0 < t <= p1
  std::int32_t p1 = 0;
  KFixed r = KFixed::FromRaw(0);
  std::int32_t c0[4];  ///< blue, green, red, alpha
  std::int32_t dc[4];

  /// Channel i at k = (t - p0) r, 16.16 and not yet held to its range. Wraps for absurd k.
  std::int32_t Channel(int i, KFixed k) const {
    return static_cast<std::int32_t>((static_cast<std::uint32_t>(c0[i]) << 16) + 0x7F00u +
                                     static_cast<std::uint32_t>(k.raw) *
                                         static_cast<std::uint32_t>(dc[i]));
  }
};

/// Finds the stops around t. The position is kept from one look-up to the next.
class RampReader {
 public:
  explicit RampReader(const KStyleContext2D* style);

  std::int32_t First() const { return first_; }
  std::int32_t Last() const { return last_; }
  std::uint32_t FirstColor() const { return colors_[0]; }
  std::uint32_t LastColor() const { return colors_[count_ - 1]; }
  bool Repeats() const { return repeats_; }
  /// t in a ramp that repeats with the period Last(): 0 to Last() - 1.
  std::int32_t Wrap(std::int32_t t) const {
    const std::int32_t rest = t % last_;
    return rest < 0 ? rest + last_ : rest;
  }
  /// The pair around t, which lies between First() and Last().
  const StopPair& Seek(std::int32_t t) {
    if (t <= pair_.p0 || t > pair_.p1) Move(t);
    return pair_;
  }

 private:
  void Move(std::int32_t t);

  const std::uint32_t* colors_;
  const std::int32_t* positions_;
  std::uint32_t count_;
  std::int32_t first_, last_;
  bool repeats_;
  std::uint32_t index_ = 1;  // of the pair's upper stop
  StopPair pair_;
};

/// The whole part of a channel, held to 0..255.
inline std::uint32_t HeldChannel(std::int32_t v) {
  if (static_cast<std::uint32_t>(v) >= 0x1000000) return v < 0 ? 0 : 255;
  return static_cast<std::uint32_t>(v) >> 16;
}

/// Four channels of 16.16, each held to 0..255, as a pixel.
inline std::uint32_t PackChannels(std::int32_t b, std::int32_t g, std::int32_t r, std::int32_t a) {
  return HeldChannel(a) << 24 | HeldChannel(r) << 16 | HeldChannel(g) << 8 | HeldChannel(b);
}

}  // namespace kalvora

#endif
