// pixman: compositing alone: rectangles on whole pixels, gradients, pictures and masks.
#include <cmath>

#include <pixman.h>

#include "bench/Peer.h"

namespace bench {

namespace {

int Whole(double v) { return static_cast<int>(std::lround(v)); }
bool IsWhole(const Box& b) {
  for (const double v : {b.left, b.top, b.right, b.bottom}) {
    if (v != std::floor(v)) return false;
  }
  return true;
}

pixman_color_t Premultiplied(Color c) {
  const auto channel = [c](int v) { return static_cast<std::uint16_t>(v * c.alpha * 257 / 255); };
  return {channel(c.red), channel(c.green), channel(c.blue),
          static_cast<std::uint16_t>(c.alpha * 257)};
}

pixman_point_fixed_t FixedPoint(Point p) {
  return {pixman_double_to_fixed(p.x), pixman_double_to_fixed(p.y)};
}

pixman_image_t* MakeGradient(const Paint& paint) {
  std::vector<pixman_gradient_stop_t> stops;
  for (const Stop& s : paint.stops) {
    stops.push_back({pixman_double_to_fixed(s.offset), Premultiplied(s.color)});
  }
  const pixman_point_fixed_t from = FixedPoint(paint.from), to = FixedPoint(paint.to);
  const int count = static_cast<int>(stops.size());
  pixman_image_t* image =
      paint.kind == Paint::Linear
          ? pixman_image_create_linear_gradient(&from, &to, stops.data(), count)
          : pixman_image_create_radial_gradient(
                &from, &from, 0, pixman_double_to_fixed(paint.radius), stops.data(), count);
  pixman_image_set_repeat(image, paint.repeat ? PIXMAN_REPEAT_NORMAL : PIXMAN_REPEAT_PAD);
  return image;
}

// Target to picture.
pixman_f_transform_t ToPicture(const Item& item) {
  const Affine& m = item.matrix;
  pixman_f_transform_t t = {{{m.a, m.c, m.e}, {m.b, m.d, m.f}, {0, 0, 1}}}, inverse;
  pixman_f_transform_invert(&inverse, &t);
  pixman_f_transform_translate(&inverse, nullptr, -item.box.left, -item.box.top);
  pixman_f_transform_scale(&inverse, nullptr, item.picture->width / item.box.Width(),
                           item.picture->height / item.box.Height());
  return inverse;
}

void SetBicubic(pixman_image_t* image, double scale) {
  int count = 0;
  pixman_fixed_t* values = pixman_filter_create_separable_convolution(
      &count, pixman_double_to_fixed(scale), pixman_double_to_fixed(scale), PIXMAN_KERNEL_CUBIC,
      PIXMAN_KERNEL_CUBIC, PIXMAN_KERNEL_IMPULSE, PIXMAN_KERNEL_IMPULSE, 4, 4);
  pixman_image_set_filter(image, PIXMAN_FILTER_SEPARABLE_CONVOLUTION, values, count);
  free(values);
}

pixman_image_t* MakePicture(const Item& item, bool turned) {
  const Picture& p = *item.picture;
  pixman_image_t* image =
      pixman_image_create_bits(p.alpha || turned ? PIXMAN_a8r8g8b8 : PIXMAN_x8r8g8b8, p.width,
                               p.height, const_cast<std::uint32_t*>(p.pixels.data()), p.width * 4);
  const pixman_f_transform_t f = ToPicture(item);
  pixman_transform_t t;
  pixman_transform_from_pixman_f_transform(&t, &f);
  pixman_image_set_transform(image, &t);
  pixman_image_set_repeat(image, turned ? PIXMAN_REPEAT_NONE : PIXMAN_REPEAT_PAD);
  if (item.filter == Filter::Bicubic) {
    SetBicubic(image, std::hypot(f.m[0][0], f.m[0][1]));
  } else {
    pixman_image_set_filter(
        image, item.filter == Filter::Bilinear ? PIXMAN_FILTER_BILINEAR : PIXMAN_FILTER_NEAREST,
        nullptr, 0);
  }
  return image;
}

// The whole pixels around a box that the matrix moves.
Box Around(const Item& item) {
  Box box{1e9, 1e9, -1e9, -1e9};
  const Box& b = item.box;
  for (const Point corner : {Point{b.left, b.top}, Point{b.right, b.top}, Point{b.left, b.bottom},
                             Point{b.right, b.bottom}}) {
    const Point p = item.matrix * corner;
    box = {std::min(box.left, std::floor(p.x)), std::min(box.top, std::floor(p.y)),
           std::max(box.right, std::ceil(p.x)), std::max(box.bottom, std::ceil(p.y))};
  }
  return box;
}

struct Prepared {
  const Item* item;
  pixman_color_t color{};
  pixman_box32_t box{};
  int sourceX = 0, sourceY = 0;
  pixman_image_t* source = nullptr;
  std::vector<pixman_image_t*> masks{};
};

class PixmanDrawing : public Drawing {
 public:
  PixmanDrawing(const Scene& scene, const Target& target)
      : target_(pixman_image_create_bits(PIXMAN_a8r8g8b8, target.width, target.height,
                                         target.pixels, target.width * 4)) {
    if (scene.clip) {
      pixman_region32_t region;
      pixman_region32_init_rect(&region, Whole(scene.clip->left), Whole(scene.clip->top),
                                static_cast<unsigned>(scene.clip->Width()),
                                static_cast<unsigned>(scene.clip->Height()));
      pixman_image_set_clip_region32(target_, &region);
      pixman_region32_fini(&region);
    }
    for (const Item& item : scene.items) Prepare(prepared_.emplace_back(Prepared{&item}));
  }
  ~PixmanDrawing() override {
    for (const Prepared& p : prepared_) {
      if (p.source) pixman_image_unref(p.source);
      for (pixman_image_t* mask : p.masks) pixman_image_unref(mask);
    }
    pixman_image_unref(target_);
  }
  PixmanDrawing(const PixmanDrawing&) = delete;
  PixmanDrawing& operator=(const PixmanDrawing&) = delete;

  void Draw() override {
    for (const Prepared& p : prepared_) Draw(p);
  }

 private:
  static void Prepare(Prepared& p) {
    const Item& item = *p.item;
    const Box box = item.kind == Item::Image ? Around(item) : item.box;
    p.box = {Whole(box.left), Whole(box.top), Whole(box.right), Whole(box.bottom)};
    p.color = Premultiplied(item.paint.color);
    p.sourceX = p.box.x1;
    p.sourceY = p.box.y1;
    if (item.kind == Item::Image) {
      p.source = MakePicture(item, item.matrix.b != 0);
    } else if (item.paint.kind != Paint::Solid) {
      p.source = MakeGradient(item.paint);
      p.sourceX -= Whole(item.paint.matrix.e);
      p.sourceY -= Whole(item.paint.matrix.f);
    } else if (item.kind == Item::Stamps) {
      p.source = pixman_image_create_solid_fill(&p.color);
    }
    for (const Stamp& s : item.stamps) {
      p.masks.push_back(pixman_image_create_bits(
          PIXMAN_a8, s.mask->width, s.mask->height,
          reinterpret_cast<std::uint32_t*>(const_cast<std::uint8_t*>(s.mask->bytes.data())),
          s.mask->stride));
    }
  }

  void Draw(const Prepared& p) {
    if (p.item->kind == Item::Stamps) {
      for (std::size_t i = 0; i < p.masks.size(); ++i) {
        const Stamp& s = p.item->stamps[i];
        pixman_image_composite32(PIXMAN_OP_OVER, p.source, p.masks[i], target_, 0, 0, 0, 0, s.x,
                                 s.y, s.mask->width, s.mask->height);
      }
    } else if (p.source) {
      pixman_image_composite32(PIXMAN_OP_OVER, p.source, nullptr, target_, p.sourceX, p.sourceY, 0,
                               0, p.box.x1, p.box.y1, p.box.x2 - p.box.x1, p.box.y2 - p.box.y1);
    } else {
      pixman_image_fill_boxes(PIXMAN_OP_OVER, target_, &p.color, 1, &p.box);
    }
  }

  pixman_image_t* target_;
  std::vector<Prepared> prepared_;
};

bool CanDraw(const Item& item) {
  const Affine& m = item.paint.matrix;
  switch (item.kind) {
    case Item::Rectangle:
      return IsWhole(item.box) && m.a == 1 && m.b == 0 && m.c == 0 && m.d == 1;
    case Item::Image:
    case Item::Stamps:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::unique_ptr<Drawing> PreparePixman(const Scene& scene, const Target& target) {
  if (scene.clipPath) return nullptr;
  for (const Item& item : scene.items) {
    if (!CanDraw(item)) return nullptr;
  }
  return std::make_unique<PixmanDrawing>(scene, target);
}

}  // namespace bench
