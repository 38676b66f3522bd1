// Short forms for drawing by hand: points and shapes from doubles.
#ifndef EXAMPLES_GALLERY_SKETCH_H
#define EXAMPLES_GALLERY_SKETCH_H

#include "kalvora/kalvora.h"

namespace gallery {

KFixed Fixed(double value);
inline KVertex2D At(double x, double y) { return {Fixed(x), Fixed(y)}; }
/// The point at an angle, clockwise from the right, around a centre.
KVertex2D Polar(double x, double y, double radius, double degrees);

void AddCircle(KSoftPath& path, double x, double y, double radius);
void AddRectangle(KSoftPath& path, double x, double y, double width, double height);
/// A star of `points` points that joins every `step`-th of them, so that it crosses itself.
void AddStar(KSoftPath& path, double x, double y, double radius, int points, int step);

/// Fills a path with a straight colour.
void Fill(KSoftContext2D& context, const KSoftPath& path, KColor32 color);
/// A bright colour from around the colour circle.
KColor32 Hue(double degrees, unsigned alpha = 255);

}  // namespace gallery

#endif
