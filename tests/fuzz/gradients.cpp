// Gradients, patterns and masks: any ramp and any pixmap as a paint, under shapes of a few kinds.
#include "kalvora/kalvora.h"

#include "tests/fuzz/pieces.h"

namespace {

void SetPaint(Bytes& in, KSoftContext2D& context, const Ramp& ramp, const KSoftPixmap& pixmap) {
  const bool stroke = in.Below(4) == 0;
  switch (in.Below(5)) {
    case 0:
      return stroke ? context.SetStrokeLGrad(&ramp.ramp) : context.SetFillLGrad(&ramp.ramp);
    case 1:
      return stroke ? context.SetStrokeRGrad(&ramp.ramp) : context.SetFillRGrad(&ramp.ramp);
    case 2:
      return stroke ? context.SetStrokePixmap(&pixmap) : context.SetFillPixmap(&pixmap);
    case 3: {
      const int opacity = in.Flag() ? static_cast<int>(in.Word()) : in.Byte();
      return stroke ? context.SetStrokeOpacity(opacity) : context.SetFillOpacity(opacity);
    }
    default:
      // The colour decides how a radial gradient blends.
      return stroke ? context.SetStrokeColor(in.Color()) : context.SetFillColor(in.Color());
  }
}

void Draw(Bytes& in, Canvas& canvas, const KSoftPath& path, KSoftPixmap& pixmap) {
  const unsigned kind = in.Below(8);
  const KVertex2D a = in.Point(), b = in.Point();
  const KVertex2D s0 = kind == 5 ? in.Point() : a, s1 = kind == 5 ? in.Point() : b;
  const int x = a.x.raw >> 16, y = a.y.raw >> 16, x1 = b.x.raw >> 16, y1 = b.y.raw >> 16;
  const unsigned angle = in.Below(5) * 90;
  canvas.Draw([&](KSoftContext2D& context) {
    switch (kind) {
      case 0:
      case 1:
        return context.DrawRectangle(a, b);
      case 2:
        return context.DrawEllipticalRect(a, b, b);
      case 3:
        return context.DrawPath(&path);
      case 4:
        return context.DrawPixmap(&pixmap, a, b);
      case 5:
        return context.DrawSubPixmap(&pixmap, a, b, s0, s1);
      case 6:
        return context.DrawAlphaMask(&pixmap, x, y, x1, y1);
      default:
        return context.DrawSimplePatternRectRotateNoScale(a, b, angle);
    }
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes in(data, size);
  Canvas canvas;
  KSoftContext2D& context = canvas.context;
  canvas.Bind(in);
  Ramp ramps[2];
  Picture pictures[2];
  KSoftPath path;
  for (int draws = 0; !in.AtEnd() && draws < 64;) {
    Picture& picture = pictures[in.Below(2)];
    Ramp& ramp = ramps[in.Below(2)];
    switch (in.Below(12)) {
      case 0:
        ramp.Set(in);
        break;
      case 1:
        picture.Shape(in);
        break;
      case 2:
        picture.pixmap.transform = in.Matrix();
        break;
      case 3:
        picture.pixmap.SetQuality(static_cast<KSampling>(in.Below(7)));
        picture.pixmap.repeatRule = static_cast<KRepeatRule>(in.Below(3));
        break;
      case 4:
        canvas.SetClip(in.Rect());
        break;
      case 5:
        in.Flag() ? context.SetClipPath(&path, in.Rule()) : canvas.ResetClip();
        break;
      case 6:
        context.SetTransform(in.Matrix());
        context.SetAttribute(0, in.Below(2));
        break;
      case 7:
        Extend(in, path);
        break;
      case 8:
        KFilters::DownSample(&pictures[0].pixmap, &pictures[1].pixmap);
        break;
      case 9:
        SetPaint(in, context, ramp, picture.pixmap);
        break;
      default:
        ++draws;
        Draw(in, canvas, path, picture.pixmap);
    }
  }
  return 0;
}
