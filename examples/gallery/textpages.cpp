// Pages of text: fallback fonts, transforms, paints and clips.
#include <string>
#include <string_view>

#include "examples/common/Error.h"
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"
#include "examples/gallery/sketch.h"

namespace gallery {

namespace {

constexpr KColor32 kInk = {34, 40, 60, 255};

// A Latin font, and what stands in for the characters it lacks. Debian's packages
// fonts-dejavu-core, fonts-droid-fallback and fonts-symbola.
class Typeface {
 public:
  Typeface(KSoftContext2D& context, Kit& kit)
      : context_(context),
        latin_(Load(kit, "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf")),
        cjk_(Load(kit, "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf")),
        symbols_(Load(kit, "/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf")) {
    KFTFont* fonts[] = {&cjk_, &symbols_};
    const KArray<KFTFont*> fallbacks = {2, fonts};
    context_.SetFont(&latin_);
    kit.Keep(fallbacks);
    context_.SetFallbackFonts(&fallbacks, nullptr);
  }
  ~Typeface() {
    context_.SetFallbackFonts(nullptr, nullptr);
    context_.SetFont(nullptr);
  }
  Typeface(const Typeface&) = delete;
  Typeface& operator=(const Typeface&) = delete;

  void SetSize(double size) { latin_.SetFontSize(Fixed(size)); }
  double Width(std::u16string_view text) {
    KVertex2D pen = KVertex2D::Origin;
    for (std::size_t i = 0; i < text.size(); ++i) {
      latin_.AdvancePen(&pen, text[i], i + 1 < text.size() ? text[i + 1] : 0, &context_);
    }
    return pen.x.raw / 65536.0;
  }
  void Draw(std::u16string_view text, double x, double y) {
    context_.DrawText(Codes(text), static_cast<unsigned>(text.size()), At(x, y));
  }
  void DrawOutlines(std::u16string_view text, double x, double y) {
    context_.DrawTextWithPaths(Codes(text), static_cast<unsigned>(text.size()), At(x, y), nullptr);
  }
  // Breaks the text at spaces, and between ideographs, into lines of at most `width`. Returns the
  // baseline below the last.
  double Paragraph(std::u16string_view text, double x, double y, double width, double leading) {
    std::size_t start = 0, end = 0;
    for (std::size_t i = 1; i <= text.size(); ++i) {
      if (i < text.size() && text[i] != u' ' && text[i] < 0x3000 && text[i - 1] < 0x3000) continue;
      if (end > start && Width(text.substr(start, i - start)) > width) {
        Draw(text.substr(start, end - start), x, y);
        y += leading;
        start = text[end] == u' ' ? end + 1 : end;
      }
      end = i;
    }
    Draw(text.substr(start), x, y);
    return y + leading;
  }

 private:
  static KFTFont& Load(Kit& kit, const char* path) {
    KFTFont& font = kit.Font(path);
    if (!font.face) throw examples::Error(std::string("no font at ") + path);
    return font;
  }
  // The context takes UTF-16 code units.
  static const unsigned short* Codes(std::u16string_view text) {
    return reinterpret_cast<const unsigned short*>(text.data());
  }

  KSoftContext2D& context_;
  KFTFont &latin_, &cjk_, &symbols_;
};

void MakeTile(KSoftPixmap& tile) {
  tile.Create(12, 12, KFormat8888PM);
  for (unsigned i = 0; i < 144 && tile.pixels; ++i) {
    const unsigned x = i % 12, y = i / 12;
    tile.Row32(y)[x] = (x + y) % 12 < 4        ? 0xFF2E7D5B
                       : (x + 12 - y) % 12 < 4 ? 0xFFE8C547
                                               : 0xFF17324D;
  }
  tile.repeatRule = KRepeatTile;
}

}  // namespace

void Paragraphs(KSoftContext2D& context, Kit& kit) {
  Typeface face(context, kit);
  context.SetFillColor(kInk);
  constexpr std::u16string_view kText =
      u"Typefaces hold few of the world's characters. Where one lacks a glyph, as for \u6587\u5B57 "
      u"or \u2705 \u265E \u2744, another stands in: \u4E00\u4E2A\u5B57\u4F53\u7F3A\u5C11\u7684"
      u"\u5B57\u7531\u53E6\u4E00\u4E2A\u5B57\u4F53\u8865\u4E0A\u3002 \u041A\u0438\u0440\u0438"
      u"\u043B\u043B\u0438\u0446\u0430, \u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC. What "
      u"nobody has is a box: \uE123.";
  double y = 30;
  for (const double size : {11.0, 14.0, 18.0, 23.0}) {
    face.SetSize(size);
    y = face.Paragraph(kText, 24, y, 592, size * 1.35) + size;
  }
  // The same glyphs, light on dark.
  KSoftPath& band = kit.Path();
  AddRectangle(band, 0, 408, 640, 72);
  Fill(context, band, kInk);
  context.SetFillColor(KColor32(240, 244, 250, 255));
  face.SetSize(12);
  face.Paragraph(kText, 24, 432, 592, 16);
}

void TurnedText(KSoftContext2D& context, Kit& kit) {
  Typeface face(context, kit);
  face.SetSize(17);
  for (int i = 0; i < 16; ++i) {
    context.Transform().Identity();
    context.Transform().Rotate(Fixed(22.5 * i));
    context.Transform().Translate(At(165, 165));
    context.SetFillColor(Hue(22.5 * i));
    face.Draw(u"turning \u8F6C\u52A8", 34, 6);
  }
  // Glyph masks in blue, outlines drawn as paths in red below them: both lie on one baseline.
  face.SetSize(30);
  struct Form {
    double a, b, c, d;
  };
  constexpr Form kForms[] = {{1.4, 0, 0, 0.8},      {0.7, 0, 0, 1.5},        {1, 0, -0.6, 1},
                             {1, 0, 0.6, 1},        {0.9, -0.2, -0.35, 0.9}, {0.95, 0.25, 0, 1},
                             {1.3, 0.35, -0.1, 0.5}};
  double y = 50;
  for (const Form& form : kForms) {
    for (const bool outlines : {true, false}) {
      KSoftMatrix3D m;
      m.Set(Fixed(form.a), Fixed(form.b), Fixed(form.c), Fixed(form.d), Fixed(390),
            Fixed(y + (outlines ? 2.5 : 0)));
      context.SetTransform(m);
      context.SetFillColor(outlines ? KColor32(230, 90, 80, 255) : KColor32(40, 70, 160, 255));
      outlines ? face.DrawOutlines(u"Hamburg", 0, 0) : face.Draw(u"Hamburg", 0, 0);
    }
    y += 57;
  }
  // Sizes that grow by a pixel, and one line mirrored.
  context.Transform().Identity();
  context.SetFillColor(kInk);
  double x = 20;
  for (int size = 6; size < 26; ++size) {
    face.SetSize(size);
    face.Draw(u"g", x, 380);
    x += size * 0.75 + 2;
  }
  face.SetSize(26);
  face.Draw(u"reflection", 30, 425);
  KSoftMatrix3D mirror;
  mirror.Set(kalvora::kOne, kalvora::kZero, kalvora::kZero, Fixed(-0.8), Fixed(0), Fixed(774));
  context.SetTransform(mirror);
  context.SetFillColor(KColor32(34, 40, 60, 90));
  face.Draw(u"reflection", 30, 425);
  context.Transform().Identity();
}

void PaintedText(KSoftContext2D& context, Kit& kit) {
  Typeface face(context, kit);
  face.SetSize(96);
  KColorStop hues[7];
  for (int i = 0; i < 7; ++i) hues[i] = {Fixed(i / 6.0), Hue(60 * i)};
  KSoftColorRamp& rainbow = kit.Ramp();
  KSoftColorRamp& sun = kit.Ramp();
  KSoftColorRamp& steel = kit.Ramp();
  rainbow.SetLinear(At(20, 0), At(620, 0), hues, 7);
  context.SetFillLGrad(&rainbow);
  face.Draw(u"Gradients", 24, 100);

  const KColorStop glow[] = {{Fixed(0), {255, 240, 120, 255}},
                             {Fixed(0.5), {240, 110, 40, 255}},
                             {Fixed(1), {90, 20, 60, 255}}};
  sun.SetRadial(At(150, 180), Fixed(60), glow, 3, KSpreadRepeat);
  context.SetFillRGrad(&sun);
  face.Draw(u"\u592A\u9633 radial", 24, 215);

  context.SetFillPixmap(&kit.Pixmap(MakeTile));
  face.Draw(u"Pattern \u2618", 24, 330);

  // Translucent words over one another, and outlines with a stroke.
  const std::u16string_view words[] = {u"over", u"and", u"over"};
  for (int i = 0; i < 3; ++i) {
    context.SetFillColor(Hue(120 * i, 120));
    face.Draw(words[i], 24 + 62 * i, 430 + 12 * i);
  }
  context.SetStrokeColor(kInk);
  context.SetLineWidth(Fixed(2.5));
  const KColorStop shine[] = {{Fixed(0), {250, 250, 255, 255}}, {Fixed(1), {120, 140, 180, 255}}};
  steel.SetLinear(At(0, 365), At(0, 450), shine, 2);
  context.SetFillLGrad(&steel);
  face.DrawOutlines(u"edge", 385, 440);
  context.SetNoStroke();
}

void ClippedText(KSoftContext2D& context, Kit& kit) {
  Typeface face(context, kit);
  constexpr std::u16string_view kText =
      u"the quick brown fox \u72D0\u72F8 jumps over the lazy dog \u265E the quick brown fox "
      u"\u72D0\u72F8 jumps over the lazy dog \u265E the quick brown fox";
  // A page of text in pale ink; what the clips let through in full colour.
  KSoftPath& star = kit.Path();
  KSoftPath& disc = kit.Path();
  AddStar(star, 170, 190, 160, 5, 2);
  AddCircle(disc, 470, 190, 150);
  AddCircle(disc, 470, 190, 75);
  for (int pass = 0; pass < 4; ++pass) {
    if (pass == 1) context.SetClipPath(&star, KFillNonZero);
    if (pass == 2) context.SetClipPath(&disc, KFillEvenOdd);
    if (pass == 3) {
      context.ResetClip();
      context.SetClipRegion({40, 372, 600, 460});
    }
    face.SetSize(pass == 3 ? 21 : 13);
    for (int line = 0; line < 28; ++line) {
      context.Transform().Identity();
      if (pass == 2) {
        context.Transform().Translate(At(-470, -190));
        context.Transform().Rotate(Fixed(18));
        context.Transform().Translate(At(470, 190));
      }
      context.SetFillColor(pass == 0 ? KColor32(34, 40, 60, 40) : Hue(line * 25 + 100 * pass));
      const std::size_t skipped = static_cast<std::size_t>(line * 5 % 17);
      face.Draw(kText.substr(skipped), -20, 16 + (pass == 3 ? 26 : 17) * line);
    }
  }
  context.ResetClip();
  context.Transform().Identity();
}

}  // namespace gallery
