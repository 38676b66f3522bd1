// Cairo's image surface. Patterns are made once; paths are handed over call by call in every draw,
// since a Cairo context keeps none.
#include <cmath>

#include <cairo-ft.h>
#include <cairo.h>

#include "bench/Peer.h"

namespace bench {

namespace {

cairo_matrix_t Matrix(const Affine& m) {
  cairo_matrix_t matrix;
  cairo_matrix_init(&matrix, m.a, m.b, m.c, m.d, m.e, m.f);
  return matrix;
}

cairo_pattern_t* MakePaint(const Paint& paint) {
  const Color c = paint.color;
  if (paint.kind == Paint::Solid) {
    return cairo_pattern_create_rgba(c.red / 255.0, c.green / 255.0, c.blue / 255.0,
                                     c.alpha / 255.0);
  }
  cairo_pattern_t* p =
      paint.kind == Paint::Linear
          ? cairo_pattern_create_linear(paint.from.x, paint.from.y, paint.to.x, paint.to.y)
          : cairo_pattern_create_radial(paint.from.x, paint.from.y, 0, paint.from.x, paint.from.y,
                                        paint.radius);
  for (const Stop& s : paint.stops) {
    cairo_pattern_add_color_stop_rgba(p, s.offset, s.color.red / 255.0, s.color.green / 255.0,
                                      s.color.blue / 255.0, s.color.alpha / 255.0);
  }
  cairo_pattern_set_extend(p, paint.repeat ? CAIRO_EXTEND_REPEAT : CAIRO_EXTEND_PAD);
  cairo_matrix_t m = Matrix(paint.matrix);
  cairo_matrix_invert(&m);
  cairo_pattern_set_matrix(p, &m);
  return p;
}

cairo_pattern_t* MakeImage(const Item& item) {
  const Picture& picture = *item.picture;
  cairo_surface_t* s = cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(picture.pixels.data())),
      picture.alpha ? CAIRO_FORMAT_ARGB32 : CAIRO_FORMAT_RGB24, picture.width, picture.height,
      picture.width * 4);
  cairo_pattern_t* p = cairo_pattern_create_for_surface(s);
  cairo_surface_destroy(s);
  cairo_matrix_t m;
  cairo_matrix_init_scale(&m, picture.width / item.box.Width(), picture.height / item.box.Height());
  cairo_matrix_translate(&m, -item.box.left, -item.box.top);
  cairo_pattern_set_matrix(p, &m);
  cairo_pattern_set_filter(p, item.filter == Filter::Nearest    ? CAIRO_FILTER_NEAREST
                              : item.filter == Filter::Bilinear ? CAIRO_FILTER_BILINEAR
                                                                : CAIRO_FILTER_BEST);
  cairo_pattern_set_extend(p, CAIRO_EXTEND_PAD);
  return p;
}

struct Prepared {
  const Item* item;
  cairo_pattern_t* pattern;
  std::vector<cairo_surface_t*> masks{};
  FT_Face face = nullptr;
  cairo_font_face_t* font = nullptr;
  std::vector<cairo_glyph_t> glyphs{};
  int draws = 0;
};

class CairoDrawing : public Drawing {
 public:
  CairoDrawing(const Scene& scene, const Target& target)
      : surface_(cairo_image_surface_create_for_data(
            reinterpret_cast<unsigned char*>(target.pixels), CAIRO_FORMAT_ARGB32, target.width,
            target.height, target.width * 4)),
        cr_(cairo_create(surface_)) {
    cairo_set_tolerance(cr_, 0.125);
    if (scene.clip) {
      cairo_rectangle(cr_, scene.clip->left, scene.clip->top, scene.clip->Width(),
                      scene.clip->Height());
      cairo_clip(cr_);
    }
    if (scene.clipPath) {
      Trace(*scene.clipPath);
      cairo_clip(cr_);
    }
    for (const Item& item : scene.items) {
      Prepared p{&item, item.picture ? MakeImage(item) : MakePaint(item.paint)};
      for (const Stamp& s : item.stamps) {
        p.masks.push_back(cairo_image_surface_create_for_data(
            const_cast<std::uint8_t*>(s.mask->bytes.data()), CAIRO_FORMAT_A8, s.mask->width,
            s.mask->height, s.mask->stride));
      }
      if (item.kind == Item::Text) PrepareText(p);
      prepared_.push_back(std::move(p));
    }
  }
  ~CairoDrawing() override {
    for (const Prepared& p : prepared_) {
      cairo_pattern_destroy(p.pattern);
      for (cairo_surface_t* mask : p.masks) cairo_surface_destroy(mask);
      if (p.font) cairo_font_face_destroy(p.font);
    }
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
    if (library_) {
      cairo_debug_reset_static_data();  // lets go of the faces
      FT_Done_FreeType(library_);
    }
  }
  CairoDrawing(const CairoDrawing&) = delete;
  CairoDrawing& operator=(const CairoDrawing&) = delete;

  void Draw() override {
    for (Prepared& p : prepared_) Draw(p);
  }

 private:
  void Trace(const Path& path) {
    for (const Path::Step& s : path.steps) {
      switch (s.kind) {
        case Path::Step::Move:
          cairo_move_to(cr_, s.p[0].x, s.p[0].y);
          break;
        case Path::Step::Line:
          cairo_line_to(cr_, s.p[0].x, s.p[0].y);
          break;
        case Path::Step::Cubic:
          cairo_curve_to(cr_, s.p[0].x, s.p[0].y, s.p[1].x, s.p[1].y, s.p[2].x, s.p[2].y);
          break;
        case Path::Step::Close:
          cairo_close_path(cr_);
          break;
      }
    }
  }

  void TraceRounded(const Box& b, double r) {
    cairo_arc(cr_, b.right - r, b.top + r, r, -M_PI / 2, 0);
    cairo_arc(cr_, b.right - r, b.bottom - r, r, 0, M_PI / 2);
    cairo_arc(cr_, b.left + r, b.bottom - r, r, M_PI / 2, M_PI);
    cairo_arc(cr_, b.left + r, b.top + r, r, M_PI, 3 * M_PI / 2);
    cairo_close_path(cr_);
  }

  void FillByRule(const Item& i) {
    cairo_set_fill_rule(cr_, i.evenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
    cairo_fill(cr_);
  }

  void SetPen(const Pen& pen) {
    cairo_set_line_width(cr_, pen.width);
    cairo_set_line_join(cr_, pen.join == Join::Bevel   ? CAIRO_LINE_JOIN_BEVEL
                             : pen.join == Join::Miter ? CAIRO_LINE_JOIN_MITER
                                                       : CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(cr_, pen.cap == Cap::Butt     ? CAIRO_LINE_CAP_BUTT
                            : pen.cap == Cap::Square ? CAIRO_LINE_CAP_SQUARE
                                                     : CAIRO_LINE_CAP_ROUND);
    cairo_set_miter_limit(cr_, pen.miterLimit);
    cairo_set_dash(cr_, pen.dashes.data(), static_cast<int>(pen.dashes.size()), 0);
  }

  // Unhinted and grey; glyphs and positions are known beforehand.
  void PrepareText(Prepared& p) {
    const Item& item = *p.item;
    if (!library_ && FT_Init_FreeType(&library_)) return;
    if (FT_New_Face(library_, item.font.c_str(), 0, &p.face)) return;
    p.font = cairo_ft_font_face_create_for_ft_face(p.face, FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP);
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(cr_, options);
    cairo_font_options_destroy(options);
    cairo_set_font_face(cr_, p.font);
    cairo_set_font_size(cr_, item.size);
    double x = item.box.left;
    for (const char16_t code : item.text) {
      cairo_glyph_t glyph = {FT_Get_Char_Index(p.face, code), x, item.box.top};
      cairo_text_extents_t extents;
      cairo_glyph_extents(cr_, &glyph, 1, &extents);
      p.glyphs.push_back(glyph);
      x += extents.x_advance;
    }
  }

  void DrawText(Prepared& p) {
    if (!p.font) return;
    if (p.item->cold) p.draws = (p.draws + 1) % 4096;
    cairo_set_font_face(cr_, p.font);
    cairo_set_font_size(cr_, p.item->size + p.draws / 65536.0);
    cairo_show_glyphs(cr_, p.glyphs.data(), static_cast<int>(p.glyphs.size()));
  }

  void Draw(Prepared& p) {
    const Item& i = *p.item;
    cairo_set_source(cr_, p.pattern);
    switch (i.kind) {
      case Item::Rectangle:
        cairo_rectangle(cr_, i.box.left, i.box.top, i.box.Width(), i.box.Height());
        cairo_fill(cr_);
        break;
      case Item::RoundedRectangle:
        TraceRounded(i.box, i.radius);
        cairo_fill(cr_);
        break;
      case Item::Ellipse:
        cairo_arc(cr_, (i.box.left + i.box.right) / 2, (i.box.top + i.box.bottom) / 2,
                  i.box.Width() / 2, 0, 2 * M_PI);
        cairo_fill(cr_);
        break;
      case Item::Polygon:
        for (const Point q : i.points) cairo_line_to(cr_, q.x, q.y);
        FillByRule(i);
        break;
      case Item::Fill:
        Trace(i.path);
        FillByRule(i);
        break;
      case Item::Stroke:
        SetPen(i.pen);
        Trace(i.path);
        cairo_stroke(cr_);
        break;
      case Item::Image:
        DrawImage(p);
        break;
      case Item::Stamps:
        for (std::size_t n = 0; n < p.masks.size(); ++n) {
          cairo_mask_surface(cr_, p.masks[n], i.stamps[n].x, i.stamps[n].y);
        }
        break;
      case Item::Text:
        DrawText(p);
        break;
    }
  }

  void DrawImage(const Prepared& p) {
    const cairo_matrix_t m = Matrix(p.item->matrix);
    const Box& box = p.item->box;
    cairo_save(cr_);
    cairo_set_matrix(cr_, &m);
    cairo_set_source(cr_, p.pattern);
    cairo_rectangle(cr_, box.left, box.top, box.Width(), box.Height());
    cairo_fill(cr_);
    cairo_restore(cr_);
  }

  cairo_surface_t* surface_;
  cairo_t* cr_;
  FT_Library library_ = nullptr;
  std::vector<Prepared> prepared_;
};

}  // namespace

std::unique_ptr<Drawing> PrepareCairo(const Scene& scene, const Target& target) {
  return std::make_unique<CairoDrawing>(scene, target);
}

}  // namespace bench
