// Drawings of hundreds of paths: SVG files, read with the parser of examples/svg and recorded once.
// Clips, masks and the opacity of groups are left out.
#include <cmath>
#include <cstdio>
#include <exception>

#include "bench/Workload.h"
#include "bench/scenes.h"
#include "examples/svg/Canvas.h"
#include "examples/svg/Document.h"
#include "examples/svg/Notes.h"
#include "examples/svg/Painter.h"

namespace bench {

namespace {

class Recorder : public svg::Canvas {
 public:
  explicit Recorder(Scene& scene) : Canvas(1, 1, KFormat8888PM, {}), scene_(scene) {}

  void Fill(const svg::Outline& outline, bool evenOdd, const svg::Ink& ink) override {
    if (outline.IsEmpty() || ink.IsClear()) return;
    Item item = bench::Fill(ToPath(outline), kInk, evenOdd);
    item.paint = ToPaint(ink);
    scene_.items.push_back(item);
  }
  void Stroke(const svg::Outline& outline, const svg::Affine& toPixels, const svg::Pen& pen,
              const svg::Ink& ink) override {
    if (outline.IsEmpty() || ink.IsClear() || !(pen.width > 0)) return;
    const double scale = std::sqrt(std::abs(toPixels.Determinant()));
    Pen p{pen.width * scale, Join::Round, Cap::Round, pen.miterLimit, {}};
    if (pen.join == svg::LineJoin::Miter) p.join = Join::Miter;
    if (pen.join == svg::LineJoin::Bevel) p.join = Join::Bevel;
    if (pen.cap == svg::LineCap::Butt) p.cap = Cap::Butt;
    if (pen.cap == svg::LineCap::Square) p.cap = Cap::Square;
    for (const double dash : pen.dashes) p.dashes.push_back(dash * scale);
    Item item = bench::Stroke(ToPath(outline.Mapped(toPixels)), p);
    item.paint = ToPaint(ink);
    scene_.items.push_back(item);
  }
  void DrawImage(KSoftPixmap&, const svg::Affine&, double) override {}
  bool BeginLayer() override { return false; }
  void SetClip(const svg::Outline&, bool) override {}

 private:
  static Color ToColor(const svg::Color& c, double opacity) {
    return {c.red, c.green, c.blue,
            static_cast<std::uint8_t>(std::lround(255 * c.alpha * opacity))};
  }

  static Paint ToPaint(const svg::Ink& ink) {
    if (!ink.gradient) return Solid(ToColor(ink.color, ink.opacity));
    const svg::Gradient& g = *ink.gradient;
    std::vector<Stop> stops;
    for (const auto& s : g.stops) stops.push_back({s.offset, ToColor(s.color, ink.opacity)});
    const auto at = [](svg::Point p) { return Point{p.x, p.y}; };
    Paint paint =
        g.radial ? Radial(at(g.centre), g.radius, stops) : Linear(at(g.from), at(g.to), stops);
    const svg::Affine& m = ink.gradientToPixels;
    paint.matrix = {m.a, m.b, m.c, m.d, m.e, m.f};
    return paint;
  }

  static Path ToPath(const svg::Outline& outline) {
    const auto at = [](svg::Point p) { return Point{p.x, p.y}; };
    Path path;
    for (const svg::Outline::Step& s : outline.Steps()) {
      switch (s.kind) {
        case svg::Outline::Step::Move:
          path.MoveTo(at(s.end));
          break;
        case svg::Outline::Step::Line:
          path.LineTo(at(s.end));
          break;
        case svg::Outline::Step::Cubic:
          path.CubicTo(at(s.c1), at(s.c2), at(s.end));
          break;
        case svg::Outline::Step::Close:
          path.Close();
          break;
      }
    }
    return path;
  }

  Scene& scene_;
};

Scene Read(const std::string& file, int size) {
  Scene scene;
  scene.width = scene.height = size;
  try {
    const svg::Document document(file);
    Recorder recorder(scene);
    svg::Notes notes(file);
    svg::Painter(document, recorder, notes).Draw(size, size);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
  }
  return scene;
}

}  // namespace

void AddDrawings(Workloads& rows, const std::string& folder) {
  const auto row = [&](const char* name, double goal, const char* file, int size) {
    const std::string path = folder + "/" + file;
    std::FILE* there = std::fopen(path.c_str(), "r");
    if (!there) {
      std::fprintf(stderr, "Without %s: there is no %s\n", name, path.c_str());
      return;
    }
    std::fclose(there);
    rows.push_back({name, goal, [=] { return Read(path, size); }, true});
  };
  row("drawing/tiger-700", 0.6, "tiger.svg", 700);
  row("drawing/tiger-128", 0.9, "tiger.svg", 128);
  row("drawing/map-700", 0.4, "map.svg", 700);
  row("drawing/coat-of-arms-700", 0.6, "coat-of-arms.svg", 700);
  row("drawing/shield-700", 0.6, "shield.svg", 700);
}

}  // namespace bench
