// Scene: what a workload draws, in plain data that every peer turns into its own objects.
#ifndef BENCH_SCENE_H
#define BENCH_SCENE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bench {

struct Point {
  double x = 0, y = 0;
};

struct Box {
  double left = 0, top = 0, right = 0, bottom = 0;

  double Width() const { return right - left; }
  double Height() const { return bottom - top; }
};

/// x' = a x + c y + e, y' = b x + d y + f.
struct Affine {
  double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

  Point operator*(Point p) const { return {a * p.x + c * p.y + e, b * p.x + d * p.y + f}; }
};
/// Turns by `degrees` around `centre`, clockwise on the screen.
Affine Turn(double degrees, Point centre);

struct Path {
  struct Step {
    enum Kind : std::uint8_t { Move, Line, Cubic, Close } kind;
    Point p[3];  ///< the end is p[0], or p[2] of a cubic
  };
  std::vector<Step> steps;

  void MoveTo(Point p) { steps.push_back({Step::Move, {p, {}, {}}}); }
  void LineTo(Point p) { steps.push_back({Step::Line, {p, {}, {}}}); }
  void CubicTo(Point a, Point b, Point p) { steps.push_back({Step::Cubic, {a, b, p}}); }
  void Close() { steps.push_back({Step::Close, {}}); }
};

/// Straight alpha.
struct Color {
  std::uint8_t red = 0, green = 0, blue = 0, alpha = 255;
};

struct Stop {
  double offset;
  Color color;
};

struct Paint {
  enum Kind { Solid, Linear, Radial } kind = Solid;
  Color color;
  Point from, to;  ///< the axis of a linear gradient; a radial one's centre is `from`
  double radius = 0;
  Affine matrix;  ///< gradient to pixels
  std::vector<Stop> stops;
  bool repeat = false;
};

enum class Cap { Butt, Square, Round };
enum class Join { Bevel, Miter, Round };

struct Pen {
  double width = 1;
  Join join = Join::Miter;
  Cap cap = Cap::Butt;
  double miterLimit = 4;
  std::vector<double> dashes;
};

enum class Filter { Nearest, Bilinear, Bicubic };

/// Premultiplied words 0xAARRGGBB.
struct Picture {
  int width, height;
  bool alpha;
  std::vector<std::uint32_t> pixels;
};

/// One byte of coverage a pixel; rows are multiples of four bytes.
struct Mask {
  int width, height, stride;
  std::vector<std::uint8_t> bytes;
};

struct Stamp {
  std::shared_ptr<const Mask> mask;
  int x, y;
};

struct Item {
  enum Kind {
    Rectangle,         ///< box
    RoundedRectangle,  ///< box, radius
    Ellipse,           ///< box
    Polygon,           ///< points, evenOdd
    Fill,              ///< path, evenOdd
    Stroke,            ///< path, pen
    Image,             ///< picture stretched onto box, then turned by matrix; filter
    Stamps,            ///< stamps in the colour of the paint
    Text,              ///< text in a font's size from box.left, box.top on, on the baseline
  } kind = Rectangle;
  Paint paint;
  Box box;
  double radius = 0;
  bool evenOdd = false;
  std::vector<Point> points;
  Path path;
  Pen pen;
  std::shared_ptr<const Picture> picture;
  Affine matrix;
  Filter filter = Filter::Nearest;
  std::vector<Stamp> stamps;
  std::u16string text;
  std::string font;
  double size = 0;
  bool cold = false;  ///< in a size never used before, so that no glyph is ready
};

inline constexpr int kWidth = 800, kHeight = 600;

/// Drawn on an opaque white target.
struct Scene {
  int width = kWidth, height = kHeight;
  std::optional<Box> clip;  ///< whole pixels
  std::optional<Path> clipPath;
  std::vector<Item> items;
};

}  // namespace bench

#endif
