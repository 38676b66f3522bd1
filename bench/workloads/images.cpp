// Pictures: one to one, stretched, and turned.
#include "bench/Workload.h"
#include "bench/scenes.h"

namespace bench {

namespace {

constexpr double kPicture = 256;

Item Image(const std::shared_ptr<const Picture>& picture, const Box& box, Filter filter) {
  Item item;
  item.kind = Item::Image;
  item.picture = picture;
  item.box = box;
  item.filter = filter;
  return item;
}

// One to one, up to 60 times on whole pixels.
Scene Copies(int size, bool alpha) {
  const auto picture = Waves(size, alpha);
  Scene scene;
  for (int y = 5; y + size < kHeight; y += size + 3) {
    for (int x = 7; x + size < kWidth && scene.items.size() < 60; x += size + 5) {
      scene.items.push_back(Image(
          picture, {double(x), double(y), double(x + size), double(y + size)}, Filter::Nearest));
    }
  }
  return scene;
}

Scene Stretched(double scale, Filter filter) {
  return Of(Image(Waves(int(kPicture), false),
                  {20, 20, 20 + kPicture * scale, 20 + kPicture * scale}, filter));
}

Scene Turned(Filter filter) {
  Item item = Image(Waves(int(kPicture), false), {200, 120, 560, 480}, filter);
  item.matrix = Turn(20, {380, 300});
  return Of(item);
}

}  // namespace

void AddImages(Workloads& rows) {
  const auto stretched = [](double scale, Filter filter) {
    return [=] { return Stretched(scale, filter); };
  };
  rows.insert(rows.end(),
              {
                  {"image/copy-32", 1.0, [] { return Copies(32, false); }},
                  {"image/copy-128", 1.0, [] { return Copies(128, false); }},
                  {"image/copy-512", 1.0, [] { return Copies(512, false); }},
                  {"image/alpha-32", 0.6, [] { return Copies(32, true); }},
                  {"image/alpha-128", 0.8, [] { return Copies(128, true); }},
                  {"image/alpha-512", 0.9, [] { return Copies(512, true); }},
                  {"image/nearest-up", 0.8, stretched(2.2, Filter::Nearest)},
                  {"image/nearest-down", 1.0, stretched(0.7, Filter::Nearest)},
                  {"image/nearest-turned", 0.9, [] { return Turned(Filter::Nearest); }},
                  {"image/bilinear-up", 0.4, stretched(2.2, Filter::Bilinear)},
                  {"image/bilinear-down", 0.6, stretched(0.7, Filter::Bilinear)},
                  {"image/bilinear-turned", 1.0, [] { return Turned(Filter::Bilinear); }},
                  {"image/bicubic-up", 0.05, stretched(2.2, Filter::Bicubic)},
                  {"image/bicubic-down", 0.08, stretched(0.7, Filter::Bicubic)},
                  {"image/bicubic-turned", 0.3, [] { return Turned(Filter::Bicubic); }},
              });
}

}  // namespace bench
