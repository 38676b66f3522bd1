// Whole rectangles, pixmaps and masks through the drawing context, with Cairo's image surface doing
// the same picture.
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/paint/KSoftColorRamp.h"

#ifdef KALVORA_BENCH_CAIRO
#include <cairo.h>
#endif

namespace {

constexpr int kWidth = 640, kHeight = 480, kImage = 256, kGlyph = 16;

KVertex2D Point(int x, int y) { return {KFixed::FromInt(x), KFixed::FromInt(y)}; }

/// An image of soft waves, opaque or half transparent.
std::vector<std::uint32_t> Image(bool opaque) {
  std::vector<std::uint32_t> pixels;
  for (std::uint32_t i = 0; i < kImage * kImage; ++i) {
    const std::uint32_t x = i % kImage, y = i / kImage, c = (x * x + y * y) / 512 & 0x7F;
    pixels.push_back((opaque ? 0xFF000000 : 0x80000000) | c << 16 | x / 2 << 8 | y / 2);
  }
  return pixels;
}

/// A disc, as a glyph's mask.
std::vector<std::uint8_t> Glyph() {
  std::vector<std::uint8_t> mask;
  for (int i = 0; i < kGlyph * kGlyph; ++i) {
    const int x = 2 * (i % kGlyph) - kGlyph + 1, y = 2 * (i / kGlyph) - kGlyph + 1;
    const int d = 200 - x * x - y * y;
    mask.push_back(static_cast<std::uint8_t>(d < 0 ? 0 : d > 51 ? 255 : d * 5));
  }
  return mask;
}

constexpr KColorStop kStops[3] = {{KFixed::FromRaw(0), {255, 0, 0, 255}},
                                  {KFixed::FromRaw(0x8000), {0, 255, 0, 255}},
                                  {KFixed::FromRaw(0x10000), {0, 0, 255, 255}}};

struct Kalvora {
  std::vector<std::uint32_t> image;
  std::vector<std::uint8_t> glyph = Glyph();
  KSoftPixmap target, pixmap, mask;
  KSoftColorRamp ramp;
  KSoftContext2D context;

  explicit Kalvora(bool opaque) : image(Image(opaque)) {
    target.Create(kWidth, kHeight, KFormat8888PM);
    pixmap.Create(kImage, kImage, opaque ? KFormat0888PM : KFormat8888PM, image.data());
    mask.Create(kGlyph, kGlyph, KFormatMask8, glyph.data());
    context.RenderToTexture(&target);
    context.Clear({255, 255, 255, 255});
  }
};

template <typename Prepare, typename Draw>
void Register(const char* name, bool opaque, Prepare prepare, Draw draw) {
  benchmark::RegisterBenchmark(("Rectangle/" + std::string(name)).c_str(),
                               [=](benchmark::State& state) {
                                 Kalvora k(opaque);
                                 prepare(k);
                                 for (auto _ : state) draw(k);
                               });
}

[[maybe_unused]] const bool kRegistered = [] {
  const auto whole = [](Kalvora& k) {
    k.context.DrawRectangle(Point(0, 0), Point(kWidth, kHeight));
  };
  const auto at100 = [](Kalvora& k) {
    k.context.DrawPixmap(&k.pixmap, Point(100, 100), Point(356, 356));
  };
  const auto stretched = [](Kalvora& k) {
    k.context.DrawPixmap(&k.pixmap, Point(0, 0), Point(kWidth, kHeight));
  };
  const auto plain = [](Kalvora&) {};
  const auto turn = [](Kalvora& k) {
    k.context.Transform().Rotate(KFixed::FromInt(15));
    k.context.Transform().Translate(Point(0, 120));
  };
  Register(
      "Color", true,
      [](Kalvora& k) {
        k.context.SetFillColor({200, 60, 20, 255});
      },
      whole);
  Register(
      "ColorAlpha", true,
      [](Kalvora& k) {
        k.context.SetFillColor({200, 60, 20, 128});
      },
      whole);
  Register(
      "Linear", true,
      [](Kalvora& k) {
        k.ramp.SetLinear(Point(0, 0), Point(kWidth, kHeight), kStops, 3);
        k.context.SetFillLGrad(&k.ramp);
      },
      whole);
  Register(
      "Radial", true,
      [](Kalvora& k) {
        k.ramp.SetRadial(Point(320, 240), KFixed::FromInt(400), kStops, 3);
        k.context.SetFillRGrad(&k.ramp);
      },
      whole);
  Register("Pixmap", true, plain, at100);
  Register("PixmapAlpha", false, plain, at100);
  Register("PixmapStretched", true, plain, stretched);
  Register("PixmapTurned", true, turn, at100);
  Register("PixmapTurnedAlpha", false, turn, at100);
  Register(
      "Glyphs", true,
      [](Kalvora& k) {
        k.context.SetFillColor({0, 0, 0, 255});
      },
      [](Kalvora& k) {
        for (int i = 0; i < 100; ++i) {
          const int x = i % 20 * 30, y = i / 20 * 30;
          k.context.DrawAlphaMask(&k.mask, x, y, x + kGlyph, y + kGlyph);
        }
      });
  return true;
}();

#ifdef KALVORA_BENCH_CAIRO

struct Cairo {
  std::vector<std::uint32_t> image;
  std::vector<std::uint8_t> glyph = Glyph();
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
  cairo_t* cr = cairo_create(surface);
  cairo_surface_t* pixmap;
  cairo_surface_t* mask =
      cairo_image_surface_create_for_data(glyph.data(), CAIRO_FORMAT_A8, kGlyph, kGlyph, kGlyph);

  explicit Cairo(bool opaque)
      : image(Image(opaque)),
        pixmap(cairo_image_surface_create_for_data(
            reinterpret_cast<unsigned char*>(image.data()),
            opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, kImage, kImage, kImage * 4)) {
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
  }
  ~Cairo() {
    cairo_destroy(cr);
    cairo_surface_destroy(mask);
    cairo_surface_destroy(pixmap);
    cairo_surface_destroy(surface);
  }
  void SetGradient(cairo_pattern_t* p) {
    for (const KColorStop& s : kStops) {
      cairo_pattern_add_color_stop_rgb(p, s.position.raw / 65536.0, s.color.red / 255.0,
                                       s.color.green / 255.0, s.color.blue / 255.0);
    }
    cairo_set_source(cr, p);
    cairo_pattern_destroy(p);
  }
  void SetPixmap(double x, double y, double sx, double sy) {
    cairo_translate(cr, x, y);
    cairo_scale(cr, sx, sy);
    cairo_set_source_surface(cr, pixmap, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_BILINEAR);
  }
};

template <typename Prepare, typename Draw>
void RegisterCairo(const char* name, bool opaque, Prepare prepare, Draw draw) {
  benchmark::RegisterBenchmark(("RectangleCairo/" + std::string(name)).c_str(),
                               [=](benchmark::State& state) {
                                 Cairo c(opaque);
                                 prepare(c);
                                 for (auto _ : state) draw(c);
                               });
}

[[maybe_unused]] const bool kCairoRegistered = [] {
  const auto fill = [](double width, double height) {
    return [=](Cairo& c) {
      cairo_rectangle(c.cr, 0, 0, width, height);
      cairo_fill(c.cr);
    };
  };
  const auto whole = fill(kWidth, kHeight), image = fill(kImage, kImage);
  const auto moved = [](Cairo& c) { c.SetPixmap(100, 100, 1, 1); };
  const auto turned = [](Cairo& c) {
    cairo_translate(c.cr, 0, 120);
    cairo_rotate(c.cr, -15 * 3.14159265 / 180);
    c.SetPixmap(100, 100, 1, 1);
  };
  RegisterCairo(
      "Color", true, [](Cairo& c) { cairo_set_source_rgb(c.cr, 0.8, 0.25, 0.1); }, whole);
  RegisterCairo(
      "ColorAlpha", true, [](Cairo& c) { cairo_set_source_rgba(c.cr, 0.8, 0.25, 0.1, 0.5); },
      whole);
  RegisterCairo(
      "Linear", true,
      [](Cairo& c) { c.SetGradient(cairo_pattern_create_linear(0, 0, kWidth, kHeight)); }, whole);
  RegisterCairo(
      "Radial", true,
      [](Cairo& c) { c.SetGradient(cairo_pattern_create_radial(320, 240, 0, 320, 240, 400)); },
      whole);
  RegisterCairo("Pixmap", true, moved, image);
  RegisterCairo("PixmapAlpha", false, moved, image);
  RegisterCairo(
      "PixmapStretched", true, [](Cairo& c) { c.SetPixmap(0, 0, kWidth / 256.0, kHeight / 256.0); },
      image);
  RegisterCairo("PixmapTurned", true, turned, image);
  RegisterCairo("PixmapTurnedAlpha", false, turned, image);
  RegisterCairo(
      "Glyphs", true, [](Cairo& c) { cairo_set_source_rgb(c.cr, 0, 0, 0); },
      [](Cairo& c) {
        for (int i = 0; i < 100; ++i) cairo_mask_surface(c.cr, c.mask, i % 20 * 30, i / 20 * 30);
      });
  return true;
}();

#endif

}  // namespace
