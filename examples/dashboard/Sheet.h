// The sheet that the instruments are drawn on: 320 x 480 units, whatever the display's size.
#ifndef EXAMPLES_DASHBOARD_SHEET_H
#define EXAMPLES_DASHBOARD_SHEET_H

#include <string>
#include <vector>

#include "kalvora/kalvora.h"

#include "examples/gallery/Kit.h"
#include "examples/gallery/sketch.h"

namespace dashboard {

using gallery::At;
using gallery::Fixed;
using gallery::Polar;

inline constexpr KColor32 kPage{0x0C, 0x11, 0x1A, 255};
inline constexpr KColor32 kPanel{0x18, 0x20, 0x2E, 255};
inline constexpr KColor32 kTrack{0x2C, 0x38, 0x4C, 255};
inline constexpr KColor32 kDim{0x8A, 0x98, 0xAE, 255};
inline constexpr KColor32 kBright{0xF2, 0xF6, 0xFC, 255};
inline constexpr KColor32 kCyan{0x2F, 0xC8, 0xE8, 255};
inline constexpr KColor32 kGreen{0x5A, 0xD6, 0x8A, 255};
inline constexpr KColor32 kOrange{0xFF, 0x9F, 0x40, 255};
inline constexpr KColor32 kRed{0xFF, 0x55, 0x66, 255};

/// A rectangle in sheet units.
struct Area {
  double left, top, right, bottom;

  double Width() const { return right - left; }
  double Height() const { return bottom - top; }
  double CentreX() const { return (left + right) / 2; }
  double CentreY() const { return (top + bottom) / 2; }
};

/// Sizes of lettering, in sheet units.
enum Lettering { kSmall = 9, kMedium = 13, kLarge = 23 };
enum class Align { kLeft, kCentre, kRight };

/// A drawing context whose transform fits the sheet into the display.
class Sheet {
 public:
  static constexpr double kWidth = 320;
  static constexpr double kHeight = 480;

  /// Without a font (null, or a file that is none) the sheet has no lettering.
  Sheet(KSoftContext2D& target, const char* font);
  Sheet(const Sheet&) = delete;
  Sheet& operator=(const Sheet&) = delete;

  KSoftContext2D& Context() { return context; }
  /// Paths and ramps for the instrument that is being drawn.
  gallery::Kit& Things() { return *kit; }
  /// Goes on to another instrument, which has its own.
  void Use(gallery::Kit& things) {
    kit = &things;
    kit->NextFrame();
  }
  /// Sheet units to device pixels.
  const KSoftMatrix3D& ToDevice() const { return toDevice; }
  /// The device pixels that an area touches.
  KRect Pixels(const Area& area) const;

  /// Starts drawing an instrument: clips to its area and paints its panel.
  void Open(const Area& area);
  void FillPath(const KSoftPath& path, KColor32 color);
  void StrokePath(const KSoftPath& path, KColor32 color, double width, unsigned caps = kButtCap);
  /// A rounded rectangle, filled.
  void FillRound(const Area& area, double radius, KColor32 color);
  /// A stroked arc, clockwise from `start` degrees.
  void StrokeArc(double x, double y, double radius, double start, double sweep, KColor32 color,
                 double width, unsigned caps = kButtCap);
  /// One line of Latin-1 text on the baseline y.
  void Write(const std::string& text, double x, double y, Lettering size, Align align,
             KColor32 color);

 private:
  KFTFont* FontOf(Lettering size);

  KSoftContext2D& context;
  gallery::Kit* kit = nullptr;
  std::vector<unsigned short> codes;  // of the text being written
  KSoftMatrix3D toDevice;
  KFTFont fonts[3];  // one for each size, so that none changes its size
};

}  // namespace dashboard

#endif
