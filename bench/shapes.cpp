// Rounded rectangles, circles, and fills under a clip path, with Cairo's image surface doing the
// same picture.
#include <cmath>

#include <benchmark/benchmark.h>

#include "kalvora/context/KSoftContext2D.h"

#ifdef KALVORA_BENCH_CAIRO
#include <cairo.h>
#endif

namespace {

constexpr int kWidth = 640, kHeight = 480;
constexpr double kRadius = 12;

KVertex2D At(double x, double y) {
  return {KFixed(static_cast<float>(x)), KFixed(static_cast<float>(y))};
}

// 8 x 6 shapes of the given size, at fractional places.
template <typename Draw>
void ForEachPlace(Draw draw) {
  for (int i = 0; i < 48; ++i) draw(5.3 + i % 8 * 78.7, 4.6 + i / 8 * 78.9);
}

struct Kalvora {
  KSoftPixmap pixmap;
  KSoftContext2D context;
  Kalvora() {
    pixmap.Create(kWidth, kHeight, KFormat8888PM);
    context.RenderToTexture(&pixmap);
    context.Clear({255, 255, 255, 255});
    context.SetFillColor({200, 60, 20, 255});
  }
};

void RoundedRectangles(benchmark::State& state) {
  Kalvora k;
  const auto size = static_cast<double>(state.range(0));
  for (auto _ : state) {
    ForEachPlace([&](double x, double y) {
      k.context.DrawRectangle(At(x, y), At(x + size, y + size), At(kRadius, kRadius));
    });
  }
}

void Circles(benchmark::State& state) {
  Kalvora k;
  const auto size = static_cast<double>(state.range(0));
  for (auto _ : state) {
    ForEachPlace([&](double x, double y) {
      k.context.DrawArc(At(x + size / 2, y + size / 2), At(size / 2, size / 2), KFixed::FromInt(0),
                        KFixed::FromInt(360));
    });
  }
}

// A circle as the clip path, a fan of triangles as what is filled.
void ClipPathAndFill(benchmark::State& state) {
  Kalvora k;
  KSoftPath circle;
  circle.AddArc(At(320, 240), At(200, 200), KFixed::FromInt(0), KFixed::FromInt(360));
  k.context.SetClipPath(&circle, KFillNonZero);
  for (auto _ : state) {
    for (int i = 0; i < 24; ++i) {
      const double a = 0.2618 * i;
      const KVertex2D fan[] = {At(320, 240), At(320 + 400 * std::cos(a), 240 + 400 * std::sin(a)),
                               At(320 + 400 * std::cos(a + 0.2), 240 + 400 * std::sin(a + 0.2))};
      k.context.DrawPolygon(fan, 3, true);
    }
  }
}

BENCHMARK(RoundedRectangles)->Arg(30)->Arg(70)->Unit(benchmark::kMicrosecond);
BENCHMARK(Circles)->Arg(30)->Arg(70)->Unit(benchmark::kMicrosecond);
BENCHMARK(ClipPathAndFill)->Unit(benchmark::kMicrosecond);

#ifdef KALVORA_BENCH_CAIRO
struct Cairo {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
  cairo_t* cr = cairo_create(surface);
  Cairo() { cairo_set_source_rgb(cr, 0.8, 0.25, 0.1); }
  ~Cairo() {
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
  }
};

void RoundedRectanglesCairo(benchmark::State& state) {
  Cairo c;
  const auto size = static_cast<double>(state.range(0));
  for (auto _ : state) {
    ForEachPlace([&](double x, double y) {
      cairo_arc(c.cr, x + size - kRadius, y + kRadius, kRadius, -M_PI / 2, 0);
      cairo_arc(c.cr, x + size - kRadius, y + size - kRadius, kRadius, 0, M_PI / 2);
      cairo_arc(c.cr, x + kRadius, y + size - kRadius, kRadius, M_PI / 2, M_PI);
      cairo_arc(c.cr, x + kRadius, y + kRadius, kRadius, M_PI, 3 * M_PI / 2);
      cairo_fill(c.cr);
    });
  }
}

void CirclesCairo(benchmark::State& state) {
  Cairo c;
  const auto size = static_cast<double>(state.range(0));
  for (auto _ : state) {
    ForEachPlace([&](double x, double y) {
      cairo_arc(c.cr, x + size / 2, y + size / 2, size / 2, 0, 2 * M_PI);
      cairo_fill(c.cr);
    });
  }
}

void ClipPathAndFillCairo(benchmark::State& state) {
  Cairo c;
  cairo_arc(c.cr, 320, 240, 200, 0, 2 * M_PI);
  cairo_clip(c.cr);
  for (auto _ : state) {
    for (int i = 0; i < 24; ++i) {
      const double a = 0.2618 * i;
      cairo_move_to(c.cr, 320, 240);
      cairo_line_to(c.cr, 320 + 400 * std::cos(a), 240 + 400 * std::sin(a));
      cairo_line_to(c.cr, 320 + 400 * std::cos(a + 0.2), 240 + 400 * std::sin(a + 0.2));
      cairo_fill(c.cr);
    }
  }
}

BENCHMARK(RoundedRectanglesCairo)->Arg(30)->Arg(70)->Unit(benchmark::kMicrosecond);
BENCHMARK(CirclesCairo)->Arg(30)->Arg(70)->Unit(benchmark::kMicrosecond);
BENCHMARK(ClipPathAndFillCairo)->Unit(benchmark::kMicrosecond);
#endif

}  // namespace
