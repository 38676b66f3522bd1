// Pixel formats, samplings and edge rules.
#ifndef KALVORA_CORE_KFORMAT_H
#define KALVORA_CORE_KFORMAT_H

#include <cstdint>

/// Pixel formats by value. Bit 0 says "has alpha". Only 4 and 5 can be drawn into.
enum KFormat : std::int32_t {
  KFormatMask8 = 0,         ///< one 8-bit channel: alpha or grey
  KFormat16Alpha = 1,       ///< a 16-bit format with alpha
  KFormat16 = 2,            ///< a 16-bit format
  KFormat24 = 3,            ///< stored in 16 bits, opened by displays with 24 bits a pixel
  KFormat0888PM = 4,        ///< KColor_0888_PM: 32-bit premultiplied, opaque, top byte unused
  KFormat8888PM = 5,        ///< KColor_8888_PM: 32-bit premultiplied with alpha
  KFormat8888Straight = 6,  ///< 32-bit, straight alpha: for import and export only
};

/// How a pattern is sampled. Neighbours are those of the pixmap also where its rows are padded: a
/// window of a larger picture shows nothing of what surrounds it.
enum KSampling : std::int32_t {
  KSamplingNearest = 0,
  KSamplingBilinear = 1,
  KSamplingBicubic = 2,
  KSamplingCopy = 5,  ///< whole pixels under a pure translation; chosen per draw, never stored
};

/// What a pattern shows outside its pixmap.
enum KRepeatRule : std::int32_t {
  KRepeatClamp = 0,  ///< the edge pixels
  KRepeatTile = 1,   ///< the pixmap again
};

/// Tags that name the two drawable pixel layouts in templates.
struct KColor_0888_PM {};
struct KColor_8888_PM {};

#endif
