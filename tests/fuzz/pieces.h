// What the fuzz targets make from their input: a target to draw into, pixmaps, ramps, paths, pens.
#ifndef KALVORA_TESTS_FUZZ_PIECES_H
#define KALVORA_TESTS_FUZZ_PIECES_H

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "kalvora/raster/KStack.h"

#include "tests/common/GuardedBuffer.h"
#include "tests/common/Random.h"
#include "tests/fuzz/bytes.h"

inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

/// A pixmap over memory between guard pages that is exactly as large as it must be.
class Picture {
 public:
  KSoftPixmap pixmap;

  /// Any format, size below 16 x 16, and rows that are padded, or overlap, or start at odd bytes.
  void Shape(Bytes& in) { Shape(in, in.Format(), in.Below(16), in.Below(16), in.Below(16)); }
  /// What can be drawn into: rows of whole words.
  void ShapeTarget(Bytes& in) {
    const KFormat format = in.Below(8) ? (in.Flag() ? KFormat8888PM : KFormat0888PM) : in.Format();
    const unsigned width = in.Below(65), height = in.Below(65);
    Shape(in, format, width, height, 4 * in.Below(4), true);
  }
  /// Whether no colour exceeds its alpha, as it ought to be in premultiplied pixels; makes it so
  /// when `mend` says so.
  bool IsPremultiplied(bool mend) {
    if (pixmap.format != KFormat8888PM || !pixmap.pixels) return true;
    for (unsigned y = 0; y < pixmap.height; ++y) {
      for (unsigned x = 0; x < pixmap.width; ++x) {
        const KColor32 c = KColor32::FromWord(pixmap.Row32(y)[x]);
        if (mend) pixmap.Row32(y)[x] = c.PreMultiply().Word();
        if (!mend && std::max({c.red, c.green, c.blue}) > c.alpha) return false;
      }
    }
    return true;
  }
  std::size_t Size() const { return memory_ ? memory_->size() : 0; }

 private:
  // `slack` is what a row is longer than its pixels, 15 an overlap of rows. Clearing a target
  // writes the padding of its last row, too.
  void Shape(Bytes& in, KFormat format, unsigned width, unsigned height, unsigned slack,
             bool padLast = false) {
    const unsigned row = width * (format <= 0 ? 1 : format <= 3 ? 2 : 4);
    unsigned stride = slack == 15 ? row / 2 : row + slack;
    if (stride == 0) stride = (row + 3) & ~3u;  // what 0 stands for
    const std::size_t size =
        height == 0 ? 0 : std::size_t{height - 1} * stride + (padLast ? stride : row);
    const auto edge = in.Flag() ? GuardedBuffer::kAtStart : GuardedBuffer::kAtEnd;
    Random random(in.Byte());
    memory_ = std::make_unique<GuardedBuffer>(size, edge);
    for (unsigned char& byte : *memory_) byte = static_cast<unsigned char>(random.Next());
    pixmap.Create(width, height, format, memory_->data(), stride);
    pixmap.repeatRule = static_cast<KRepeatRule>(in.Below(3));
    pixmap.quality = static_cast<KSampling>(in.Below(7));
    pixmap.transform.Identity();
  }

  std::unique_ptr<GuardedBuffer> memory_;
};

/// A context and its target. Draws go through it, and it looks at what they must leave alone.
class Canvas {
 public:
  KSoftContext2D context;
  Picture picture;

  void Bind(Bytes& in) {
    context.RenderToTexture(nullptr);  // the old memory goes
    picture.ShapeTarget(in);
    Rebind();
  }
  void Rebind() {
    context.RenderToTexture(&picture.pixmap);
    SetClip({0, 0, INT16_MAX, INT16_MAX});
  }
  void SetClip(KRect rect) {
    const auto& target = picture.pixmap;
    context.SetClipRegion(rect);
    clip_ = {std::max<std::int16_t>(rect.left, 0), std::max<std::int16_t>(rect.top, 0),
             std::min(rect.right, static_cast<std::int16_t>(target.width)),
             std::min(rect.bottom, static_cast<std::int16_t>(target.height))};
  }
  void ResetClip() {
    context.ResetClip();
    SetClip({0, 0, INT16_MAX, INT16_MAX});
  }

  /// What the draws so far have cost, in simple ones. Dashes by the ten thousand are allowed, and
  /// slow.
  int Effort() const { return effort_; }

  /// A draw changes nothing outside the clip rectangle and gives its scratch memory back.
  template <typename Call>
  void Draw(Call call) {
    effort_ += context.dashes ? 8 : 1;
    const KSoftPixmap& target = picture.pixmap;
    const std::size_t size = picture.Size();
    before_.resize(size);
    if (size > 0) std::memcpy(before_.data(), target.pixels, size);
    call(context);
    if (!clip_.IsEmpty()) {
      const auto bytes = static_cast<std::size_t>(clip_.right - clip_.left) * 4;
      for (int y = clip_.top; y < clip_.bottom; ++y) {
        const std::size_t at = std::size_t{target.stride} * unsigned(y) + unsigned(clip_.left) * 4u;
        if (at + bytes <= size) std::memcpy(before_.data() + at, target.pixels + at, bytes);
      }
    }
    Require(size == 0 || std::memcmp(before_.data(), target.pixels, size) == 0,
            "a draw changes nothing outside the clip rectangle");
    Require(context.stack->used == 0, "a draw gives its scratch memory back");
  }

 private:
  KRect clip_{};
  int effort_ = 0;
  std::vector<std::uint8_t> before_;
};

/// A ramp, by its setters or by its fields.
class Ramp {
 public:
  KSoftColorRamp ramp;

  void Set(Bytes& in) {
    std::vector<KColorStop> stops(in.Below(9));
    for (KColorStop& stop : stops) {
      stop.position = in.Flag() ? in.Fixed() : KFixed::FromRaw(in.Byte() << 8);
      stop.color = in.Color();
    }
    const auto count = static_cast<unsigned>(stops.size());
    const auto spread = static_cast<KSpread>(in.Below(3));
    const KVertex2D p = in.Point();
    switch (in.Below(5)) {
      case 0:
        ramp.SetLinear(p, in.Point(), stops.data(), count, spread);
        break;
      case 1: {
        const KVertex2D q = in.Point();
        ramp.SetLinear(p, q, in.Matrix(), stops.data(), count, spread);
        break;
      }
      case 2:
        ramp.SetRadial(p, in.Fixed(), stops.data(), count, spread);
        break;
      case 3: {
        const KFixed radius = in.Fixed();
        ramp.SetRadial(p, radius, in.Matrix(), stops.data(), count, spread);
        break;
      }
      default:
        SetFields(in, stops, spread);
    }
  }

 private:
  void SetFields(Bytes& in, const std::vector<KColorStop>& stops, KSpread spread) {
    colors_.clear();
    positions_.clear();
    for (const KColorStop& stop : stops) {
      colors_.push_back(stop.color.PreMultiply().Word());
      positions_.push_back(stop.position.raw);
    }
    ramp.axis = in.Matrix();
    ramp.colors = colors_.data();
    ramp.positions = positions_.data();
    ramp.count = static_cast<std::uint32_t>(stops.size());
    ramp.spread = spread;
    ramp.rampAlpha = in.Below(2);
  }

  std::vector<std::uint32_t> colors_;
  std::vector<std::int32_t> positions_;
};

/// One step of building a path; it starts anew before it grows out of hand.
inline void Extend(Bytes& in, KSoftPath& path) {
  KVertex2D p[9];
  const auto points = [&](unsigned count) {
    for (unsigned i = 0; i < count; ++i) p[i] = in.Point();
    return p;
  };
  if (path.subpathCount > 64) path.Reset();
  switch (in.Below(12)) {
    case 0:
      return path.Reset();
    case 1:
      return path.Close();
    case 2:
    case 3:
      return path.MoveTo(in.Point());
    case 4:
    case 5:
      path.LineTo(in.Point());
      return;
    case 6:
      points(2);
      path.QuadTo(p[0], p[1]);
      return;
    case 7:
      points(3);
      path.CubicTo(p[0], p[1], p[2]);
      return;
    case 8: {
      const unsigned order = in.Below(5), count = in.Below(4);
      path.BezierTo(order, points(std::min(order * count, 9u)), order <= 3 ? count : 1);
      return;
    }
    case 9:
      points(3);
      path.ArcTo(p[0], p[1], p[2], in.Flag());
      return;
    case 10: {
      points(3);
      path.AddArc(p[0], p[1], p[2].x, p[2].y);
      return;
    }
    default:
      path.Finalize();
  }
}

inline void SetPen(Bytes& in, KStroker& pen) {
  switch (in.Below(6)) {
    case 0:
    case 1:
      return pen.SetLineWidth(in.Fixed());
    case 2: {
      const unsigned start = in.Below(4);
      return pen.SetCaps(start, in.Below(4));
    }
    case 3:
      return pen.SetJoin(in.Below(4));
    case 4:
      return pen.SetMiterLimit(in.Fixed());
    default: {
      KFixed dashes[6];
      const unsigned count = in.Below(7);
      for (unsigned i = 0; i < count; ++i) dashes[i] = in.Fixed();
      pen.SetDashes(dashes, count, in.Fixed());
    }
  }
}

inline void SetPaint(Bytes& in, KSoftContext2D& c, const Ramp& ramp, const KSoftPixmap& pixmap) {
  const bool stroke = in.Below(4) == 0;
  switch (in.Below(6)) {
    case 0:
      return stroke ? c.SetStrokeLGrad(&ramp.ramp) : c.SetFillLGrad(&ramp.ramp);
    case 1:
      return stroke ? c.SetStrokeRGrad(&ramp.ramp) : c.SetFillRGrad(&ramp.ramp);
    case 2:
      return stroke ? c.SetStrokePixmap(&pixmap) : c.SetFillPixmap(&pixmap);
    case 3: {
      const int opacity = in.Flag() ? static_cast<int>(in.Word()) : in.Byte();
      return stroke ? c.SetStrokeOpacity(opacity) : c.SetFillOpacity(opacity);
    }
    case 4:
      return stroke ? c.SetNoStroke() : c.SetNoFill();
    default:
      return stroke ? c.SetStrokeColor(in.Color()) : c.SetFillColor(in.Color());
  }
}

/// Any shape, or more often the path.
inline void DrawShape(Bytes& in, Canvas& canvas, const KSoftPath& path) {
  KVertex2D p[8];
  const unsigned kind = in.Below(8);
  const unsigned count = kind == 0 ? in.Below(9) : 3;
  for (unsigned i = 0; i < count; ++i) p[i] = in.Point();
  const bool flag = kind == 0 && in.Flag();
  canvas.Draw([&](KSoftContext2D& context) {
    switch (kind) {
      case 0:
        return context.DrawPolygon(p, count, flag);
      case 1:
        return context.DrawLine(p[0], p[1]);
      case 2:
        return context.DrawRectangle(p[0], p[1], p[2]);
      case 3:
        return context.DrawRectangle(p[0], p[1]);
      case 4:
        return context.DrawEllipticalRect(p[0], p[1], p[2]);
      case 5:
        return context.DrawArc(p[0], p[1], p[2].x, p[2].y);
      default:
        return context.DrawPath(&path);
    }
  });
}

/// The pixmap, or the fill through it.
inline void DrawImage(Bytes& in, Canvas& canvas, KSoftPixmap& pixmap) {
  const unsigned kind = in.Below(6);
  const KVertex2D a = in.Point(), b = in.Point();
  const KVertex2D s0 = kind == 1 ? in.Point() : a, s1 = kind == 1 ? in.Point() : b;
  const unsigned angle = kind == 2 ? in.Below(5) * 90 : 0;
  const int shift = kind == 3 ? 0 : 16;
  canvas.Draw([&](KSoftContext2D& c) {
    switch (kind) {
      case 0:
        return c.DrawPixmap(&pixmap, a, b);
      case 1:
        return c.DrawSubPixmap(&pixmap, a, b, s0, s1);
      case 2:
        return c.DrawSimplePatternRectRotateNoScale(a, b, angle);
      default:
        return c.DrawAlphaMask(&pixmap, a.x.raw >> shift, a.y.raw >> shift, b.x.raw >> shift,
                               b.y.raw >> shift);
    }
  });
}

#endif
