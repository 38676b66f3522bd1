// Colour ramps as the gradient fillers see them: preparation for a draw, and the colours of a row.
//
// The colour of a pixel is a function of the pixel alone, not of where a span or the clip begins.
// So t, the position along the ramp, and the channels between two stops are computed from the
// pixel's absolute coordinates by integers with enough fraction bits for the widest target.
#ifndef KALVORA_PAINT_GRADIENTS_RAMP_H
#define KALVORA_PAINT_GRADIENTS_RAMP_H

#include <cstdint>

struct KSoftColorRamp;
struct KStyleContext2D;

namespace kalvora {

struct Loops;

/// Where pixels lie along a ramp: t(x, y) = origin + x stepX + y stepY, in any unit.
struct RampLine {
  std::int64_t origin;
  std::int32_t stepX, stepY;

  std::int64_t At(std::int32_t x, std::int32_t y) const {
    return origin + std::int64_t{x} * stepX + std::int64_t{y} * stepY;
  }
};

/// Takes the positions of stops to the unit of a line: (position factor) >> shift.
struct RampScale {
  std::int64_t factor;
  int shift;

  std::int64_t operator()(std::int32_t position) const { return position * factor >> shift; }
};

/// Two neighbouring stops, and the straight lines that channels follow between them:
///
///     channel = c0 + 0x7F00 / 65536 + (t - p0) / (p1 - p0) (c1 - c0)
///
/// Channels are 8.24, blue, green, red, alpha, modulo 2^32; the pixel takes their whole parts.
struct StopPair {
  using Channels = std::uint32_t[4];

  std::int64_t p0, p1;    ///< the pair colours p0 < t <= p1
  std::uint32_t c0, c1;   ///< pixels
  Channels origin;        ///< of pixel (0, 0)
  Channels growX, growY;  ///< what they grow by from a pixel to the next, and to the one below
  Channels growPeriod;    ///< and from a period of the ramp to the next
};

/// A ramp, ready for a draw, followed in memory by its pairs.
struct PreparedRamp {
  RampLine line;
  std::int64_t first, last;  ///< positions of the end stops; a repeating ramp's period is `last`
  std::uint32_t firstColor, lastColor;
  std::uint32_t pairCount;  ///< those whose stops lie apart
  bool repeats;
  const Loops* loops;

  StopPair* Pairs() { return reinterpret_cast<StopPair*>(this + 1); }
  const StopPair* Pairs() const { return reinterpret_cast<const StopPair*>(this + 1); }
  /// An end colour of 0 leaves pixels beyond that end as they are.
  bool ShowsThrough() const { return !repeats && (firstColor == 0 || lastColor == 0); }
  /// Puts the pixels of the draw on a line.
  void SetLine(const RampLine& pixels);
  /// The colour at t, of a ramp that is padded.
  std::uint32_t ColorAt(std::int64_t t) const;
};

/// Prepares a ramp, but for its line, in the style context's scratch buffer, which grows as needed
/// and is kept, weighed by an opacity of 0..256. Behind it lie `words` words for the caller, to
/// which table0 points; table1 points to the ramp. Positions that descend are raised to the one
/// before. A repeating ramp whose period is shorter than `leastPeriod`, at least 1, has the last
/// colour alone, as has one with a factor of 0. Null when there is nothing to draw, or no memory.
PreparedRamp* PrepareRamp(KStyleContext2D* style, const KSoftColorRamp* source,
                          std::int32_t opacity, const RampScale& scale, std::int64_t leastPeriod,
                          std::uint32_t words = 0);

/// A walk along a row, or down a column: a run of pixels of one colour, or between the same two
/// stops, after the other.
class RampWalk {
 public:
  enum Direction { kAlongRow, kDownColumn };

  RampWalk(const PreparedRamp& ramp, std::int32_t x, std::int32_t y,
           Direction direction = kAlongRow)
      : ramp_(ramp),
        pair_(ramp.Pairs()),
        direction_(direction),
        step_(direction == kAlongRow ? ramp.line.stepX : ramp.line.stepY),
        t_(ramp.line.At(x, y)),
        x_(x),
        y_(y) {}

  /// Starts the next run and returns its length, 1 to n.
  int Next(int n);
  /// The run has one colour.
  bool IsFlat() const { return flat_; }
  /// The run lies beyond an end of a padded ramp, where a colour of 0 paints nothing.
  bool IsEnd() const { return ended_; }
  std::uint32_t Color() const { return color_; }
  /// Writes the next n pixels of a run.
  void Write(std::uint32_t* to, int n);
  /// Writes n pixels of as many runs as there are.
  void WriteAll(std::uint32_t* to, int n);

 private:
  int Flat(std::uint32_t color, std::int64_t room, int n);
  void SetColors();
  /// Goes on by up to n pixels, as many as t has room for.
  int Advance(std::int64_t room, int n);

  const PreparedRamp& ramp_;
  const StopPair* pair_;
  Direction direction_;
  std::int64_t step_;
  std::int64_t t_;
  std::int64_t start_ = 0;   // of the period that t lies in
  std::int64_t period_ = 0;  // and its number
  std::int32_t x_, y_;
  bool flat_ = false;
  bool ended_ = false;
  std::uint32_t color_ = 0;
  StopPair::Channels value_;
  const std::uint32_t* grow_ = nullptr;
};

}  // namespace kalvora

#endif
