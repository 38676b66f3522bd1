// Fills and strokes of any paths: every shape, pen, clip and matrix, painted in plain colours.
#include "tests/fuzz/pieces.h"

namespace {

/// The rings of a path, taken from the heap and given back.
void Rings(Bytes& in, KStroker& stroker, const KSoftPath& path, const KSoftMatrix3D& m) {
  const bool onStack = in.Flag();
  KVertex2D** rings = nullptr;
  if (in.Flag()) {
    const unsigned count = stroker.FlattenPath(rings, &path, &m, onStack);
    stroker.FreeRings(rings, count, onStack);
  } else {
    const unsigned count = stroker.StrokePath(&path, rings, &m, onStack);
    stroker.FreeStroke(rings, count, onStack);
  }
}

void Pieces(Bytes& in) {
  const KVertex2D a = in.Point(), b = in.Point(), c = in.Point(), d = in.Point();
  std::vector<KVertex2D> out(KStroker::kMaxCurvePoints);
  Require(KStroker::GetBezierPts(out.data(), a, b, c, d, 1) <= KStroker::kMaxCurvePoints, "points");
  Require(KStroker::GetBezierPts(out.data(), a, b, c, 1) <= KStroker::kMaxCurvePoints, "points");
  out.resize(3 * KStroker::kMostArcPieces);
  const int pieces = KStroker::GetArcBeziers(out.data(), a, b, c, d, in.Flag(), 1);
  Require(pieces <= KStroker::kMostArcPieces, "pieces of an arc");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes in(data, size);
  Canvas canvas;
  KSoftContext2D& context = canvas.context;
  canvas.Bind(in);
  canvas.picture.IsPremultiplied(true);
  KSoftPath path, other;
  bool hit = false;
  for (int rings = 0; !in.AtEnd() && canvas.Effort() + rings < 24;) {
    switch (in.Below(16)) {
      case 0:
        canvas.SetClip(in.Rect());
        break;
      case 1:
        context.SetClipPath(&path, in.Rule());
        break;
      case 2:
        canvas.ResetClip();
        break;
      case 3:
        context.SetTransform(in.Matrix());
        break;
      case 4:
        context.SetFillRule(in.Rule());
        context.SetAttribute(0, in.Below(2));
        break;
      case 5:
        in.Flag() ? context.SetFillColor(in.Color()) : context.SetStrokeColor(in.Color());
        break;
      case 6:
        in.Flag() ? context.SetNoFill() : context.SetFillPick(in.Point(), &hit);
        break;
      case 7:
        SetPen(in, context);
        break;
      case 8:
        rings += context.dashes ? 8 : 1;
        Rings(in, context, path, in.Matrix());
        break;
      case 9:
        Pieces(in);
        break;
      case 10: {
        const KSoftMatrix3D m = in.Matrix();
        path.Transform(&other, &m);
        path = other;
        other.Reset();
        break;
      }
      case 11:
      case 12:
        DrawShape(in, canvas, path);
        break;
      default:
        Extend(in, path);
    }
  }
  canvas.Draw([&](KSoftContext2D& c) { c.DrawPath(&path); });
  Require(canvas.picture.IsPremultiplied(false), "colours keep below their alpha");
  return 0;
}
