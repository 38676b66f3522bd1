// Canvas: see the header.
#include "examples/svg/Canvas.h"

#include <cmath>

#include "examples/common/Error.h"
#include "examples/svg/fixedpath.h"
#include "examples/svg/reach.h"

namespace svg {

namespace {

KColor32 ToColor32(Color c) {
  return {c.red, c.green, c.blue, static_cast<unsigned>(std::lround(c.alpha * 255))};
}

}  // namespace

Canvas::Canvas(unsigned width, unsigned height, KFormat format, Color background) {
  picture_.Create(width, height, format);
  if (!picture_.pixels || !context_.RenderToTexture(&picture_)) {
    throw examples::Error("not enough memory for a picture of this size");
  }
  context_.Clear(ToColor32(background));
}

void Canvas::Fill(const Outline& outline, bool evenOdd, Color color) {
  if (outline.IsEmpty() || color.alpha <= 0 || !outline.IsFinite()) return;
  KSoftPath path;
  AppendTo(path, WithinReach(outline) ? outline : CutToReach(outline));
  context_.SetFillColor(ToColor32(color));
  context_.SetFillRule(evenOdd ? KFillEvenOdd : KFillNonZero);
  context_.DrawPath(&path);
}

}  // namespace svg
