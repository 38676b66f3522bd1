// Rectangles in plain colours, on whole pixels and between them.
#include "bench/Workload.h"
#include "bench/scenes.h"

namespace bench {

namespace {

// As many as fit in rows and columns, at most 100, `offset` away from whole pixels.
Scene Rectangles(double width, double height, Color color, double offset) {
  Scene scene;
  for (double y = 1 + offset; y + height < kHeight && scene.items.size() < 100;
       y += int(height) + 3) {
    for (double x = 2 + offset; x + width < kWidth && scene.items.size() < 100;
         x += int(width) + 5) {
      scene.items.push_back(Rectangle({x, y, x + width, y + height}, Solid(color)));
    }
  }
  return scene;
}

Scene FullScreen(Color color) { return Of(Rectangle({0, 0, kWidth, kHeight}, Solid(color))); }

Scene ClippedAway() {
  Scene scene = Rectangles(32, 32, kInk, 0);
  scene.clip = Box{0, 590, 8, 598};
  return scene;
}

}  // namespace

void AddRectangles(Workloads& rows) {
  rows.insert(rows.end(),
              {
                  {"rect/opaque-8", 0.4, [] { return Rectangles(8, 8, kInk, 0); }},
                  {"rect/opaque-32", 0.5, [] { return Rectangles(32, 32, kInk, 0); }},
                  {"rect/opaque-128", 0, [] { return Rectangles(128, 128, kInk, 0); }},
                  {"rect/opaque-full", 1.0, [] { return FullScreen(kInk); }},
                  {"rect/translucent-8", 0.3, [] { return Rectangles(8, 8, kGlass, 0); }},
                  {"rect/translucent-32", 0.4, [] { return Rectangles(32, 32, kGlass, 0); }},
                  {"rect/translucent-128", 0.5, [] { return Rectangles(128, 128, kGlass, 0); }},
                  {"rect/translucent-full", 0.6, [] { return FullScreen(kGlass); }},
                  {"rect/fractional-8", 0.4, [] { return Rectangles(8.5, 8.25, kInk, 0.3); }},
                  {"rect/fractional-32", 0.4, [] { return Rectangles(32.5, 32.25, kInk, 0.3); }},
                  {"rect/fractional-128", 0.5, [] { return Rectangles(128.5, 128.25, kInk, 0.3); }},
                  {"rect/fractional-512", 0.7, [] { return Rectangles(512.5, 512.25, kInk, 0.3); }},
                  {"rect/hairline-across", 0.2, [] { return Rectangles(700, 1, kInk, 0.4); }},
                  {"rect/hairline-down", 0, [] { return Rectangles(1, 500, kInk, 0.4); }},
                  {"rect/clipped-away-x100", 0, ClippedAway},
              });
}

}  // namespace bench
