// Span fillers: 64 rows of a span width, for every family. Cairo's image surface fills the same
// rectangle, through a mask where coverage is wanted.
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/KStrips.h"
#include "kalvora/paint/KStyleContext2D.h"

#include "tests/common/Random.h"

#ifdef KALVORA_BENCH_CAIRO
#include <cairo.h>
#endif

namespace {

constexpr int kWidth = 640, kRows = 64, kPattern = 256;
constexpr std::uint32_t kOpaque = 0xFF336699, kClear = 0x80193349;

std::vector<std::uint32_t> Pixels(std::size_t count, std::uint32_t alpha) {
  Random random(1);
  std::vector<std::uint32_t> pixels(count);
  for (auto& p : pixels) p = (random.Next() & 0x7F7F7F) | alpha << 24;
  return pixels;
}

/// The target's rows, coverage as on soft edges, and a mask as of glyphs: half empty, half full.
struct Scene {
  std::vector<std::uint32_t> target = Pixels(kWidth * kRows, 0xFF);
  std::vector<std::int32_t> coverage = std::vector<std::int32_t>(kWidth);
  std::vector<std::uint8_t> mask = std::vector<std::uint8_t>(kWidth);
  std::vector<std::uint32_t> pattern;
  KSoftPixmap pixmap;
  KSoftColorRamp ramp;
  KPaint paint;
  KStyleContext2D style;

  Scene() {
    Random random(2);
    for (auto& c : coverage) c = random.Between(0, 0x10000);
    for (auto& m : mask)
      m = static_cast<std::uint8_t>(random.OneIn(8) ? random.Below(256) : 255 * random.Below(2));
    style.paint = &paint;
    style.lineBuffer = coverage.data();
    style.maskRow = mask.data();
  }
  void Draw(KFiller filler, int width) {
    style.x0 = 0;
    style.x1 = width;
    for (style.y = 0; style.y < kRows; ++style.y) {
      style.row = &target[static_cast<std::size_t>(style.y) * kWidth];
      filler(&style);
    }
    benchmark::ClobberMemory();
  }
};

using Prepare = void (*)(Scene&);
using Widths = std::vector<std::int64_t>;

/// One paint: its solid and its coverage filler.
void Family(const std::string& name, KStripInit init, Prepare prepare, const Widths& widths) {
  for (int aa = 0; aa < 2; ++aa) {
    auto* b = benchmark::RegisterBenchmark(
        ("Filler/" + name + (aa ? "/Coverage" : "/Solid")).c_str(), [=](benchmark::State& state) {
          Scene scene;
          prepare(scene);
          KFiller fillers[2] = {nullptr, nullptr};
          init(&scene.style, fillers[0], fillers[1]);
          const auto width = static_cast<int>(state.range(0));
          for (auto _ : state) scene.Draw(fillers[aa], width);
          state.SetItemsProcessed(state.iterations() * width * kRows);
        });
    for (std::int64_t width : widths) b->Arg(width);
  }
}

template <std::uint32_t Color>
void SetColor(Scene& s) {
  s.paint.color = KColor32::FromWord(Color);
  s.paint.translucent = Color >> 24 != 255;
}

constexpr KFixed Fixed(std::int32_t raw) { return KFixed::FromRaw(raw); }
constexpr KColorStop kStops[4] = {{Fixed(0), {255, 0, 0, 255}},
                                  {Fixed(0x5000), {0, 255, 0, 255}},
                                  {Fixed(0xA000), {0, 0, 255, 255}},
                                  {Fixed(0x10000), {255, 255, 0, 255}}};

template <KSpread Spread>
void SetLinear(Scene& s) {
  s.ramp.SetLinear({Fixed(20 << 16), Fixed(0)}, {Fixed(600 << 16), Fixed(50 << 16)}, kStops, 4,
                   Spread);
  s.paint.linearRamp = &s.ramp;
}
template <KSpread Spread>
void SetRadial(Scene& s) {
  s.ramp.SetRadial({Fixed(320 << 16), Fixed(32 << 16)}, Fixed(280 << 16), kStops, 4, Spread);
  s.paint.radialRamp = &s.ramp;
}

enum Turn { kMoved, kScaled, kTurned };
constexpr const char* kTurnNames[] = {"Moved", "Scaled", "Turned"};

template <KSampling S, KRepeatRule R, Turn T, bool Alpha>
void SetPattern(Scene& s) {
  s.pattern = Pixels(kPattern * kPattern, Alpha ? 0x80 : 0xFF);
  s.pixmap.Create(kPattern, kPattern, Alpha ? KFormat8888PM : KFormat0888PM, s.pattern.data());
  s.pixmap.SetQuality(S);
  s.pixmap.repeatRule = R;
  if (T == kScaled) s.pixmap.transform.Scale({Fixed(0x6000), Fixed(0x6000)});
  if (T == kTurned) {
    s.pixmap.transform.Rotate(Fixed(20 << 16));
    s.pixmap.transform.Scale({Fixed(0x6000), Fixed(0x6000)});
    s.pixmap.transform.Translate({Fixed(0), Fixed(100 << 16)});
  } else {
    s.pixmap.transform.Translate({Fixed(0x8000), Fixed(0x8000)});
  }
  s.paint.pixmap = &s.pixmap;
}

template <KSampling S, Turn T>
void Pattern(const char* name) {
  const Widths widths{64, 640};
  const KStripInit init = KStrips<KColor_8888_PM>::InitPattern;
  const std::string full = std::string("Pattern/") + name + "/" + kTurnNames[T];
  Family(full + "/Opaque", init, SetPattern<S, KRepeatClamp, T, false>, widths);
  Family(full + "/Alpha", init, SetPattern<S, KRepeatClamp, T, true>, widths);
  Family(full + "/Tiled", init, SetPattern<S, KRepeatTile, T, false>, widths);
}

[[maybe_unused]] const bool kRegistered = [] {
  using Strips = KStrips<KColor_8888_PM>;
  const Widths narrow{4, 16, 64, 640}, wide{64, 640};
  Family("Color/Opaque", Strips::InitColor, SetColor<kOpaque>, narrow);
  Family("Color/Alpha", Strips::InitColor, SetColor<kClear>, narrow);
  Family("Mask/Opaque", Strips::InitColorWithAaChecks, SetColor<kOpaque>, narrow);
  Family("Mask/Alpha", Strips::InitColorWithAaChecks, SetColor<kClear>, narrow);
  Family("Linear/Pad", Strips::InitLinear, SetLinear<KSpreadPad>, wide);
  Family("Linear/Repeat", Strips::InitLinear, SetLinear<KSpreadRepeat>, wide);
  Family("Radial/Pad", Strips::InitRadial, SetRadial<KSpreadPad>, wide);
  Family("Radial/Repeat", Strips::InitRadial, SetRadial<KSpreadRepeat>, wide);
  Pattern<KSamplingNearest, kMoved>("Copy");
  Pattern<KSamplingNearest, kScaled>("Nearest");
  Pattern<KSamplingNearest, kTurned>("Nearest");
  Pattern<KSamplingBilinear, kScaled>("Bilinear");
  Pattern<KSamplingBilinear, kTurned>("Bilinear");
  Pattern<KSamplingBicubic, kTurned>("Bicubic");
  return true;
}();

#ifdef KALVORA_BENCH_CAIRO

using Source = cairo_pattern_t* (*)(const Scene&);

template <std::uint32_t Color>
cairo_pattern_t* CairoColor(const Scene&) {
  const double a = (Color >> 24) / 255.0;
  const auto channel = [a](int shift) { return (Color >> shift & 255) / 255.0 / a; };
  return cairo_pattern_create_rgba(channel(16), channel(8), channel(0), a);
}

template <bool Radial, cairo_extend_t Extend>
cairo_pattern_t* CairoGradient(const Scene&) {
  cairo_pattern_t* p = Radial ? cairo_pattern_create_radial(320, 32, 0, 320, 32, 280)
                              : cairo_pattern_create_linear(20, 0, 600, 50);
  for (const KColorStop& s : kStops) {
    cairo_pattern_add_color_stop_rgb(p, s.position.raw / 65536.0, s.color.red / 255.0,
                                     s.color.green / 255.0, s.color.blue / 255.0);
  }
  cairo_pattern_set_extend(p, Extend);
  return p;
}

template <cairo_filter_t Filter, cairo_extend_t Extend, Turn T, bool Alpha>
cairo_pattern_t* CairoPixmap(const Scene&) {
  static auto pixels = Pixels(kPattern * kPattern, Alpha ? 0x80 : 0xFF);
  cairo_surface_t* s = cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(pixels.data()),
      Alpha ? CAIRO_FORMAT_ARGB32 : CAIRO_FORMAT_RGB24, kPattern, kPattern, kPattern * 4);
  cairo_pattern_t* p = cairo_pattern_create_for_surface(s);
  cairo_surface_destroy(s);
  cairo_matrix_t m;
  cairo_matrix_init_identity(&m);
  if (T == kTurned) {
    cairo_matrix_init_translate(&m, 0, 100);
    cairo_matrix_scale(&m, 0.375, 0.375);
    cairo_matrix_rotate(&m, -20 * 3.14159265 / 180);
  } else if (T == kScaled) {
    cairo_matrix_init_scale(&m, 0.375, 0.375);
  }
  cairo_pattern_set_matrix(p, &m);
  cairo_pattern_set_filter(p, Filter);
  cairo_pattern_set_extend(p, Extend);
  return p;
}

void Cairo(const std::string& name, Source source, const Widths& widths) {
  for (int aa = 0; aa < 2; ++aa) {
    auto* b = benchmark::RegisterBenchmark(
        ("Cairo/" + name + (aa ? "/Coverage" : "/Solid")).c_str(), [=](benchmark::State& state) {
          Scene scene;
          const auto width = static_cast<int>(state.range(0));
          cairo_surface_t* target = cairo_image_surface_create_for_data(
              reinterpret_cast<unsigned char*>(scene.target.data()), CAIRO_FORMAT_ARGB32, kWidth,
              kRows, kWidth * 4);
          std::vector<unsigned char> bytes;
          for (int y = 0; y < kRows; ++y) {
            for (std::int32_t c : scene.coverage)
              bytes.push_back(static_cast<unsigned char>(c * 255 >> 16));
          }
          cairo_surface_t* mask = cairo_image_surface_create_for_data(bytes.data(), CAIRO_FORMAT_A8,
                                                                      width, kRows, kWidth);
          cairo_t* cr = cairo_create(target);
          cairo_pattern_t* pattern = source(scene);
          cairo_set_source(cr, pattern);
          for (auto _ : state) {
            if (aa) {
              cairo_mask_surface(cr, mask, 0, 0);
            } else {
              cairo_rectangle(cr, 0, 0, width, kRows);
              cairo_fill(cr);
            }
            benchmark::ClobberMemory();
          }
          state.SetItemsProcessed(state.iterations() * width * kRows);
          cairo_pattern_destroy(pattern);
          cairo_destroy(cr);
          cairo_surface_destroy(mask);
          cairo_surface_destroy(target);
        });
    for (std::int64_t width : widths) b->Arg(width);
  }
}

template <cairo_filter_t Filter, Turn T>
void CairoPattern(const char* name) {
  const Widths widths{64, 640};
  const std::string full = std::string("Pattern/") + name + "/" + kTurnNames[T];
  Cairo(full + "/Opaque", CairoPixmap<Filter, CAIRO_EXTEND_PAD, T, false>, widths);
  Cairo(full + "/Alpha", CairoPixmap<Filter, CAIRO_EXTEND_PAD, T, true>, widths);
  Cairo(full + "/Tiled", CairoPixmap<Filter, CAIRO_EXTEND_REPEAT, T, false>, widths);
}

[[maybe_unused]] const bool kCairoRegistered = [] {
  const Widths narrow{4, 16, 64, 640}, wide{64, 640};
  Cairo("Color/Opaque", CairoColor<kOpaque>, narrow);
  Cairo("Color/Alpha", CairoColor<kClear>, narrow);
  Cairo("Linear/Pad", CairoGradient<false, CAIRO_EXTEND_PAD>, wide);
  Cairo("Linear/Repeat", CairoGradient<false, CAIRO_EXTEND_REPEAT>, wide);
  Cairo("Radial/Pad", CairoGradient<true, CAIRO_EXTEND_PAD>, wide);
  Cairo("Radial/Repeat", CairoGradient<true, CAIRO_EXTEND_REPEAT>, wide);
  CairoPattern<CAIRO_FILTER_NEAREST, kMoved>("Copy");
  CairoPattern<CAIRO_FILTER_NEAREST, kScaled>("Nearest");
  CairoPattern<CAIRO_FILTER_NEAREST, kTurned>("Nearest");
  CairoPattern<CAIRO_FILTER_BILINEAR, kScaled>("Bilinear");
  CairoPattern<CAIRO_FILTER_BILINEAR, kTurned>("Bilinear");
  CairoPattern<CAIRO_FILTER_BEST, kTurned>("Bicubic");
  return true;
}();

#endif

}  // namespace
