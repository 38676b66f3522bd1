// kalvora-text: sets a UTF-8 text in lines and writes them as a PNG.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include "kalvora/kalvora.h"
#include "kalvora/typeset/typeset.h"

#include "examples/common/Error.h"
#include "examples/common/files.h"
#include "examples/common/png.h"
#include "examples/text/Options.h"

namespace {

constexpr int kMargin = 20;

// Where nothing else is asked for: those of them that are installed.
const char* const kFonts[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                              "/usr/share/fonts/truetype/noto/NotoNaskhArabic-Regular.ttf",
                              "/usr/share/fonts/truetype/noto/NotoSansDevanagari-Regular.ttf",
                              "/usr/share/fonts/truetype/noto/NotoSansTamil-Regular.ttf",
                              "/usr/share/fonts/truetype/noto/NotoSansThai-Regular.ttf",
                              "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf",
                              "/usr/share/fonts/truetype/nanum/NanumGothic.ttf",
                              "/usr/share/fonts/truetype/noto/NotoColorEmoji.ttf",
                              "/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf"};

using Fonts = std::vector<std::unique_ptr<KTypeface>>;

Fonts LoadFonts(const std::vector<std::string>& paths) {
  Fonts fonts;
  for (const std::string& path : paths) {
    fonts.push_back(std::make_unique<KTypeface>());
    examples::CheckInput(path);
    if (!fonts.back()->Load(path.c_str())) {
      throw examples::Error(fonts.back()->LastError().text);
    }
  }
  for (const char* path : kFonts) {
    if (!paths.empty() || access(path, R_OK) != 0) continue;
    fonts.push_back(std::make_unique<KTypeface>());
    if (!fonts.back()->Load(path)) fonts.pop_back();
  }
  if (fonts.empty()) throw examples::Error("no font is installed: name one with --font");
  return fonts;
}

void List(const KParagraph& text, const Fonts& fonts) {
  for (std::size_t line = 0; line < text.LineCount(); ++line) {
    for (const KPlacedGlyph& glyph : text.GlyphsOf(line)) {
      std::size_t font = 0;
      while (font < fonts.size() && fonts[font].get() != glyph.face) ++font;
      std::printf("%zu %zu %u %.3f %.3f %zu\n", line, font, glyph.index,
                  static_cast<double>(glyph.x) / 65536, static_cast<double>(glyph.y) / 65536,
                  glyph.offset);
    }
  }
}

void Draw(const KParagraph& text, int width, const std::string& path) {
  const std::int64_t height = KRoundLength(text.Height()) + 2 * kMargin;
  if (height > 32000) throw examples::Error("the text is too long for one picture");
  KSoftPixmap picture;
  picture.Create(static_cast<unsigned>(width), static_cast<unsigned>(height), KFormat0888PM);
  KSoftContext2D context;
  if (!picture.pixels || !context.RenderToTexture(&picture)) {
    throw examples::Error("not enough memory");
  }
  context.SetFlatness(KFixed(0.125f));
  context.Clear(KColor32(255, 255, 255, 255));
  text.Draw(context, {KFixed::FromInt(kMargin), KFixed::FromInt(kMargin)});
  examples::WritePng(picture, path);
}

void SetText(const Options& options, const std::vector<std::string>& files) {
  if (options.list ? files.size() == 2 : files.size() < 2) {
    throw examples::UsageError(options.list ? "--list writes no picture"
                                            : "it needs INPUT and OUTPUT.png");
  }
  const std::string input = files.empty() ? "-" : files[0];
  if (!options.list) {
    std::vector<std::string> inputs = options.fonts;
    inputs.push_back(input);
    examples::ProtectInputs(inputs, files[1]);
  }
  std::string utf8 = examples::ReadInput(input);
  const Fonts fonts = LoadFonts(options.fonts);
  std::vector<KTypeface*> faces;
  for (const auto& font : fonts) faces.push_back(font.get());
  KParagraph text;
  text.SetStyle({faces[0], KFixed::FromInt(options.size), KColor32(20, 24, 40, 255)});
  text.SetFallbacks(std::span(faces).subspan(1));
  KParagraphFormat format = options.format;
  format.width = KPixels(options.width - 2 * kMargin);
  text.SetFormat(format);
  if (utf8.ends_with('\n')) utf8.pop_back();
  if (!text.SetText(utf8)) {
    throw examples::Error(examples::InputName(input) + ": the text is too long");
  }
  if (options.list) {
    List(text, fonts);
  } else {
    Draw(text, options.width, files[1]);
  }
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  return examples::Run(CommandLine(options), argc, argv,
                       [&](const std::vector<std::string>& files) { SetText(options, files); });
}
