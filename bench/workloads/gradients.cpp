// Rectangles full of gradients.
#include "bench/Workload.h"
#include "bench/scenes.h"

namespace bench {

namespace {

constexpr Box kFull{0, 0, kWidth, kHeight};

// Twelve squares of that size, each with the gradient around its own place.
Scene Squares(double size, Paint paint) {
  Scene scene;
  for (int i = 0; i < 12; ++i) {
    const double x = 10 + i % 4 * 190, y = 10 + i / 4 * 190;
    paint.matrix = {1, 0, 0, 1, x, y};
    scene.items.push_back(Rectangle({x, y, x + size, y + size}, paint));
  }
  return scene;
}

Scene Full(const Paint& paint) { return Of(Rectangle(kFull, paint)); }

}  // namespace

void AddGradients(Workloads& rows) {
  rows.insert(rows.end(), {
                              {"linear/across-128", 0.5,
                               [] {
                                 return Squares(128, Linear({0, 0}, {128, 0}, Stops(2)));
                               }},
                              {"linear/across-full", 0,
                               [] {
                                 return Full(Linear({0, 0}, {kWidth, 0}, Stops(2)));
                               }},
                              {"linear/down-128", 1.0,
                               [] {
                                 return Squares(128, Linear({0, 0}, {0, 128}, Stops(2)));
                               }},
                              {"linear/down-full", 1.0,
                               [] {
                                 return Full(Linear({0, 0}, {0, kHeight}, Stops(2)));
                               }},
                              {"linear/diagonal-128", 0.4,
                               [] {
                                 return Squares(128, Linear({0, 0}, {128, 100}, Stops(2)));
                               }},
                              {"linear/diagonal-full", 0.4,
                               [] {
                                 return Full(Linear({0, 0}, {kWidth, kHeight}, Stops(2)));
                               }},
                              {"linear/5-stops-full", 0.6,
                               [] {
                                 return Full(Linear({0, 0}, {kWidth, kHeight}, Stops(5)));
                               }},
                              {"linear/repeat-full", 0.8,
                               [] {
                                 return Full(Linear({100, 100}, {220, 160}, Stops(3), true));
                               },
                               false, 6},
                              {"radial/pad-256", 0.6,
                               [] {
                                 return Squares(170, Radial({85, 85}, 90, Stops(3)));
                               }},
                              {"radial/pad-full", 0.6,
                               [] {
                                 return Full(Radial({400, 300}, 420, Stops(3)));
                               }},
                              {"radial/repeat-256", 0.9,
                               [] {
                                 return Squares(170, Radial({85, 85}, 40, Stops(3), true));
                               },
                               false, 6},
                              {"radial/repeat-full", 0.9,
                               [] {
                                 return Full(Radial({400, 300}, 120, Stops(3), true));
                               },
                               false, 6},
                          });
}

}  // namespace bench
