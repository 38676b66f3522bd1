// Helpers: see the header.
#include "bench/scenes.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace bench {

namespace {
constexpr double kPi = std::numbers::pi;
}

Affine Turn(double degrees, Point centre) {
  const double c = std::cos(degrees * kPi / 180), s = std::sin(degrees * kPi / 180);
  return {
      c, s, -s, c, centre.x - c * centre.x + s * centre.y, centre.y - s * centre.x - c * centre.y};
}

Item Rectangle(const Box& box, const Paint& paint) {
  Item item;
  item.kind = Item::Rectangle;
  item.box = box;
  item.paint = paint;
  return item;
}

Item Fill(Path path, Color color, bool evenOdd) {
  Item item;
  item.kind = Item::Fill;
  item.path = std::move(path);
  item.paint = Solid(color);
  item.evenOdd = evenOdd;
  return item;
}

Item Polygon(std::vector<Point> points, Color color, bool evenOdd) {
  Item item;
  item.kind = Item::Polygon;
  item.points = std::move(points);
  item.paint = Solid(color);
  item.evenOdd = evenOdd;
  return item;
}

Item Stroke(Path path, const Pen& pen, Color color) {
  Item item;
  item.kind = Item::Stroke;
  item.path = std::move(path);
  item.pen = pen;
  item.paint = Solid(color);
  return item;
}

Scene Of(Item item) {
  Scene scene;
  scene.items.push_back(std::move(item));
  return scene;
}

Paint Solid(Color color) {
  Paint paint;
  paint.color = color;
  return paint;
}

Paint Linear(Point from, Point to, std::vector<Stop> stops, bool repeat) {
  Paint paint;
  paint.kind = Paint::Linear;
  paint.from = from;
  paint.to = to;
  paint.stops = std::move(stops);
  paint.repeat = repeat;
  return paint;
}

Paint Radial(Point centre, double radius, std::vector<Stop> stops, bool repeat) {
  Paint paint = Linear(centre, {}, std::move(stops), repeat);
  paint.kind = Paint::Radial;
  paint.radius = radius;
  return paint;
}

std::vector<Stop> Stops(int count) {
  constexpr Color kColors[] = {{250, 240, 200, 255},
                               {30, 60, 160, 255},
                               {200, 60, 20, 255},
                               {40, 160, 80, 255},
                               {20, 20, 60, 255}};
  std::vector<Stop> stops;
  for (int i = 0; i < count; ++i) stops.push_back({i / (count - 1.0), kColors[i]});
  return stops;
}

std::vector<Point> Spikes(Point centre, double radius, int edges, double depth) {
  std::vector<Point> points;
  for (int i = 0; i < edges; ++i) {
    const double a = 0.3 + 2 * kPi * i / edges, r = radius * (i % 2 ? 1 - depth : 1);
    points.push_back({centre.x + r * std::cos(a), centre.y + r * std::sin(a)});
  }
  return points;
}

std::vector<Point> Star(Point centre, double radius, int corners, int step) {
  std::vector<Point> points;
  for (int i = 0; i < corners; ++i) {
    const double a = 0.3 + 2 * kPi * (i * step % corners) / corners;
    points.push_back({centre.x + radius * std::cos(a), centre.y + radius * std::sin(a)});
  }
  return points;
}

Path Circle(Point c, double r) {
  const double k = r * 0.5522847498;
  Path path;
  path.MoveTo({c.x + r, c.y});
  path.CubicTo({c.x + r, c.y + k}, {c.x + k, c.y + r}, {c.x, c.y + r});
  path.CubicTo({c.x - k, c.y + r}, {c.x - r, c.y + k}, {c.x - r, c.y});
  path.CubicTo({c.x - r, c.y - k}, {c.x - k, c.y - r}, {c.x, c.y - r});
  path.CubicTo({c.x + k, c.y - r}, {c.x + r, c.y - k}, {c.x + r, c.y});
  path.Close();
  return path;
}

namespace {

void Append(Path& path, const Path& other) {
  path.steps.insert(path.steps.end(), other.steps.begin(), other.steps.end());
}

// In a box of 1.
Path UnitIcon(int kind) {
  Path p;
  switch (kind % 4) {
    case 0:  // a heart
      p.MoveTo({0.5, 0.9});
      p.CubicTo({0.1, 0.6}, {0, 0.45}, {0.02, 0.3});
      p.CubicTo({0.05, 0.1}, {0.35, 0.02}, {0.5, 0.25});
      p.CubicTo({0.65, 0.02}, {0.95, 0.1}, {0.98, 0.3});
      p.CubicTo({1, 0.45}, {0.9, 0.6}, {0.5, 0.9});
      p.Close();
      break;
    case 1:  // a magnifying glass
      Append(p, Circle({0.4, 0.4}, 0.36));
      Append(p, Circle({0.4, 0.4}, 0.26));
      p.MoveTo({0.64, 0.7});
      p.LineTo({0.7, 0.64});
      p.LineTo({0.97, 0.91});
      p.CubicTo({1, 0.95}, {0.95, 1}, {0.91, 0.97});
      p.Close();
      break;
    case 2:  // a cloud
      p.MoveTo({0.2, 0.8});
      p.CubicTo({0.05, 0.8}, {0, 0.7}, {0.02, 0.6});
      p.CubicTo({0.04, 0.5}, {0.12, 0.46}, {0.2, 0.46});
      p.CubicTo({0.22, 0.25}, {0.35, 0.18}, {0.48, 0.2});
      p.CubicTo({0.6, 0.22}, {0.68, 0.3}, {0.7, 0.4});
      p.CubicTo({0.88, 0.38}, {0.98, 0.48}, {0.98, 0.6});
      p.CubicTo({0.98, 0.72}, {0.9, 0.8}, {0.78, 0.8});
      p.Close();
      break;
    default:  // a gear of soft teeth with a hole
      for (int i = 0; i < 8; ++i) {
        const auto at = [i](double turn, double r) {
          const double a = (i + turn) * kPi / 4;
          return Point{0.5 + r * std::cos(a), 0.5 + r * std::sin(a)};
        };
        i ? p.LineTo(at(0, 0.36)) : p.MoveTo(at(0, 0.36));
        p.CubicTo(at(0.1, 0.5), at(0.15, 0.5), at(0.3, 0.5));
        p.CubicTo(at(0.45, 0.5), at(0.5, 0.5), at(0.6, 0.36));
      }
      p.Close();
      Append(p, Circle({0.5, 0.5}, 0.16));
  }
  return p;
}

}  // namespace

Path Icon(int kind, Point origin, double size) {
  Path path = UnitIcon(kind);
  for (Path::Step& s : path.steps) {
    for (Point& p : s.p) p = {origin.x + size * p.x, origin.y + size * p.y};
  }
  return path;
}

Path Polyline(const std::vector<Point>& points) {
  Path path;
  path.MoveTo(points.front());
  for (std::size_t i = 1; i < points.size(); ++i) path.LineTo(points[i]);
  return path;
}

std::shared_ptr<const Picture> Waves(int size, bool alpha) {
  auto picture = std::make_shared<Picture>(Picture{size, size, alpha, {}});
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      const auto wave = [](double v) {
        return static_cast<std::uint32_t>(63.5 + 60 * std::sin(v));
      };
      const std::uint32_t r = wave(x * 0.07 + y * 0.02), g = wave(y * 0.05),
                          b = wave((x + y) * 0.03);
      picture->pixels.push_back((alpha ? 0x80000000 : 0xFF000000) | r << 16 | g << 8 | b);
    }
  }
  return picture;
}

}  // namespace bench
