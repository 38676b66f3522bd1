// KSoftColorRamp: the colour stops of a gradient and where the gradient lies.
#ifndef KALVORA_PAINT_KSOFTCOLORRAMP_H
#define KALVORA_PAINT_KSOFTCOLORRAMP_H

#include <cstdint>

#include "kalvora/core/KColor32.h"
#include "kalvora/core/KSoftMatrix3D.h"

/// One stop of a gradient: a position along it, 0 to 1.0, and a straight (not premultiplied)
/// colour.
struct KColorStop {
  KFixed position;  ///< 0 to 1.0
  KColor32 color;   ///< straight
};

/// How a gradient goes on beyond its last stop.
enum KSpread : std::uint32_t {
  KSpreadPad = 0,     ///< with the end colours
  KSpreadRepeat = 1,  ///< with the ramp again, its period being the last stop's position
};

/// A gradient: stops, and a matrix that places them on the device.
///
/// Either fill the plain fields and keep the arrays they point at alive, or let SetLinear and
/// SetRadial make arrays that the ramp owns. All coordinates are device pixels: the transform of
/// the drawing context does not apply to paints. A ramp is borrowed by the contexts that it is
/// given to and must outlive their draws; it may be read by several threads at once. Ramps cannot
/// be copied.
///
/// Fewer than one stop draws nothing; one stop is that colour everywhere; equal positions switch
/// the colour sharply; a position that descends counts as the highest before it. A linear ramp that
/// repeats more than 16 times a pixel shows its last colour.
struct KALVORA_API KSoftColorRamp {
  /// Linear: the images of (0, 0) and (1, 0) are where the ramp starts and where position 1.0 lies;
  /// an axis without length shows the last colour. Radial: (m6, m7) is the centre, and the length
  /// of (x - m6, y - m7) times the linear part of the matrix is the position of a pixel.
  KSoftMatrix3D axis;
  std::uint32_t reserved0 = 0;              ///< not read
  const std::uint32_t* colors = nullptr;    ///< premultiplied words 0xAARRGGBB
  const std::int32_t* positions = nullptr;  ///< raw 16.16
  std::uint32_t count = 0;                  ///< number of stops
  std::uint32_t reserved1 = 0;              ///< not used
  std::uint32_t spread = KSpreadPad;        ///< 1 repeats, any other value pads
  /// Not 0 when some stop is not opaque. It makes linear gradients blend. Radial gradients go by
  /// the paint's `translucent` flag instead, that is, by the colour that was set last.
  std::uint32_t rampAlpha = 0;

  KSoftColorRamp() = default;
  ~KSoftColorRamp();
  KSoftColorRamp(const KSoftColorRamp&) = delete;
  KSoftColorRamp& operator=(const KSoftColorRamp&) = delete;

  /// A linear gradient from `start` to `end`.
  ///
  /// All Set functions copy the stops into memory of the ramp, which is kept for later stops,
  /// premultiplied, and raise positions that descend to the one before. False when there is no stop
  /// or memory runs out; the ramp is then as it was.
  bool SetLinear(KVertex2D start, KVertex2D end, const KColorStop* stops, unsigned count,
                 KSpread mode = KSpreadPad);
  /// The same with the points, and the lines of equal colour across the axis, mapped by the affine
  /// part of `m` from user space to the device.
  bool SetLinear(KVertex2D start, KVertex2D end, const KSoftMatrix3D& m, const KColorStop* stops,
                 unsigned count, KSpread mode = KSpreadPad);
  /// A radial gradient around `centre`; position 1.0 lies on the circle of `radius` pixels. A
  /// radius of 0 and less shows the last colour.
  bool SetRadial(KVertex2D centre, KFixed radius, const KColorStop* stops, unsigned count,
                 KSpread mode = KSpreadPad);
  /// The same with centre and circle mapped by the affine part of `m` from user space to the
  /// device: an ellipse. A matrix without an inverse shows the last colour.
  bool SetRadial(KVertex2D centre, KFixed radius, const KSoftMatrix3D& m, const KColorStop* stops,
                 unsigned count, KSpread mode = KSpreadPad);

 private:
  bool SetStops(const KColorStop* stops, unsigned stopCount, KFixed scale, KSpread mode);
  bool NeedRoom(unsigned stopCount);
  void ShowLastOnly();

  std::uint32_t* ownedStops_ = nullptr;  ///< colours, then positions
  std::uint32_t ownedRoom_ = 0;          ///< stops that there is room for
};

#endif
