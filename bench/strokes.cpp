// Stroked polylines and curves, with Cairo's image surface doing the same picture.
#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

#include "kalvora/context/KSoftContext2D.h"

#include "tests/common/Random.h"

#ifdef KALVORA_BENCH_CAIRO
#include <cairo.h>
#endif

namespace {

constexpr int kWidth = 640, kHeight = 480;
constexpr double kDashes[] = {6, 4};

/// What is stroked: `order` points a piece.
struct Picture {
  int order;
  std::vector<std::vector<double>> lines;  ///< x, y, x, y, ...
};

/// Polylines of a diagram: many short lines that turn by any angle.
Picture Polylines() {
  Random random(7);
  Picture picture{1, {}};
  for (int i = 0; i < 12; ++i) {
    auto& line = picture.lines.emplace_back();
    for (int k = 0; k <= 40; ++k) {
      line.push_back(10 + 15.5 * k);
      line.push_back(20 + 38 * i + random.Between(-18, 18));
    }
  }
  return picture;
}

/// Garlands of smooth curves.
Picture Curves() {
  Random random(9);
  Picture picture{3, {}};
  for (int i = 0; i < 12; ++i) {
    auto& line = picture.lines.emplace_back();
    const double y = 20 + 38 * i;
    double lean = 20;
    line.insert(line.end(), {10, y});
    for (int k = 0; k < 15; ++k) {
      const double x = 10 + 41 * k;
      const double next = -lean * (0.5 + random.Below(100) / 100.0);
      line.insert(line.end(), {x + 14, y + lean, x + 27, y - next, x + 41, y});
      lean = next;
    }
  }
  return picture;
}

KVertex2D Fixed(const double* p) {
  return {KFixed(static_cast<float>(p[0])), KFixed(static_cast<float>(p[1]))};
}

void Build(KSoftPath& path, const Picture& picture) {
  for (const auto& line : picture.lines) {
    path.MoveTo(Fixed(line.data()));
    std::vector<KVertex2D> points;
    for (std::size_t i = 2; i < line.size(); i += 2) points.push_back(Fixed(&line[i]));
    const auto order = static_cast<unsigned>(picture.order);
    path.BezierTo(order, points.data(), static_cast<unsigned>(points.size()) / order);
  }
}

void Set(KStroker& stroker, const benchmark::State& state) {
  stroker.SetLineWidth(KFixed::FromInt(static_cast<std::int32_t>(state.range(0))));
  stroker.SetJoin(static_cast<unsigned>(state.range(1)));
  const KFixed dashes[] = {KFixed::FromInt(6), KFixed::FromInt(4)};
  stroker.SetDashes(dashes, state.range(2) ? 2 : 0, KFixed::FromRaw(0));
}

void Stroke(benchmark::State& state, const Picture& picture) {
  KSoftPixmap pixmap;
  pixmap.Create(kWidth, kHeight, KFormat8888PM);
  KSoftContext2D context;
  context.RenderToTexture(&pixmap);
  context.Clear({255, 255, 255, 255});
  context.SetNoFill();
  context.SetStrokeColor({200, 60, 20, 255});
  Set(context, state);
  KSoftPath path;
  Build(path, picture);
  for (auto _ : state) context.DrawPath(&path);
}

/// The outline alone.
void Outline(benchmark::State& state, const Picture& picture) {
  KStroker stroker;
  Set(stroker, state);
  KSoftPath path;
  Build(path, picture);
  const KSoftMatrix3D identity;
  for (auto _ : state) {
    KVertex2D** rings = nullptr;
    const unsigned count = stroker.StrokePath(&path, rings, &identity, true);
    benchmark::DoNotOptimize(rings);
    stroker.FreeStroke(rings, count, true);
  }
}

#ifdef KALVORA_BENCH_CAIRO
void StrokeCairo(benchmark::State& state, const Picture& picture) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_set_source_rgb(cr, 0.8, 0.25, 0.1);
  cairo_set_line_width(cr, static_cast<double>(state.range(0)));
  cairo_set_line_join(cr, state.range(1) == 2 ? CAIRO_LINE_JOIN_ROUND : CAIRO_LINE_JOIN_MITER);
  cairo_set_miter_limit(cr, 4);
  cairo_set_dash(cr, kDashes, state.range(2) ? 2 : 0, 0);
  for (auto _ : state) {
    for (const auto& line : picture.lines) {
      cairo_move_to(cr, line[0], line[1]);
      for (std::size_t i = 2; i < line.size(); i += 2 * static_cast<std::size_t>(picture.order)) {
        const double* p = &line[i];
        if (picture.order == 1) {
          cairo_line_to(cr, p[0], p[1]);
        } else {
          cairo_curve_to(cr, p[0], p[1], p[2], p[3], p[4], p[5]);
        }
      }
    }
    cairo_stroke(cr);
  }
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}
#endif

// Line width, join, dashed.
void Arguments(benchmark::internal::Benchmark* b) {
  b->ArgNames({"width", "join", "dashed"});
  for (const int width : {1, 2, 8}) {
    for (const int join : {1, 2}) b->Args({width, join, 0});
    b->Args({width, 1, 1});
  }
}

void StrokePolylines(benchmark::State& state) { Stroke(state, Polylines()); }
void StrokeCurves(benchmark::State& state) { Stroke(state, Curves()); }
void OutlinePolylines(benchmark::State& state) { Outline(state, Polylines()); }
void OutlineCurves(benchmark::State& state) { Outline(state, Curves()); }
BENCHMARK(StrokePolylines)->Apply(Arguments);
#ifdef KALVORA_BENCH_CAIRO
void StrokePolylinesCairo(benchmark::State& state) { StrokeCairo(state, Polylines()); }
BENCHMARK(StrokePolylinesCairo)->Apply(Arguments);
#endif
BENCHMARK(StrokeCurves)->Apply(Arguments);
#ifdef KALVORA_BENCH_CAIRO
void StrokeCurvesCairo(benchmark::State& state) { StrokeCairo(state, Curves()); }
BENCHMARK(StrokeCurvesCairo)->Apply(Arguments);
#endif
BENCHMARK(OutlinePolylines)->Args({2, 1, 0})->Args({2, 2, 0})->Args({2, 1, 1});
BENCHMARK(OutlineCurves)->Args({2, 1, 0})->Args({8, 1, 0})->Args({2, 1, 1});

}  // namespace
