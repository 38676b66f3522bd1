// Qt's raster painter on an image, with paths, brushes and pens made once.
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <deque>

#include "bench/Peer.h"

namespace bench {

namespace {

QColor ToColor(Color c) { return {c.red, c.green, c.blue, c.alpha}; }
QTransform ToTransform(const Affine& m) { return {m.a, m.b, m.c, m.d, m.e, m.f}; }
QRectF ToRect(const Box& b) { return {b.left, b.top, b.Width(), b.Height()}; }

QPainterPath ToPath(const Path& path) {
  QPainterPath out;
  for (const Path::Step& s : path.steps) {
    switch (s.kind) {
      case Path::Step::Move:
        out.moveTo(s.p[0].x, s.p[0].y);
        break;
      case Path::Step::Line:
        out.lineTo(s.p[0].x, s.p[0].y);
        break;
      case Path::Step::Cubic:
        out.cubicTo(s.p[0].x, s.p[0].y, s.p[1].x, s.p[1].y, s.p[2].x, s.p[2].y);
        break;
      case Path::Step::Close:
        out.closeSubpath();
        break;
    }
  }
  return out;
}

template <typename Gradient>
QBrush ToBrush(Gradient gradient, const Paint& paint) {
  for (const Stop& s : paint.stops) gradient.setColorAt(s.offset, ToColor(s.color));
  gradient.setSpread(paint.repeat ? QGradient::RepeatSpread : QGradient::PadSpread);
  QBrush brush(gradient);
  brush.setTransform(ToTransform(paint.matrix));
  return brush;
}

QBrush ToBrush(const Paint& paint) {
  const QPointF from(paint.from.x, paint.from.y);
  switch (paint.kind) {
    case Paint::Linear:
      return ToBrush(QLinearGradient(from, {paint.to.x, paint.to.y}), paint);
    case Paint::Radial:
      return ToBrush(QRadialGradient(from, paint.radius), paint);
    default:
      return QBrush(ToColor(paint.color));
  }
}

QPen ToPen(const Pen& pen, const QBrush& brush) {
  QPen out(brush, pen.width);
  out.setJoinStyle(pen.join == Join::Round   ? Qt::RoundJoin
                   : pen.join == Join::Miter ? Qt::SvgMiterJoin
                                             : Qt::BevelJoin);
  out.setCapStyle(pen.cap == Cap::Round    ? Qt::RoundCap
                  : pen.cap == Cap::Square ? Qt::SquareCap
                                           : Qt::FlatCap);
  out.setMiterLimit(pen.miterLimit);
  QVector<qreal> dashes;
  for (const double d : pen.dashes) dashes.push_back(d / pen.width);
  if (!dashes.empty()) out.setDashPattern(dashes);
  return out;
}

struct Prepared {
  const Item* item;
  bool whole;  // a rectangle of one colour on whole pixels
  QBrush brush;
  QPen pen;
  QPainterPath path;
  QPolygonF polygon;
  QImage picture;
};

class QtDrawing : public Drawing {
 public:
  QtDrawing(const Scene& scene, const Target& target)
      : image_(reinterpret_cast<uchar*>(target.pixels), target.width, target.height,
               target.width * 4, QImage::Format_ARGB32_Premultiplied),
        painter_(&image_) {
    painter_.setRenderHint(QPainter::Antialiasing);
    painter_.setPen(Qt::NoPen);
    if (scene.clip) painter_.setClipRect(ToRect(*scene.clip).toRect());
    if (scene.clipPath) painter_.setClipPath(ToPath(*scene.clipPath));
    for (const Item& item : scene.items) Prepare(prepared_.emplace_back(), item);
  }

  void Draw() override {
    for (const Prepared& p : prepared_) Draw(p);
  }

 private:
  static void Prepare(Prepared& p, const Item& item) {
    p.item = &item;
    p.whole = item.paint.kind == Paint::Solid && ToRect(item.box) == ToRect(item.box).toRect();
    p.brush = ToBrush(item.paint);
    p.pen = ToPen(item.pen, p.brush);
    p.path = ToPath(item.path);
    p.path.setFillRule(item.evenOdd ? Qt::OddEvenFill : Qt::WindingFill);
    for (const Point q : item.points) p.polygon.append({q.x, q.y});
    if (item.picture) {
      p.picture =
          QImage(reinterpret_cast<const uchar*>(item.picture->pixels.data()), item.picture->width,
                 item.picture->height, item.picture->width * 4,
                 item.picture->alpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    }
  }

  void Draw(const Prepared& p) {
    const Item& i = *p.item;
    switch (i.kind) {
      case Item::Rectangle:
        if (p.whole) {
          painter_.setRenderHint(QPainter::Antialiasing, false);
          painter_.fillRect(ToRect(i.box).toRect(), p.brush.color());
          painter_.setRenderHint(QPainter::Antialiasing, true);
        } else {
          painter_.fillRect(ToRect(i.box), p.brush);
        }
        break;
      case Item::RoundedRectangle:
        painter_.setBrush(p.brush);
        painter_.drawRoundedRect(ToRect(i.box), i.radius, i.radius);
        break;
      case Item::Ellipse:
        painter_.setBrush(p.brush);
        painter_.drawEllipse(ToRect(i.box));
        break;
      case Item::Polygon:
        painter_.setBrush(p.brush);
        painter_.drawPolygon(p.polygon, i.evenOdd ? Qt::OddEvenFill : Qt::WindingFill);
        break;
      case Item::Fill:
        painter_.fillPath(p.path, p.brush);
        break;
      case Item::Stroke:
        painter_.strokePath(p.path, p.pen);
        break;
      case Item::Image:
        DrawImage(p);
        break;
      default:
        break;
    }
  }

  void DrawImage(const Prepared& p) {
    const Item& i = *p.item;
    painter_.setRenderHint(QPainter::SmoothPixmapTransform, i.filter == Filter::Bilinear);
    painter_.setTransform(ToTransform(i.matrix));
    painter_.drawImage(ToRect(i.box), p.picture);
    painter_.resetTransform();
  }

  QImage image_;
  QPainter painter_;
  std::deque<Prepared> prepared_;
};

bool CanDraw(const Item& item) {
  return item.kind != Item::Stamps && item.kind != Item::Text && item.filter != Filter::Bicubic;
}

}  // namespace

std::unique_ptr<Drawing> PrepareQt(const Scene& scene, const Target& target) {
  for (const Item& item : scene.items) {
    if (!CanDraw(item)) return nullptr;
  }
  return std::make_unique<QtDrawing>(scene, target);
}

}  // namespace bench
