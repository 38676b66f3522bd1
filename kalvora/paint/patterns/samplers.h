// Samplers: source pixels of a pattern for the device pixels of a row, one class a sampling.
#ifndef KALVORA_PAINT_PATTERNS_SAMPLERS_H
#define KALVORA_PAINT_PATTERNS_SAMPLERS_H

#include "kalvora/core/KFormat.h"
#include "kalvora/paint/loops/loops.h"
#include "kalvora/paint/patterns/patternwalk.h"

namespace kalvora {

// Every sampler is made for the span of a style context and then read from left to right. It reads
// nothing when the source has no pixels, which strip selection sees to.

/// The pixel that the position lies in.
template <KRepeatRule R>
class NearestSampler {
 public:
  explicit NearestSampler(const KStyleContext2D* style);
  void Read(std::uint32_t* to, int n);

 private:
  PatternPixels source_;
  PatternPosition at_;
  InsideRun inside_;  // needs no clamping
};

/// Four neighbours, weighed by the position half a pixel back.
template <KRepeatRule R>
class BilinearSampler {
 public:
  explicit BilinearSampler(const KStyleContext2D* style);
  void Read(std::uint32_t* to, int n);

 private:
  void ReadPlaced(std::uint32_t* to, int n);
  void Step();

  const TurnLoops& loops_;
  PatternPixels source_;
  PatternPosition at_;
  InsideRun inside_;
};

/// Sixteen neighbours.
template <KRepeatRule R>
class BicubicRows {
 public:
  BicubicRows(const KStyleContext2D* style, SampleAlpha alpha);
  void Read(std::uint32_t* to, int n);

 private:
  void ReadSome(std::uint32_t* to, int n);

  const TurnLoops& loops_;
  SampleAlpha alpha_;
  PatternPixels source_;
  PatternPosition at_;
};

template <KRepeatRule R, SampleAlpha A>
struct BicubicSampler : BicubicRows<R> {
  explicit BicubicSampler(const KStyleContext2D* style) : BicubicRows<R>(style, A) {}
};

/// Whole pixels of one row, for translations.
template <KRepeatRule R>
class CopySampler {
 public:
  explicit CopySampler(const KStyleContext2D* style);
  void Read(std::uint32_t* to, int n);

 private:
  PatternPixels source_;
  const std::uint8_t* row_;
  std::int32_t column_;
};

/// One bicubic sample at (u, v), 16.16, whole numbers meaning the centres of pixels.
template <KRepeatRule R>
std::uint32_t SampleBicubic(const PatternPixels& source, std::int32_t u, std::int32_t v,
                            SampleAlpha alpha);

}  // namespace kalvora

#endif
