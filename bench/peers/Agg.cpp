// AGG: a rasterizer, scan lines and span generators put together for each item.
#include <cmath>
#include <deque>

#include <agg_conv_curve.h>
#include <agg_conv_dash.h>
#include <agg_conv_stroke.h>
#include <agg_ellipse.h>
#include <agg_gradient_lut.h>
#include <agg_image_accessors.h>
#include <agg_path_storage.h>
#include <agg_pixfmt_rgba.h>
#include <agg_rasterizer_scanline_aa.h>
#include <agg_renderer_scanline.h>
#include <agg_rounded_rect.h>
#include <agg_scanline_u.h>
#include <agg_span_allocator.h>
#include <agg_span_gradient.h>
#include <agg_span_image_filter_rgba.h>
#include <agg_span_interpolator_linear.h>

#include "bench/Peer.h"

namespace bench {

namespace {

using PixelFormat = agg::pixfmt_bgra32_pre;
using Base = agg::renderer_base<PixelFormat>;
using Interpolator = agg::span_interpolator_linear<>;
using Lut = agg::gradient_lut<agg::color_interpolator<agg::rgba8>, 256>;
using Accessor = agg::image_accessor_clone<PixelFormat>;

constexpr double kCurveScale = 4;  // half a pixel / 4: an eighth
constexpr double kLutUnits = 256;  // of a gradient from 0 to 1

agg::rgba8 Premultiplied(Color c) {
  agg::rgba8 color(c.red, c.green, c.blue, c.alpha);
  return color.premultiply();
}

agg::trans_affine Matrix(const Affine& m) { return {m.a, m.b, m.c, m.d, m.e, m.f}; }

// Pixels to the gradient's own space, in which it runs from 0 to kLutUnits along x or the radius.
agg::trans_affine ToGradient(const Paint& paint) {
  agg::trans_affine m;
  if (paint.kind == Paint::Linear) {
    const double dx = paint.to.x - paint.from.x, dy = paint.to.y - paint.from.y;
    m *= agg::trans_affine_scaling(std::hypot(dx, dy) / kLutUnits);
    m *= agg::trans_affine_rotation(std::atan2(dy, dx));
  } else {
    m *= agg::trans_affine_scaling(paint.radius / kLutUnits);
  }
  m *= agg::trans_affine_translation(paint.from.x, paint.from.y);
  m *= Matrix(paint.matrix);
  return m.invert();
}

void BuildLut(Lut& lut, const Paint& paint) {
  for (const Stop& s : paint.stops) lut.add_color(s.offset, Premultiplied(s.color));
  lut.build_lut();
}

void Build(agg::path_storage& out, const Path& path) {
  for (const Path::Step& s : path.steps) {
    switch (s.kind) {
      case Path::Step::Move:
        out.move_to(s.p[0].x, s.p[0].y);
        break;
      case Path::Step::Line:
        out.line_to(s.p[0].x, s.p[0].y);
        break;
      case Path::Step::Cubic:
        out.curve4(s.p[0].x, s.p[0].y, s.p[1].x, s.p[1].y, s.p[2].x, s.p[2].y);
        break;
      case Path::Step::Close:
        out.close_polygon();
        break;
    }
  }
}

struct Prepared {
  const Item* item;
  agg::rgba8 color;
  agg::path_storage path;
  Lut lut;
  agg::trans_affine toGradient;
  agg::rendering_buffer picture;
  agg::trans_affine toPicture;
};

class AggDrawing : public Drawing {
 public:
  AggDrawing(const Scene& scene, const Target& target)
      : buffer_(reinterpret_cast<agg::int8u*>(target.pixels), static_cast<unsigned>(target.width),
                static_cast<unsigned>(target.height), target.width * 4),
        format_(buffer_),
        base_(format_),
        bicubic_(agg::image_filter_catrom(), true) {
    const Box clip = scene.clip.value_or(Box{0, 0, double(target.width), double(target.height)});
    base_.clip_box(int(clip.left), int(clip.top), int(clip.right) - 1, int(clip.bottom) - 1);
    rasterizer_.clip_box(clip.left, clip.top, clip.right, clip.bottom);
    for (const Item& item : scene.items) Prepare(prepared_.emplace_back(), item);
  }

  void Draw() override {
    for (Prepared& p : prepared_) Draw(p);
  }

 private:
  static void Prepare(Prepared& p, const Item& item) {
    p.item = &item;
    p.color = Premultiplied(item.paint.color);
    Build(p.path, item.path);
    for (std::size_t i = 0; i < item.points.size(); ++i) {
      const Point q = item.points[i];
      i ? p.path.line_to(q.x, q.y) : p.path.move_to(q.x, q.y);
    }
    const Box& b = item.box;
    if (item.kind == Item::Rectangle || item.kind == Item::Image) {
      const Point corners[] = {
          {b.left, b.top}, {b.right, b.top}, {b.right, b.bottom}, {b.left, b.bottom}};
      for (int i = 0; i < 4; ++i) {
        const Point q = item.matrix * corners[i];
        i ? p.path.line_to(q.x, q.y) : p.path.move_to(q.x, q.y);
      }
    }
    if (item.paint.kind != Paint::Solid) {
      BuildLut(p.lut, item.paint);
      p.toGradient = ToGradient(item.paint);
    }
    if (item.picture) {
      const Picture& picture = *item.picture;
      p.picture.attach(
          reinterpret_cast<agg::int8u*>(const_cast<std::uint32_t*>(picture.pixels.data())),
          static_cast<unsigned>(picture.width), static_cast<unsigned>(picture.height),
          picture.width * 4);
      p.toPicture =
          agg::trans_affine_scaling(b.Width() / picture.width, b.Height() / picture.height);
      p.toPicture *= agg::trans_affine_translation(b.left, b.top);
      p.toPicture *= Matrix(item.matrix);
      p.toPicture.invert();
    }
  }

  void Draw(Prepared& p) {
    const Item& i = *p.item;
    const Box& b = i.box;
    rasterizer_.reset();
    rasterizer_.filling_rule(i.evenOdd ? agg::fill_even_odd : agg::fill_non_zero);
    switch (i.kind) {
      case Item::Rectangle:
        DrawRectangle(p);
        break;
      case Item::RoundedRectangle: {
        agg::rounded_rect rect(b.left, b.top, b.right, b.bottom, i.radius);
        rasterizer_.add_path(rect);
        Paint(p);
        break;
      }
      case Item::Ellipse: {
        agg::ellipse ellipse((b.left + b.right) / 2, (b.top + b.bottom) / 2, b.Width() / 2,
                             b.Height() / 2);
        rasterizer_.add_path(ellipse);
        Paint(p);
        break;
      }
      case Item::Polygon:
        rasterizer_.add_path(p.path);
        Paint(p);
        break;
      case Item::Fill: {
        agg::conv_curve<agg::path_storage> curve(p.path);
        curve.approximation_scale(kCurveScale);
        rasterizer_.add_path(curve);
        Paint(p);
        break;
      }
      case Item::Stroke:
        AddStroke(p);
        Paint(p);
        break;
      case Item::Image:
        DrawImage(p);
        break;
      case Item::Stamps:
        DrawStamps(p);
        break;
      case Item::Text:
        break;
    }
  }

  template <typename Source>
  void AddPen(Source& source, const Pen& pen) {
    agg::conv_stroke<Source> stroke(source);
    stroke.width(pen.width);
    stroke.line_join(pen.join == Join::Round   ? agg::round_join
                     : pen.join == Join::Miter ? agg::miter_join
                                               : agg::bevel_join);
    stroke.line_cap(pen.cap == Cap::Round    ? agg::round_cap
                    : pen.cap == Cap::Square ? agg::square_cap
                                             : agg::butt_cap);
    stroke.miter_limit(pen.miterLimit);
    rasterizer_.add_path(stroke);
  }

  void AddStroke(Prepared& p) {
    const Pen& pen = p.item->pen;
    agg::conv_curve<agg::path_storage> curve(p.path);
    curve.approximation_scale(kCurveScale);
    if (pen.dashes.empty()) return AddPen(curve, pen);
    agg::conv_dash<agg::conv_curve<agg::path_storage>> dash(curve);
    for (std::size_t i = 0; i + 1 < pen.dashes.size(); i += 2) {
      dash.add_dash(pen.dashes[i], pen.dashes[i + 1]);
    }
    AddPen(dash, pen);
  }

  // Whole pixels need no rasterizer.
  void DrawRectangle(Prepared& p) {
    const Box& b = p.item->box;
    const int x0 = int(b.left), y0 = int(b.top), x1 = int(b.right), y1 = int(b.bottom);
    const bool whole = x0 == b.left && y0 == b.top && x1 == b.right && y1 == b.bottom;
    if (p.item->paint.kind == Paint::Solid && whole) {
      if (p.color.a == 255) {
        base_.copy_bar(x0, y0, x1 - 1, y1 - 1, p.color);
      } else {
        base_.blend_bar(x0, y0, x1 - 1, y1 - 1, p.color, agg::cover_full);
      }
      return;
    }
    rasterizer_.add_path(p.path);
    Paint(p);
  }

  void Paint(Prepared& p) {
    switch (p.item->paint.kind) {
      case Paint::Solid:
        agg::render_scanlines_aa_solid(rasterizer_, scanline_, base_, p.color);
        break;
      case Paint::Linear:
        PaintGradient(p, agg::gradient_x());
        break;
      case Paint::Radial:
        PaintGradient(p, agg::gradient_radial());
        break;
    }
  }

  template <typename Shape>
  void PaintGradient(Prepared& p, const Shape& shape) {
    if (p.item->paint.repeat) {
      PaintSpans(p, agg::gradient_repeat_adaptor<Shape>(shape));
    } else {
      PaintSpans(p, shape);
    }
  }

  template <typename Shape>
  void PaintSpans(Prepared& p, Shape shape) {
    Interpolator interpolator(p.toGradient);
    agg::span_gradient<agg::rgba8, Interpolator, Shape, Lut> spans(interpolator, shape, p.lut, 0,
                                                                   kLutUnits);
    agg::render_scanlines_aa(rasterizer_, scanline_, base_, allocator_, spans);
  }

  void DrawImage(Prepared& p) {
    const Item& i = *p.item;
    PixelFormat source(p.picture);
    if (i.box.Width() == i.picture->width && i.matrix.b == 0) {
      if (i.picture->alpha) {
        base_.blend_from(source, nullptr, int(i.box.left), int(i.box.top));
      } else {
        base_.copy_from(p.picture, nullptr, int(i.box.left), int(i.box.top));
      }
      return;
    }
    rasterizer_.add_path(p.path);
    Interpolator interpolator(p.toPicture);
    Accessor accessor(source);
    if (i.filter == Filter::Nearest) {
      agg::span_image_filter_rgba_nn<Accessor, Interpolator> spans(accessor, interpolator);
      agg::render_scanlines_aa(rasterizer_, scanline_, base_, allocator_, spans);
    } else if (i.filter == Filter::Bilinear) {
      agg::span_image_filter_rgba_bilinear<Accessor, Interpolator> spans(accessor, interpolator);
      agg::render_scanlines_aa(rasterizer_, scanline_, base_, allocator_, spans);
    } else {
      agg::span_image_filter_rgba<Accessor, Interpolator> spans(accessor, interpolator, bicubic_);
      agg::render_scanlines_aa(rasterizer_, scanline_, base_, allocator_, spans);
    }
  }

  void DrawStamps(const Prepared& p) {
    for (const Stamp& s : p.item->stamps) {
      for (int y = 0; y < s.mask->height; ++y) {
        base_.blend_solid_hspan(s.x, s.y + y, s.mask->width, p.color,
                                &s.mask->bytes[static_cast<std::size_t>(y) * s.mask->stride]);
      }
    }
  }

  agg::rendering_buffer buffer_;
  PixelFormat format_;
  Base base_;
  agg::image_filter_lut bicubic_;
  agg::rasterizer_scanline_aa<> rasterizer_;
  agg::scanline_u8 scanline_;
  agg::span_allocator<agg::rgba8> allocator_;
  std::deque<Prepared> prepared_;
};

}  // namespace

std::unique_ptr<Drawing> PrepareAgg(const Scene& scene, const Target& target) {
  if (scene.clipPath) return nullptr;
  for (const Item& item : scene.items) {
    if (item.kind == Item::Text) return nullptr;
  }
  return std::make_unique<AggDrawing>(scene, target);
}

}  // namespace bench
