// Canvas: see the header.
#include "examples/svg/Canvas.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "examples/common/Error.h"
#include "examples/svg/fixedpath.h"
#include "examples/svg/ramp.h"
#include "examples/svg/reach.h"

namespace svg {

namespace {

// Pictures on top of one another, and their pixels over the whole drawing. Beyond that, groups lose
// their own opacity: the drawing is meant to exhaust its reader.
constexpr std::size_t kMaxLayers = 16;
constexpr std::size_t kMaxStackedPixels = std::size_t{1} << 27;
constexpr std::uint64_t kMaxLayerPixels = std::uint64_t{1} << 33;

KColor32 ToColor32(Color c) {
  return {c.red, c.green, c.blue, static_cast<unsigned>(std::lround(c.alpha * 255))};
}

int ToWeight(double opacity) { return static_cast<int>(std::lround(opacity * 256)); }

// The setters of a paint, for the fill or for the stroke.
struct PaintSetters {
  void (KSoftContext2D::*color)(KColor32);
  void (KSoftContext2D::*linear)(const KSoftColorRamp*);
  void (KSoftContext2D::*radial)(const KSoftColorRamp*);
  void (KSoftContext2D::*opacity)(int);
};
constexpr PaintSetters kFillSetters{&KSoftContext2D::SetFillColor, &KSoftContext2D::SetFillLGrad,
                                    &KSoftContext2D::SetFillRGrad, &KSoftContext2D::SetFillOpacity};
constexpr PaintSetters kStrokeSetters{
    &KSoftContext2D::SetStrokeColor, &KSoftContext2D::SetStrokeLGrad,
    &KSoftContext2D::SetStrokeRGrad, &KSoftContext2D::SetStrokeOpacity};

// Gives the ink to the context; `ramp` must live until it has drawn.
void SetInk(KSoftContext2D& context, const PaintSetters& set, const Ink& ink,
            KSoftColorRamp& ramp) {
  if (ink.gradient && SetRamp(ramp, *ink.gradient, ink.gradientToPixels)) {
    // A radial gradient blends when the colour that was set before it is translucent.
    (context.*set.color)(KColor32(0, 0, 0, ramp.rampAlpha ? 0 : 255));
    (context.*(ink.gradient->radial ? set.radial : set.linear))(&ramp);
    (context.*set.opacity)(ToWeight(ink.opacity));
    return;
  }
  Color color = ink.gradient ? ink.gradient->Average() : ink.color;
  color.alpha *= ink.opacity;
  (context.*set.color)(ToColor32(color));
  (context.*set.opacity)(256);
}

unsigned ToCap(LineCap cap) { return cap == LineCap::Butt ? 0 : cap == LineCap::Square ? 1 : 2; }

unsigned ToJoin(LineJoin join) {
  return join == LineJoin::Bevel ? 0 : join == LineJoin::Miter ? 1 : 2;
}

void SetDashes(KSoftContext2D& context, const Pen& pen, double scale) {
  std::vector<KFixed> lengths;
  double sum = 0;
  for (const double dash : pen.dashes) {
    lengths.push_back(ToFixed(dash * scale));
    sum += dash;
  }
  if (!(sum > 0)) return;
  // An odd pattern is alike again after twice its length.
  const double period = lengths.size() % 2 ? 2 * sum : sum;
  double phase = std::fmod(pen.dashOffset, period);
  if (phase < 0) phase += period;
  context.SetDashes(lengths.data(), static_cast<unsigned>(lengths.size()), ToFixed(phase * scale));
}

}  // namespace

Canvas::Canvas(unsigned width, unsigned height, KFormat format, Color background) {
  if (!AddLayer(width, height, format, ToColor32(background))) {
    throw examples::Error("not enough memory for a picture of this size");
  }
}

bool Canvas::AddLayer(unsigned width, unsigned height, KFormat format, KColor32 color) {
  auto layer = std::make_unique<Layer>();
  layer->picture.Create(width, height, format);
  if (!layer->picture.pixels || !layer->context.RenderToTexture(&layer->picture)) return false;
  layer->context.SetFlatness(KFixed(0.125f));
  layer->context.Clear(color);
  layer->context.SetNoFill();
  layers_.push_back(std::move(layer));
  return true;
}

void Canvas::Fill(const Outline& outline, bool evenOdd, const Ink& ink) {
  if (outline.IsEmpty() || ink.IsClear() || !outline.IsFinite()) return;
  KSoftColorRamp ramp;
  KSoftContext2D& context = Top().context;
  SetInk(context, kFillSetters, ink, ramp);
  context.SetFillRule(evenOdd ? KFillEvenOdd : KFillNonZero);
  DrawOutline(WithinReach(outline) ? outline : CutToReach(outline));
  context.SetNoFill();
}

// With toPixels = A p + t, the outline is scaled by s = sqrt|det A| and drawn through A / s, whose
// entries are about 1: the 16.16 numbers keep their precision at any scale. The translation goes
// into the outline. A similarity draws in pixels right away.
void Canvas::Stroke(const Outline& outline, const Affine& toPixels, const Pen& pen,
                    const Ink& ink) {
  if (outline.IsEmpty() || ink.IsClear() || !(pen.width > 0) || !toPixels.IsFinite()) return;
  const double scale = std::sqrt(std::abs(toPixels.Determinant()));
  Affine shape{
      toPixels.a / scale, toPixels.b / scale, toPixels.c / scale, toPixels.d / scale, 0, 0};
  if (toPixels.IsSimilarity()) shape = Affine();
  const auto back = shape.Inverse();
  if (!back) return;
  Outline scaled = outline.Mapped(*back * toPixels);
  if (!scaled.IsFinite()) return;
  if (!WithinReach(scaled)) scaled = CutLinesToReach(scaled);

  KSoftColorRamp ramp;
  KSoftContext2D& context = Top().context;
  SetInk(context, kStrokeSetters, ink, ramp);
  KSoftMatrix3D matrix;
  matrix.Set(ToFixed(shape.a), ToFixed(shape.b), ToFixed(shape.c), ToFixed(shape.d), kalvora::kZero,
             kalvora::kZero);
  context.SetTransform(matrix);
  context.SetLineWidth(ToFixed(pen.width * scale));
  context.SetCaps(ToCap(pen.cap), ToCap(pen.cap));
  context.SetJoin(ToJoin(pen.join));
  context.SetMiterLimit(ToFixed(pen.miterLimit));
  SetDashes(context, pen, scale);
  DrawOutline(scaled);
  context.SetDashes(nullptr, 0, kalvora::kZero);
  context.SetNoStroke();
  context.SetTransform(KSoftMatrix3D());
}

void Canvas::DrawOutline(const Outline& outline) {
  KSoftPath path;
  AppendTo(path, outline);
  Top().context.DrawPath(&path);
}

// An image that shrinks to less than half its size is reduced first, so that every pixel counts.
void Canvas::DrawImage(KSoftPixmap& image, const Affine& toPixels, double opacity) {
  if (!toPixels.IsFinite()) return;
  const double x = std::hypot(toPixels.a, toPixels.b), y = std::hypot(toPixels.c, toPixels.d);
  const auto reduced = [](unsigned size, double scale) {
    return scale < 0.5 ? std::max(1u, static_cast<unsigned>(std::ceil(size * scale))) : size;
  };
  const unsigned width = reduced(image.width, x), height = reduced(image.height, y);
  KSoftPixmap small;
  KSoftPixmap* shown = &image;
  if (width < image.width || height < image.height) {
    small.Create(width, height, KFormat8888PM);
    if (!small.pixels) return;
    KFilters::DownSample(&small, &image);
    shown = &small;
  }
  const Affine m =
      toPixels * Affine::Scale(double(image.width) / width, double(image.height) / height);
  KSoftMatrix3D matrix;
  matrix.Set(ToFixed(m.a), ToFixed(m.b), ToFixed(m.c), ToFixed(m.d), ToFixed(m.e), ToFixed(m.f));
  KSoftContext2D& context = Top().context;
  context.SetTransform(matrix);
  context.SetFillOpacity(ToWeight(opacity));
  context.DrawPixmap(shown, ToFixed(Point{0, 0}), ToFixed(Point{double(width), double(height)}));
  context.SetTransform(KSoftMatrix3D());
}

bool Canvas::BeginLayer() {
  const KSoftPixmap& picture = Picture();
  const std::size_t pixels = std::size_t{picture.width} * picture.height;
  if (layers_.size() >= kMaxLayers || (layers_.size() + 1) * pixels > kMaxStackedPixels ||
      layerPixels_ > kMaxLayerPixels) {
    return false;
  }
  layerPixels_ += pixels;
  return AddLayer(picture.width, picture.height, KFormat8888PM, KColor32(0, 0, 0, 0));
}

void Canvas::EndLayer(double opacity) {
  const std::unique_ptr<Layer> layer = std::move(layers_.back());
  layers_.pop_back();
  KSoftPixmap& picture = layer->picture;
  picture.SetQuality(KSamplingNearest);
  KSoftContext2D& context = Top().context;
  context.SetFillPixmap(&picture);
  context.SetFillOpacity(ToWeight(opacity));
  Outline all;
  all.MoveTo({0, 0});
  all.LineTo({double(picture.width), 0});
  all.LineTo({double(picture.width), double(picture.height)});
  all.LineTo({0, double(picture.height)});
  DrawOutline(all);
  context.SetNoFill();
}

// The weight of a pixel is its luminance, as 0.2125 r + 0.7154 g + 0.0721 b of its premultiplied
// channels.
void Canvas::EndMask() {
  const std::unique_ptr<Layer> mask = std::move(layers_.back());
  layers_.pop_back();
  KSoftPixmap& picture = Top().picture;
  for (unsigned y = 0; y < picture.height; ++y) {
    std::uint32_t* row = picture.Row32(y);
    const std::uint32_t* weights = mask->picture.Row32(y);
    for (unsigned x = 0; x < picture.width; ++x) {
      const KColor32 m = KColor32::FromWord(weights[x]);
      const unsigned luminance = 54u * m.red + 183u * m.green + 19u * m.blue;  // 255 * 256 at most
      row[x] = KColor32::FromWord(row[x]).Weight((luminance + 127) / 255).Word();
    }
  }
}

void Canvas::SetClip(const Outline& outline, bool evenOdd) {
  KSoftPath path;
  if (outline.IsFinite()) AppendTo(path, WithinReach(outline) ? outline : CutToReach(outline));
  Layer& layer = Top();
  if (path.first) {
    layer.context.SetClipPath(&path, evenOdd ? KFillEvenOdd : KFillNonZero);
  } else {
    layer.context.SetClipRegion({0, 0, 0, 0});
  }
  layer.clipped = true;
}

void Canvas::ResetClip() {
  Top().context.ResetClip();
  Top().clipped = false;
}

}  // namespace svg
