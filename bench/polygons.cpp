// Coverage and polygon scan conversion, with Cairo's image surface doing the same picture.
#include <cmath>
#include <vector>

#include <benchmark/benchmark.h>

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/paint/KStyleContext2D.h"

#ifdef KALVORA_BENCH_CAIRO
#include <cairo.h>
#endif

namespace {

constexpr int kWidth = 640, kHeight = 480;

struct PointD {
  double x, y;
};

/// A star-shaped polygon: smooth for `depth` 0, with a tooth at every second vertex otherwise.
std::vector<PointD> Star(int edges, double depth) {
  std::vector<PointD> points;
  for (int i = 0; i < edges; ++i) {
    const double a = 0.3 + 2 * M_PI * i / edges, r = 220 * (i % 2 ? 1 - depth : 1);
    points.push_back({320 + r * std::cos(a), 240 + r * std::sin(a)});
  }
  return points;
}

// Four curves to the leaf; a picture of 24 leaves stands for a real drawing of small curved shapes.
struct Leaf {
  double x, y, size, turn;
};
std::vector<Leaf> Leaves() {
  std::vector<Leaf> leaves;
  for (int i = 0; i < 24; ++i)
    leaves.push_back({60.0 + i % 6 * 104, 60.0 + i / 6 * 118, 20.0 + i, 0.4 * i});
  return leaves;
}
PointD Place(const Leaf& leaf, double x, double y) {
  const double c = std::cos(leaf.turn) * leaf.size, s = std::sin(leaf.turn) * leaf.size;
  return {leaf.x + c * x - s * y, leaf.y + s * x + c * y};
}
constexpr double kLeaf[12][2] = {{0.2, -0.9}, {1.1, -1.1}, {1.4, 0},     {1.2, 0.8},
                                 {0.5, 1.2},  {0, 0.7},    {-0.6, 1.3},  {-1.3, 0.9},
                                 {-1.4, 0.1}, {-1, -0.9},  {-0.3, -1.2}, {-1, 0}};

KVertex2D Fixed(PointD p) {
  return {KFixed(static_cast<float>(p.x)), KFixed(static_cast<float>(p.y))};
}

struct Kalvora {
  KSoftPixmap pixmap;
  KSoftContext2D context;
  explicit Kalvora(bool opaque) {
    pixmap.Create(kWidth, kHeight, KFormat8888PM);
    context.RenderToTexture(&pixmap);
    context.Clear({255, 255, 255, 255});
    context.SetFillColor({200, 60, 20, opaque ? 255u : 128u});
  }
};

void ComputeAA(benchmark::State& state) {
  std::vector<std::int32_t> line(kWidth);
  KStyleContext2D style;
  style.lineBuffer = line.data();
  style.clip = {0, 0, kWidth, kHeight};
  const auto lean = static_cast<std::int32_t>(state.range(0)) * 0x10000;
  const KFixed slope = lean ? KFixed::Inverse(KFixed::FromRaw(lean)) : KFixed::FromRaw(0);
  const auto at = [](std::int32_t raw) { return KFixed::FromRaw(raw); };
  for (auto _ : state) {
    style.StartRow();
    style.ComputeAA(at(0xA8123), at(0xA8123 + lean), slope, at(0x1F04567), at(0x1F04567 + lean),
                    slope);
    benchmark::DoNotOptimize(style.x0);
  }
}
BENCHMARK(ComputeAA)->Arg(0)->Arg(1)->Arg(8)->Arg(64);

void Polygon(benchmark::State& state) {
  Kalvora k(state.range(2) != 0);
  std::vector<KVertex2D> points;
  for (const PointD p :
       Star(static_cast<int>(state.range(0)), static_cast<double>(state.range(1)) / 100)) {
    points.push_back(Fixed(p));
  }
  for (auto _ : state) {
    k.context.DrawPolygon(points.data(), static_cast<unsigned>(points.size()), true);
  }
}

void RealDrawing(benchmark::State& state) {
  Kalvora k(state.range(0) != 0);
  std::vector<KSoftPath> paths(Leaves().size());
  for (std::size_t i = 0; i < paths.size(); ++i) {
    KVertex2D p[12];
    for (int n = 0; n < 12; ++n) p[n] = Fixed(Place(Leaves()[i], kLeaf[n][0], kLeaf[n][1]));
    paths[i].MoveTo(p[11]);
    paths[i].BezierTo(3, p, 4);
    paths[i].Close();
  }
  for (auto _ : state) {
    for (const KSoftPath& path : paths) k.context.DrawPath(&path);
  }
}

#ifdef KALVORA_BENCH_CAIRO
struct Cairo {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
  cairo_t* cr = cairo_create(surface);
  explicit Cairo(bool opaque) {
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_set_source_rgba(cr, 0.8, 0.25, 0.1, opaque ? 1 : 0.5);
  }
  ~Cairo() {
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
  }
};

void PolygonCairo(benchmark::State& state) {
  Cairo c(state.range(2) != 0);
  const auto points =
      Star(static_cast<int>(state.range(0)), static_cast<double>(state.range(1)) / 100);
  for (auto _ : state) {
    for (const PointD p : points) cairo_line_to(c.cr, p.x, p.y);
    cairo_fill(c.cr);
  }
}

void RealDrawingCairo(benchmark::State& state) {
  Cairo c(state.range(0) != 0);
  const auto leaves = Leaves();
  for (auto _ : state) {
    for (const Leaf& leaf : leaves) {
      const PointD start = Place(leaf, kLeaf[11][0], kLeaf[11][1]);
      cairo_move_to(c.cr, start.x, start.y);
      for (int n = 0; n < 12; n += 3) {
        PointD p[3];
        for (int k = 0; k < 3; ++k) p[k] = Place(leaf, kLeaf[n + k][0], kLeaf[n + k][1]);
        cairo_curve_to(c.cr, p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y);
      }
      cairo_fill(c.cr);
    }
  }
}
#define WITH_CAIRO(name, ...)  \
  BENCHMARK(name) __VA_ARGS__; \
  BENCHMARK(name##Cairo) __VA_ARGS__
#else
#define WITH_CAIRO(name, ...) BENCHMARK(name) __VA_ARGS__
#endif

// Edges, depth of the teeth in percent, opaque.
WITH_CAIRO(
    Polygon, ->ArgsProduct({{3, 10, 100, 10000}, {0, 40}, {0, 1}})->Unit(benchmark::kMicrosecond));
WITH_CAIRO(RealDrawing, ->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond));

}  // namespace
