// Filled polygons, icons and round shapes.
#include <cmath>

#include "bench/Workload.h"
#include "bench/scenes.h"
#include "tests/common/Random.h"

namespace bench {

namespace {

double At(Random& random, int low, int high) {
  return random.Between(low * 256, high * 256) / 256.0;
}

// Polygons of random corners within boxes of that size, all over the target.
Scene Polygons(int count, int corners, int size) {
  Random random(5);
  Scene scene;
  for (int i = 0; i < count; ++i) {
    const double x = At(random, 0, kWidth - size), y = At(random, 0, kHeight - size);
    std::vector<Point> points;
    for (int k = 0; k < corners; ++k) {
      points.push_back({x + At(random, 0, size), y + At(random, 0, size)});
    }
    scene.items.push_back(Polygon(points, {std::uint8_t(i * 37), std::uint8_t(i * 11), 90, 255}));
  }
  return scene;
}

Scene StarOf100(bool evenOdd) { return Of(Polygon(Star({400, 300}, 290, 101, 50), kInk, evenOdd)); }

// Calls `add` with the places of a grid of shapes of that size, at fractional coordinates.
template <typename Add>
Scene Grid(double size, int most, Add add) {
  Scene scene;
  const double step = std::floor(size) + 4.37;
  for (double y = 3.3; y + size < kHeight; y += step) {
    for (double x = 2.6; x + size < kWidth; x += step) {
      if (int(scene.items.size()) == most) return scene;
      scene.items.push_back(add(Point{x, y}, int(scene.items.size())));
    }
  }
  return scene;
}

Scene Icons(double size) {
  return Grid(size, 60, [=](Point p, int i) { return Fill(Icon(i, p, size), kInk, true); });
}

Scene Circles(double radius) {
  return Grid(2 * radius, 60, [=](Point p, int) {
    Item item = Rectangle({p.x, p.y, p.x + 2 * radius, p.y + 2 * radius}, Solid(kInk));
    item.kind = Item::Ellipse;
    return item;
  });
}

Scene RoundedRectangles() {
  return Grid(70, 40, [=](Point p, int) {
    Item item = Rectangle({p.x, p.y, p.x + 70, p.y + 70}, Solid(kInk));
    item.kind = Item::RoundedRectangle;
    item.radius = 12;
    return item;
  });
}

Scene Rings() {
  return Grid(80, 40, [=](Point p, int) {
    Path path = Circle({p.x + 40, p.y + 40}, 40);
    const Path hole = Circle({p.x + 40, p.y + 40}, 30);
    path.steps.insert(path.steps.end(), hole.steps.begin(), hole.steps.end());
    return Fill(path, kInk, true);
  });
}

// A fan of triangles, of which a circle as the clip path shows the inside.
Scene ClipPath() {
  Scene scene;
  scene.clipPath = Circle({400, 300}, 240);
  for (int i = 0; i < 24; ++i) {
    const double a = 0.2618 * i;
    scene.items.push_back(
        Polygon({{400, 300},
                 {400 + 480 * std::cos(a), 300 + 480 * std::sin(a)},
                 {400 + 480 * std::cos(a + 0.2), 300 + 480 * std::sin(a + 0.2)}}));
  }
  return scene;
}

// A dirty rectangle that shows a few icons of many.
Scene ClipRectangle() {
  Scene scene = Icons(48);
  scene.clip = Box{100, 60, 300, 160};
  return scene;
}

}  // namespace

void AddShapes(Workloads& rows) {
  rows.insert(rows.end(),
              {
                  {"fill/star-100-nonzero", 0.2, [] { return StarOf100(false); }, true},
                  {"fill/star-100-evenodd", 0.25, [] { return StarOf100(true); }, true},
                  {"fill/polygons-10", 0.35, [] { return Polygons(40, 10, 200); }, true},
                  {"fill/triangles-16", 0.3, [] { return Polygons(200, 3, 16); }, true},
                  {"fill/triangles-200", 0.35, [] { return Polygons(40, 3, 200); }, true},
                  {"fill/icons-24", 0.3, [] { return Icons(24); }, true},
                  {"fill/icons-96", 0.35, [] { return Icons(96); }, true},
                  {"fill/icons-400", 0.35, [] { return Icons(400); }, true},
                  {"fill/circles-8", 0.3, [] { return Circles(8); }, true},
                  {"fill/circles-40", 0.3, [] { return Circles(40); }, true},
                  {"fill/circles-200", 0.4, [] { return Circles(200); }, true},
                  {"fill/rounded-rects", 0.4, RoundedRectangles, true},
                  {"fill/rings", 0.3, Rings, true},
                  {"fill/clip-path", 0.25, ClipPath, true},
                  {"fill/clip-rect-icons", 0.3, ClipRectangle, true},
              });
}

}  // namespace bench
