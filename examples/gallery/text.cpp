// Text: sizes, scripts, turned lines, outlines, paints.
#include <cstdio>
#include <string_view>

#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

namespace {

const char kSans[] = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
const char kBold[] = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf";

// The context takes UTF-16 code units.
struct Line {
  const unsigned short* codes;
  unsigned count;

  explicit Line(std::u16string_view text)
      : codes(reinterpret_cast<const unsigned short*>(text.data())),
        count(static_cast<unsigned>(text.size())) {}
};

void Write(KSoftContext2D& context, std::u16string_view text, double x, double y) {
  const Line line(text);
  context.DrawText(line.codes, line.count, At(x, y));
}

}  // namespace

void Text(KSoftContext2D& context, Kit& kit) {
  KFTFont& sans = kit.Font(kSans);
  KFTFont& bold = kit.Font(kBold);
  if (!sans.face || !bold.face) {
    std::fputs("text: no fonts; they are in Debian's package fonts-dejavu-core\n", stderr);
    return;
  }
  context.Clear(KColor32(250, 248, 242, 255));

  // A heading filled with a gradient.
  const KColorStop stops[] = {{kalvora::kZero, KColor32(200, 40, 80, 255)},
                              {kalvora::kOne, KColor32(40, 70, 190, 255)}};
  KSoftColorRamp& ramp = kit.Ramp();
  ramp.SetLinear(At(30, 0), At(420, 0), stops, 2);
  context.SetFillLGrad(&ramp);
  bold.SetFontSize(Fixed(84));
  context.SetFont(&bold);
  Write(context, u"Kalvora", 30, 95);

  // Outlines, stroked.
  context.SetNoFill();
  context.SetStrokeColor(KColor32(40, 70, 190, 255));
  context.SetLineWidth(Fixed(1.5));
  const Line outline(u"2D");
  context.DrawTextWithPaths(outline.codes, outline.count, At(470, 95), nullptr);
  context.SetNoStroke();

  // Sizes and scripts.
  context.SetFillColor(KColor32(40, 40, 50, 255));
  context.SetFont(&sans);
  double y = 130;
  for (int i = 0; i < 8; ++i) {
    const double size = 8 + 2 * i;
    sans.SetFontSize(Fixed(size));
    y += size * 1.35;
    Write(context, i % 2 ? u"Quick foxes jump; Быстрая лиса" : u"Éléphants, Größe, Ελληνικά", 30,
          y);
  }

  // Lines that turn.
  sans.SetFontSize(Fixed(17));
  for (int i = 0; i < 12; ++i) {
    KSoftMatrix3D m;
    m.Rotate(Fixed(30.0 * i));
    m.Translate(At(500, 340));
    context.SetTransform(m);
    context.SetFillColor(Hue(30 * i));
    Write(context, u"sixteenths", 28, 5);
  }
}

}  // namespace gallery
