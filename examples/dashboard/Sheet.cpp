// The sheet's transform, and its short forms of drawing.
#include "examples/dashboard/Sheet.h"

#include <algorithm>

namespace dashboard {

Sheet::Sheet(KSoftContext2D& target, const char* font) : context(target) {
  const KSoftPixmap& screen = target.GetTarget();
  const double scale = std::min(screen.width / kWidth, screen.height / kHeight);
  toDevice.Scale(At(scale, scale));
  toDevice.Translate(
      At((screen.width - kWidth * scale) / 2, (screen.height - kHeight * scale) / 2));
  context.SetTransform(toDevice);
  context.SetNoFill();
  for (const Lettering size : {kSmall, kMedium, kLarge}) {
    if (FontOf(size)->LoadFont(font, 0)) FontOf(size)->SetFontSize(KFixed::FromInt(size));
  }
}

KRect Sheet::Pixels(const Area& area) const {
  const KVertex2D a = toDevice.Map(At(area.left, area.top));
  const KVertex2D b = toDevice.Map(At(area.right, area.bottom));
  return {static_cast<std::int16_t>(kalvora::Floor(a.x)),
          static_cast<std::int16_t>(kalvora::Floor(a.y)),
          static_cast<std::int16_t>(kalvora::Ceil(b.x)),
          static_cast<std::int16_t>(kalvora::Ceil(b.y))};
}

void Sheet::Open(const Area& area) {
  const KRect pixels = Pixels(area);
  context.SetClipRegion(pixels);
  context.Clear(kPage, &pixels);
  FillRound(area, 8, kPanel);
}

void Sheet::FillPath(const KSoftPath& path, KColor32 color) {
  context.SetFillColor(color);
  context.DrawPath(&path);
  context.SetNoFill();
}

void Sheet::StrokePath(const KSoftPath& path, KColor32 color, double width, unsigned caps) {
  context.SetStrokeColor(color);
  context.SetLineWidth(Fixed(width));
  context.SetCaps(caps, caps);
  context.DrawPath(&path);
  context.SetNoStroke();
}

void Sheet::FillRound(const Area& area, double radius, KColor32 color) {
  context.SetFillColor(color);
  context.DrawEllipticalRect(At(area.CentreX(), area.CentreY()),
                             At(area.Width() / 2, area.Height() / 2), At(radius, radius));
  context.SetNoFill();
}

void Sheet::StrokeArc(double x, double y, double radius, double start, double sweep, KColor32 color,
                      double width, unsigned caps) {
  KSoftPath& path = kit->Path();
  path.AddArc(At(x, y), At(radius, radius), Fixed(start), Fixed(sweep));
  StrokePath(path, color, width, caps);
}

KFTFont* Sheet::FontOf(Lettering size) {
  return &fonts[size == kSmall ? 0 : size == kMedium ? 1 : 2];
}

void Sheet::Write(const std::string& text, double x, double y, Lettering size, Align align,
                  KColor32 color) {
  codes.clear();
  for (const char c : text) codes.push_back(static_cast<unsigned char>(c));
  const auto count = static_cast<unsigned>(codes.size());
  KRect bound{};
  KFTFont* const font = FontOf(size);
  font->GetBound(bound, codes.data(), count);
  if (align == Align::kCentre) x -= bound.right / 2.0;
  if (align == Align::kRight) x -= bound.right;
  context.SetFont(font);
  context.SetFillColor(color);
  context.DrawText(codes.data(), count, At(x, y), nullptr);
  context.SetNoFill();
}

}  // namespace dashboard
