// Strokes beside Cairo's strokes of the same paths.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include <cairo.h>
#include <gtest/gtest.h>

#include "kalvora/context/KSoftContext2D.h"

namespace {

constexpr int kSize = 200;

KFixed Fixed(double v) { return KFixed::FromRaw(static_cast<std::int32_t>(std::lrint(v * 65536))); }

/// Draws in both libraries at once.
class Pair {
 public:
  Pair() {
    pixmap_.Create(kSize, kSize, KFormat8888PM);
    context.RenderToTexture(&pixmap_);
    context.Clear({255, 255, 255, 255});
    context.SetNoFill();
    context.SetStrokeColor({0, 0, 0, 255});
    surface_ = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kSize, kSize);
    cairo = cairo_create(surface_);
    cairo_set_source_rgb(cairo, 1, 1, 1);
    cairo_paint(cairo);
    cairo_set_source_rgb(cairo, 0, 0, 0);
    cairo_set_tolerance(cairo, 0.001);
    cairo_set_antialias(cairo, CAIRO_ANTIALIAS_BEST);
  }
  ~Pair() {
    cairo_destroy(cairo);
    cairo_surface_destroy(surface_);
  }
  Pair(const Pair&) = delete;
  Pair& operator=(const Pair&) = delete;

  void Move(double x, double y) {
    path_.MoveTo({Fixed(x), Fixed(y)});
    cairo_move_to(cairo, x, y);
  }
  void Line(double x, double y) {
    path_.LineTo({Fixed(x), Fixed(y)});
    cairo_line_to(cairo, x, y);
  }
  void Cubic(double a, double b, double c, double d, double x, double y) {
    path_.CubicTo({Fixed(a), Fixed(b)}, {Fixed(c), Fixed(d)}, {Fixed(x), Fixed(y)});
    cairo_curve_to(cairo, a, b, c, d, x, y);
  }
  void Circle(double x, double y, double r) {
    path_.AddArc({Fixed(x), Fixed(y)}, {Fixed(r), Fixed(r)}, Fixed(0), Fixed(360));
    cairo_new_sub_path(cairo);
    cairo_arc(cairo, x, y, r, 0, 2 * M_PI);
    cairo_close_path(cairo);
  }
  void Close() {
    path_.Close();
    cairo_close_path(cairo);
  }
  void Transform(const cairo_matrix_t& m) {
    context.Transform().Set(Fixed(m.xx), Fixed(m.yx), Fixed(m.xy), Fixed(m.yy), Fixed(m.x0),
                            Fixed(m.y0));
    cairo_set_matrix(cairo, &m);
  }
  void Stroke() {
    context.DrawPath(&path_);
    cairo_stroke(cairo);
    cairo_surface_flush(surface_);
  }

  /// Grey levels of both, 0 to 255.
  int Ours(int x, int y) const {
    return static_cast<int>(pixmap_.Row32(static_cast<unsigned>(y))[x] & 255);
  }
  int Theirs(int x, int y) const {
    return cairo_image_surface_get_data(
        surface_)[y * cairo_image_surface_get_stride(surface_) + 4 * x];
  }

  KSoftContext2D context;
  cairo_t* cairo;

 private:
  KSoftPixmap pixmap_;
  cairo_surface_t* surface_;
  KSoftPath path_;
};

void WritePictures(const Pair& pair, const std::string& file) {
  constexpr int kZoom = 4;
  cairo_surface_t* out =
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, 3 * kSize * kZoom, kSize * kZoom);
  unsigned char* data = cairo_image_surface_get_data(out);
  const int stride = cairo_image_surface_get_stride(out);
  for (int y = 0; y < kSize * kZoom; ++y) {
    for (int x = 0; x < 3 * kSize * kZoom; ++x) {
      const int px = x / kZoom % kSize, py = y / kZoom;
      const int ours = pair.Ours(px, py), theirs = pair.Theirs(px, py);
      const int levels[] = {ours, theirs, std::max(0, 255 - 8 * std::abs(ours - theirs))};
      std::fill_n(data + y * stride + 4 * x, 3,
                  static_cast<unsigned char>(levels[x / (kZoom * kSize)]));
    }
  }
  cairo_surface_mark_dirty(out);
  cairo_surface_write_to_png(out, file.c_str());
  cairo_surface_destroy(out);
}

void Zigzag(Pair& p) {
  p.Move(20, 20);
  for (const auto& q : {std::pair{100, 40}, {30, 80}, {90, 90}, {95, 101}, {180, 60}, {170, 170}}) {
    p.Line(q.first, q.second);
  }
  p.Move(30, 120);
  p.Line(81, 120);
  p.Line(81, 171);
  p.Line(30, 171);
  p.Close();
  p.Move(110, 110);
  p.Line(150, 150);
  p.Line(112, 150);
}

void Curves(Pair& p) {
  p.Move(20, 150);
  p.Cubic(60, -60, 120, 250, 180, 50);
  p.Move(20, 20);
  p.Cubic(100, 20, 20, 100, 100, 100);  // turns sharply in the middle
  p.Move(120, 20);
  p.Cubic(200, 60, 90, 60, 170, 20);  // a loop
  p.Circle(150, 150, 30);
}

void Cusps(Pair& p) {
  p.Move(60, 100);
  p.Cubic(60, 60, 101, 60, 101, 100);
  p.Cubic(101, 140, 60, 140, 60, 100);
  p.Close();
  p.Move(120, 40);
  p.Cubic(180, 40, 180, 40, 125, 43);
  p.Move(20, 20);
  p.Cubic(100, 90, 20, 90, 100, 20);  // nearly a cusp
  p.Move(120, 150);
  p.Line(160, 150);
  p.Line(120, 152);
}

struct Scene {
  const char* name;
  void (*draw)(Pair&);
};
const Scene kScenes[] = {{"zigzag", Zigzag}, {"curves", Curves}, {"cusps", Cusps}};

struct Style {
  const char* name;
  double width;
  unsigned join, cap;
  std::vector<double> dashes;
  double phase;
  cairo_matrix_t matrix;
};
const Style kStyles[] = {
    {"hair", 1, 1, 0, {}, 0, {1, 0, 0, 1, 0, 0}},
    {"miter", 8, 1, 1, {}, 0, {1, 0, 0, 1, 0, 0}},
    {"round", 12, 2, 2, {}, 0, {1, 0, 0, 1, 0, 0}},
    {"bevel", 8, 0, 0, {}, 0, {1, 0, 0, 1, 0, 0}},
    {"dashes", 5, 1, 0, {11, 6}, 3, {1, 0, 0, 1, 0, 0}},
    {"dots", 6, 2, 2, {0.01, 11}, 0, {1, 0, 0, 1, 0, 0}},
    {"odd", 3, 2, 1, {9, 7, 13}, -5.5, {1, 0, 0, 1, 0, 0}},
    {"skewed", 8, 1, 2, {}, 0, {0.8, 0.2, -0.5, 0.6, 60, 10}},
    {"mirrored", 6, 2, 2, {15, 10}, 0, {-0.9, 0, 0.1, 0.5, 180, 20}},
};

TEST(Pictures, StrokesLookLikeCairos) {
  constexpr unsigned kCairoJoins[] = {CAIRO_LINE_JOIN_BEVEL, CAIRO_LINE_JOIN_MITER,
                                      CAIRO_LINE_JOIN_ROUND};
  constexpr unsigned kCairoCaps[] = {CAIRO_LINE_CAP_BUTT, CAIRO_LINE_CAP_SQUARE,
                                     CAIRO_LINE_CAP_ROUND};
  const char* folder = std::getenv("KALVORA_PICTURES");
  for (const Scene& scene : kScenes) {
    for (const Style& style : kStyles) {
      Pair pair;
      pair.context.SetLineWidth(Fixed(style.width));
      pair.context.SetJoin(style.join);
      pair.context.SetCaps(style.cap, style.cap);
      pair.context.SetMiterLimit(Fixed(4));
      std::vector<KFixed> dashes;
      for (const double dash : style.dashes) dashes.push_back(Fixed(dash));
      pair.context.SetDashes(dashes.data(), static_cast<unsigned>(dashes.size()),
                             Fixed(style.phase));
      pair.Transform(style.matrix);
      cairo_set_line_width(pair.cairo, style.width);
      cairo_set_line_join(pair.cairo, static_cast<cairo_line_join_t>(kCairoJoins[style.join]));
      cairo_set_line_cap(pair.cairo, static_cast<cairo_line_cap_t>(kCairoCaps[style.cap]));
      cairo_set_miter_limit(pair.cairo, 4);
      cairo_set_dash(pair.cairo, style.dashes.data(), static_cast<int>(style.dashes.size()),
                     style.phase);
      scene.draw(pair);
      pair.Stroke();

      const std::string name = std::string(scene.name) + "-" + style.name;
      if (folder) WritePictures(pair, std::string(folder) + "/" + name + ".png");
      int sum = 0, drawn = 0, visible = 0;
      for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
          const int difference = std::abs(pair.Ours(x, y) - pair.Theirs(x, y));
          sum += difference;
          visible += difference > 48;
          drawn += pair.Theirs(x, y) < 255;
        }
      }
      EXPECT_LT(sum, kSize * kSize) << name;
      EXPECT_EQ(visible, 0) << name;
      EXPECT_GT(drawn, 500) << name;
      if (folder) {
        std::printf("%-20s mean %.3f, over drawn pixels %.2f\n", name.c_str(),
                    sum / double{kSize * kSize}, sum / double(drawn));
      }
    }
  }
}

}  // namespace
