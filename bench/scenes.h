// Helpers that the groups of workloads share: items, outlines and pictures.
#ifndef BENCH_SCENES_H
#define BENCH_SCENES_H

#include "bench/Scene.h"

namespace bench {

inline constexpr Color kInk{200, 60, 20, 255};
inline constexpr Color kGlass{200, 60, 20, 128};

Item Rectangle(const Box& box, const Paint& paint);
Item Fill(Path path, Color color = kInk, bool evenOdd = false);
Item Polygon(std::vector<Point> points, Color color = kInk, bool evenOdd = false);
Item Stroke(Path path, const Pen& pen, Color color = kInk);
Scene Of(Item item);

Paint Solid(Color color);
Paint Linear(Point from, Point to, std::vector<Stop> stops, bool repeat = false);
Paint Radial(Point centre, double radius, std::vector<Stop> stops, bool repeat = false);
std::vector<Stop> Stops(int count);

/// `edges` points around a centre; every second one is drawn in by `depth` (0..1).
std::vector<Point> Spikes(Point centre, double radius, int edges, double depth);
/// The corners of a regular polygon, each joined to the one `step` further on.
std::vector<Point> Star(Point centre, double radius, int corners, int step);
Path Circle(Point centre, double radius);
/// One of several closed outlines of curves and lines, as icons have them, in a box of `size`.
Path Icon(int kind, Point origin, double size);
Path Polyline(const std::vector<Point>& points);
/// Soft waves; half transparent with `alpha`.
std::shared_ptr<const Picture> Waves(int size, bool alpha);

}  // namespace bench

#endif
