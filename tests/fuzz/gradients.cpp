// Gradients, patterns and masks: any ramp and any pixmap as a paint, under shapes of a few kinds.
#include "tests/fuzz/pieces.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes in(data, size);
  Canvas canvas;
  KSoftContext2D& context = canvas.context;
  canvas.Bind(in);
  Ramp ramps[2];
  Picture pictures[2];
  KSoftPath path;
  while (!in.AtEnd() && canvas.Effort() < 24) {
    Picture& picture = pictures[in.Below(2)];
    Ramp& ramp = ramps[in.Below(2)];
    switch (in.Below(13)) {
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
      case 10:
        DrawImage(in, canvas, picture.pixmap);
        break;
      default:
        DrawShape(in, canvas, path);
    }
  }
  return 0;
}
