// Kalvora: paths, ramps and pixmaps made once, each item a public call.
#include "kalvora/kalvora.h"

#include <cmath>
#include <deque>

#include "bench/Peer.h"

namespace bench {

namespace {

KFixed Fixed(double v) {
  return KFixed::FromRaw(static_cast<std::int32_t>(std::lround(v * 65536)));
}
KVertex2D Fixed(Point p) { return {Fixed(p.x), Fixed(p.y)}; }
KColor32 Color32(Color c) { return {c.red, c.green, c.blue, c.alpha}; }
KSoftMatrix3D Matrix(const Affine& m) {
  KSoftMatrix3D matrix;
  matrix.Set(Fixed(m.a), Fixed(m.b), Fixed(m.c), Fixed(m.d), Fixed(m.e), Fixed(m.f));
  matrix.identity = m.a == 1 && m.b == 0 && m.c == 0 && m.d == 1 && m.e == 0 && m.f == 0;
  matrix.linearIdentity = matrix.identity;
  return matrix;
}

void Build(KSoftPath& out, const Path& path) {
  for (const Path::Step& s : path.steps) {
    switch (s.kind) {
      case Path::Step::Move:
        out.MoveTo(Fixed(s.p[0]));
        break;
      case Path::Step::Line:
        out.LineTo(Fixed(s.p[0]));
        break;
      case Path::Step::Cubic: {
        const KVertex2D points[] = {Fixed(s.p[0]), Fixed(s.p[1]), Fixed(s.p[2])};
        out.BezierTo(3, points, 1);
        break;
      }
      case Path::Step::Close:
        out.Close();
        break;
    }
  }
}

struct Prepared {
  const Item* item;
  KColor32 color;
  KSoftColorRamp ramp;
  KSoftPath path;
  KVertex2D a, b, radii;  // of boxes; of ellipses the centre and the radii
  std::vector<KVertex2D> points;
  KSoftPixmap pixmap;
  KSoftMatrix3D matrix;
  std::deque<KSoftPixmap> masks;
  std::vector<KFixed> dashes;
  KFTFont font;
  std::vector<unsigned short> codes;
  int draws = 0;
};

class KalvoraDrawing : public Drawing {
 public:
  KalvoraDrawing(const Scene& scene, const Target& target) {
    pixmap_.Create(static_cast<unsigned>(target.width), static_cast<unsigned>(target.height),
                   KFormat8888PM, target.pixels);
    context_.RenderToTexture(&pixmap_);
    context_.SetFlatness(Fixed(0.125));
    for (const Item& item : scene.items) Prepare(prepared_.emplace_back(), item);
    if (scene.clip) {
      const auto at = [](double v) { return static_cast<std::int16_t>(v); };
      context_.SetClipRegion({at(scene.clip->left), at(scene.clip->top), at(scene.clip->right),
                              at(scene.clip->bottom)});
    }
    if (scene.clipPath) {
      KSoftPath path;
      Build(path, *scene.clipPath);
      context_.SetClipPath(&path, KFillNonZero);
    }
  }

  void Draw() override {
    for (Prepared& p : prepared_) Draw(p);
  }

 private:
  static void Prepare(Prepared& p, const Item& item) {
    p.item = &item;
    p.color = Color32(item.paint.color);
    PrepareRamp(p, item.paint);
    Build(p.path, item.path);
    p.a = Fixed(Point{item.box.left, item.box.top});
    p.b = Fixed(Point{item.box.right, item.box.bottom});
    p.radii = Fixed(Point{item.radius, item.radius});
    if (item.kind == Item::Ellipse) {
      p.a =
          Fixed(Point{(item.box.left + item.box.right) / 2, (item.box.top + item.box.bottom) / 2});
      p.radii = Fixed(Point{item.box.Width() / 2, item.box.Height() / 2});
    }
    for (const Point point : item.points) p.points.push_back(Fixed(point));
    for (const double d : item.pen.dashes) p.dashes.push_back(Fixed(d));
    p.matrix = Matrix(item.matrix);
    if (item.picture) PreparePicture(p.pixmap, *item.picture, item.filter);
    for (const Stamp& s : item.stamps) {
      p.masks.emplace_back().Create(
          static_cast<unsigned>(s.mask->width), static_cast<unsigned>(s.mask->height), KFormatMask8,
          const_cast<std::uint8_t*>(s.mask->bytes.data()), static_cast<unsigned>(s.mask->stride));
    }
    if (item.kind == Item::Text) {
      p.font.LoadFont(item.font.c_str(), 0);
      p.font.SetFontSize(Fixed(item.size));
      p.codes.assign(item.text.begin(), item.text.end());
    }
  }

  static void PrepareRamp(Prepared& p, const Paint& paint) {
    if (paint.kind == Paint::Solid) return;
    std::vector<KColorStop> stops;
    bool opaque = true;
    for (const Stop& s : paint.stops) {
      stops.push_back({Fixed(s.offset), Color32(s.color)});
      opaque = opaque && s.color.alpha == 255;
    }
    const auto count = static_cast<unsigned>(stops.size());
    const KSpread spread = paint.repeat ? KSpreadRepeat : KSpreadPad;
    const KSoftMatrix3D m = Matrix(paint.matrix);
    if (paint.kind == Paint::Linear) {
      p.ramp.SetLinear(Fixed(paint.from), Fixed(paint.to), m, stops.data(), count, spread);
    } else {
      p.ramp.SetRadial(Fixed(paint.from), Fixed(paint.radius), m, stops.data(), count, spread);
    }
    p.color = {0, 0, 0, opaque ? 255u : 0u};  // a radial gradient blends by the colour before it
  }

  static void PreparePicture(KSoftPixmap& pixmap, const Picture& picture, Filter filter) {
    pixmap.Create(static_cast<unsigned>(picture.width), static_cast<unsigned>(picture.height),
                  picture.alpha ? KFormat8888PM : KFormat0888PM,
                  const_cast<std::uint32_t*>(picture.pixels.data()));
    pixmap.SetQuality(filter == Filter::Nearest    ? KSamplingNearest
                      : filter == Filter::Bilinear ? KSamplingBilinear
                                                   : KSamplingBicubic);
  }

  // There is no stroke outside DrawStroke.
  void SetFill(const Prepared& p) {
    context_.SetFillColor(p.color);
    if (p.item->paint.kind == Paint::Linear) context_.SetFillLGrad(&p.ramp);
    if (p.item->paint.kind == Paint::Radial) context_.SetFillRGrad(&p.ramp);
  }

  void SetFillAndRule(const Prepared& p) {
    SetFill(p);
    context_.SetFillRule(p.item->evenOdd ? KFillEvenOdd : KFillNonZero);
  }

  void DrawStroke(const Prepared& p) {
    const Pen& pen = p.item->pen;
    context_.SetNoFill();
    context_.SetStrokeColor(p.color);
    if (p.item->paint.kind == Paint::Linear) context_.SetStrokeLGrad(&p.ramp);
    if (p.item->paint.kind == Paint::Radial) context_.SetStrokeRGrad(&p.ramp);
    context_.SetLineWidth(Fixed(pen.width));
    context_.SetJoin(static_cast<unsigned>(pen.join));
    context_.SetCaps(static_cast<unsigned>(pen.cap), static_cast<unsigned>(pen.cap));
    context_.SetMiterLimit(Fixed(pen.miterLimit));
    context_.SetDashes(p.dashes.data(), static_cast<unsigned>(p.dashes.size()), Fixed(0));
    context_.DrawPath(&p.path);
    context_.SetNoStroke();
  }

  void Draw(Prepared& p) {
    switch (p.item->kind) {
      case Item::Rectangle:
        SetFill(p);
        context_.DrawRectangle(p.a, p.b);
        break;
      case Item::RoundedRectangle:
        SetFill(p);
        context_.DrawRectangle(p.a, p.b, p.radii);
        break;
      case Item::Ellipse:
        SetFill(p);
        context_.DrawArc(p.a, p.radii, Fixed(0), Fixed(360));
        break;
      case Item::Polygon:
        SetFillAndRule(p);
        context_.DrawPolygon(p.points.data(), static_cast<unsigned>(p.points.size()), true);
        break;
      case Item::Fill:
        SetFillAndRule(p);
        context_.DrawPath(&p.path);
        break;
      case Item::Stroke:
        DrawStroke(p);
        break;
      case Item::Image:
        context_.SetTransform(p.matrix);
        context_.DrawPixmap(&p.pixmap, p.a, p.b);
        break;
      case Item::Stamps:
        SetFill(p);
        DrawStamps(p);
        break;
      case Item::Text:
        SetFill(p);
        if (p.item->cold) p.font.SetFontSize(NextSize(p));
        context_.SetFont(&p.font);
        context_.DrawText(p.codes.data(), static_cast<unsigned>(p.codes.size()), p.a);
        break;
    }
  }

  // One of so many that their glyphs do not fit into the cache.
  static KFixed NextSize(Prepared& p) {
    p.draws = (p.draws + 1) % 4096;
    return Fixed(p.item->size) + KFixed::FromRaw(p.draws);
  }

  void DrawStamps(Prepared& p) {
    for (std::size_t i = 0; i < p.masks.size(); ++i) {
      const Stamp& s = p.item->stamps[i];
      context_.DrawAlphaMask(&p.masks[i], s.x, s.y, s.x + s.mask->width, s.y + s.mask->height);
    }
  }

  KSoftPixmap pixmap_;
  std::deque<Prepared> prepared_;
  KSoftContext2D context_;
};

}  // namespace

std::unique_ptr<Drawing> PrepareKalvora(const Scene& scene, const Target& target) {
  return std::make_unique<KalvoraDrawing>(scene, target);
}

}  // namespace bench
