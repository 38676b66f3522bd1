// kalvora-text: sets a UTF-8 text and writes a PNG.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "examples/common/Error.h"
#include "examples/common/png.h"
#include "examples/text/Fonts.h"
#include "examples/text/Typesetter.h"
#include "examples/text/utf8.h"

namespace {

constexpr char kUsage[] =
    "usage: kalvora-text [--font FILE]... [--size PIXELS] [--width PIXELS] [--shape] INPUT OUTPUT\n"
    "INPUT is a UTF-8 text, - for standard input; a line of it is a paragraph. OUTPUT is a PNG.\n"
    "The first font is the text's, the others stand in for characters that it lacks.\n"
    "--shape places all text with HarfBuzz, not only scripts that need it.\n";

constexpr int kMargin = 20;

struct Options {
  std::vector<std::string> fonts;
  int size = 20;
  int width = 520;
  bool shape = false;
  std::vector<std::string> files;
};

int Number(const char* text, int low, int high) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (*text == '\0' || *end != '\0' || value < low || value > high) {
    throw examples::Error(std::string(text) + " is not a number from " + std::to_string(low) +
                          " to " + std::to_string(high));
  }
  return static_cast<int>(value);
}

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const auto value = [&] {
      if (++i == argc) throw examples::Error(word + " lacks its value");
      return argv[i];
    };
    if (word == "--font") {
      options.fonts.emplace_back(value());
    } else if (word == "--size") {
      options.size = Number(value(), 4, 400);
    } else if (word == "--width") {
      options.width = Number(value(), 3 * kMargin, 8000);
    } else if (word == "--shape") {
      options.shape = true;
    } else if (word.size() > 1 && word[0] == '-') {
      throw examples::Error("unknown option " + word);
    } else {
      options.files.push_back(word);
    }
  }
  if (options.files.size() != 2) throw examples::Error("name an input and an output");
  if (options.fonts.empty()) {
    options.fonts = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                     "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf",
                     "/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf"};
  }
  return options;
}

std::string Read(const std::string& path) {
  std::ifstream file;
  if (path != "-") {
    file.open(path, std::ios::binary);
    if (!file) throw examples::Error("cannot read " + path);
  }
  std::istream& input = path == "-" ? std::cin : file;
  return {std::istreambuf_iterator<char>(input), {}};
}

std::vector<std::u32string> Paragraphs(const std::string& text) {
  std::vector<std::u32string> paragraphs(1);
  for (const char32_t character : typeset::DecodeUtf8(text)) {
    if (character == U'\n') {
      paragraphs.emplace_back();
    } else if (character >= U' ') {
      paragraphs.back() += character;
    }
  }
  if (paragraphs.back().empty()) paragraphs.pop_back();
  return paragraphs;
}

void Set(const Options& options) {
  KSoftContext2D context;
  context.SetFlatness(KFixed(0.125f));
  typeset::Fonts fonts(options.fonts, KFixed::FromInt(options.size), context);
  typeset::Typesetter setter(fonts, context, options.shape);
  const KFixed width = KFixed::FromInt(options.width - 2 * kMargin);
  std::vector<std::u32string> lines;
  for (const std::u32string& paragraph : Paragraphs(Read(options.files[0]))) {
    for (std::u32string& line : setter.BreakLines(paragraph, width))
      lines.push_back(std::move(line));
  }

  const KFixed leading = setter.LineHeight();
  const auto height = (static_cast<std::int64_t>(lines.size()) * leading.raw >> 16) + 2 * kMargin;
  if (height > 32000) throw examples::Error("the text is too long for one picture");
  KSoftPixmap picture;
  picture.Create(static_cast<unsigned>(options.width), static_cast<unsigned>(height),
                 KFormat0888PM);
  if (!picture.pixels || !context.RenderToTexture(&picture)) {
    throw examples::Error("not enough memory");
  }
  fonts.Use();
  context.Clear(KColor32(255, 255, 255, 255));
  context.SetFillColor(KColor32(20, 24, 40, 255));
  KVertex2D left = {KFixed::FromInt(kMargin), KFixed::FromInt(kMargin) + setter.Ascent()};
  int lost = 0;
  for (const std::u32string& line : lines) {
    lost += setter.DrawLine(line, left, width);
    left.y += leading;
  }
  examples::WritePng(picture, options.files[1]);
  std::printf("%zu lines\n", lines.size());
  if (lost > 0) std::printf("%d glyphs have no character code and are left out\n", lost);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Set(Parse(argc, argv));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kalvora-text: %s\n%s", error.what(), kUsage);
    return 1;
  }
  return 0;
}
