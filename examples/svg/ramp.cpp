// Ramps: see the header.
#include "examples/svg/ramp.h"

#include <cmath>

#include "examples/svg/fixedpath.h"

namespace svg {

namespace {

using Stops = std::vector<Gradient::Stop>;

// The library takes a pixel's colour at its top left corner, SVG at its centre.
constexpr Point kHalfPixel{0.5, 0.5};
constexpr double kFarthest = 16000;

bool IsNear(Point p) { return std::abs(p.x) < kFarthest && std::abs(p.y) < kFarthest; }

Gradient::Stop Between(const Gradient::Stop& a, const Gradient::Stop& b, double t) {
  const auto mix = [t](double x, double y) { return x + (y - x) * t; };
  const auto byte = [&](double x, double y) {
    return static_cast<std::uint8_t>(std::lround(mix(x, y)));
  };
  return {mix(a.offset, b.offset),
          {byte(a.color.red, b.color.red), byte(a.color.green, b.color.green),
           byte(a.color.blue, b.color.blue), mix(a.color.alpha, b.color.alpha)}};
}

// The library mixes premultiplied colours, SVG straight ones: where the alpha changes, stops in
// between keep the two close.
Stops WithSteps(const Stops& stops) {
  constexpr int kSteps = 8;
  Stops result;
  for (std::size_t i = 0; i < stops.size(); ++i) {
    if (i > 0 && stops[i].color.alpha != stops[i - 1].color.alpha) {
      for (int k = 1; k < kSteps; ++k) {
        result.push_back(Between(stops[i - 1], stops[i], double(k) / kSteps));
      }
    }
    result.push_back(stops[i]);
  }
  return result;
}

// A ramp that repeats does so after its last stop: it must reach from 0 to 1, and, reflected, back.
void MakePeriodic(Stops& stops, Gradient::Spread spread) {
  if (spread == Gradient::Spread::Pad) return;
  if (stops.front().offset > 0) stops.insert(stops.begin(), {0, stops.front().color});
  if (stops.back().offset < 1) stops.push_back({1, stops.back().color});
  if (spread == Gradient::Spread::Repeat) return;
  for (std::size_t i = stops.size(); i-- > 0;) {
    stops.push_back({2 - stops[i].offset, stops[i].color});
  }
}

std::vector<KColorStop> ToColorStops(const Gradient& gradient) {
  Stops stops = WithSteps(gradient.stops);
  MakePeriodic(stops, gradient.spread);
  std::vector<KColorStop> result;
  for (const Gradient::Stop& s : stops) {
    const auto alpha = static_cast<unsigned>(std::lround(s.color.alpha * 255));
    result.push_back(
        {ToFixed(s.offset), KColor32(s.color.red, s.color.green, s.color.blue, alpha)});
  }
  return result;
}

// The lines of equal colour stay parallel to the image of what was square to the axis, so the axis
// on the picture is the part of the mapped axis that is square to them.
bool SetLinear(KSoftColorRamp& ramp, const Gradient& g, const Affine& m,
               const std::vector<KColorStop>& stops, KSpread spread) {
  const Point start = m * g.from, axis = m * g.to - start;
  const Point across = m * (g.from + Point{g.from.y - g.to.y, g.to.x - g.from.x}) - start;
  const double square = across.x * across.x + across.y * across.y;
  if (!(square > 0)) return false;
  const double along = (axis.x * across.x + axis.y * across.y) / square;
  const Point end = start + axis - across * along;
  if (!IsNear(start) || !IsNear(end)) return false;
  return ramp.SetLinear(ToFixed(start - kHalfPixel), ToFixed(end - kHalfPixel), stops.data(),
                        static_cast<unsigned>(stops.size()), spread);
}

// The matrix gets the shape of the ellipse, the radius its size: both then keep their precision.
bool SetRadial(KSoftColorRamp& ramp, const Gradient& g, const Affine& m,
               const std::vector<KColorStop>& stops, KSpread spread) {
  const double size = std::sqrt(std::abs(m.Determinant()));
  const Point centre = m * g.centre;
  if (!(size > 0) || !(g.radius * size < kFarthest) || !IsNear(centre)) return false;
  KSoftMatrix3D shape;
  shape.Set(ToFixed(m.a / size), ToFixed(m.b / size), ToFixed(m.c / size), ToFixed(m.d / size),
            ToFixed(centre.x - kHalfPixel.x), ToFixed(centre.y - kHalfPixel.y));
  return ramp.SetRadial(KVertex2D::Origin, ToFixed(g.radius * size), shape, stops.data(),
                        static_cast<unsigned>(stops.size()), spread);
}

}  // namespace

bool SetRamp(KSoftColorRamp& ramp, const Gradient& gradient, const Affine& toPixels) {
  if (!toPixels.IsFinite() || gradient.stops.empty()) return false;
  const auto stops = ToColorStops(gradient);
  const KSpread spread = gradient.spread == Gradient::Spread::Pad ? KSpreadPad : KSpreadRepeat;
  return gradient.radial ? SetRadial(ramp, gradient, toPixels, stops, spread)
                         : SetLinear(ramp, gradient, toPixels, stops, spread);
}

}  // namespace svg
