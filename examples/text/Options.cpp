// Reading the command line.
#include "examples/text/Options.h"

#include <cstdlib>

#include "examples/common/Error.h"

const char* const kUsage =
    "usage: kalvora-text [OPTION...] INPUT OUTPUT.png\n"
    "       kalvora-text [OPTION...] --list [INPUT]\n"
    "Sets a UTF-8 text in lines. INPUT is a file, or - for standard input; each line of it is a\n"
    "paragraph.\n"
    "  --font FILE        a font; the first is the text's, others show what those before lack\n"
    "  --size PIXELS      of the text (20)\n"
    "  --width PIXELS     of the picture (520)\n"
    "  --align WHERE      start, end, centre or justify\n"
    "  --direction WHICH  auto, ltr or rtl\n"
    "  --spacing FACTOR   distance of lines, in hundredths of what the fonts ask for (100)\n"
    "  --lines COUNT      shows so many lines and ends the last in an ellipsis\n"
    "  --language TAG     \"sr\", \"zh-Hant\": fonts show some characters by it\n"
    "  --list             prints the glyphs, and draws nothing: line, font, glyph, x, y, byte\n"
    "  --help             prints this\n";

namespace {

int Number(const std::string& text, int low, int high) {
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || value < low || value > high) {
    throw examples::Error(text + " is not a number from " + std::to_string(low) + " to " +
                          std::to_string(high));
  }
  return static_cast<int>(value);
}

// The place of a word among several.
int Choice(const std::string& word, const std::vector<std::string>& words) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == word) return static_cast<int>(i);
  }
  throw examples::Error(word + " is none of those that --help names");
}

void Set(Options& options, const std::string& name, const std::string& value) {
  if (name == "--font") {
    options.fonts.push_back(value);
  } else if (name == "--size") {
    options.size = Number(value, 4, 400);
  } else if (name == "--width") {
    options.width = Number(value, 60, 8000);
  } else if (name == "--align") {
    options.format.align =
        static_cast<KTextAlign>(Choice(value, {"start", "end", "centre", "justify"}));
  } else if (name == "--direction") {
    options.format.direction = static_cast<KTextDirection>(Choice(value, {"auto", "ltr", "rtl"}));
  } else if (name == "--spacing") {
    options.format.lineSpacing = KFixed::FromRaw(Number(value, 1, 1000) * 65536 / 100);
  } else if (name == "--lines") {
    options.format.maxLines = static_cast<unsigned>(Number(value, 1, 100000));
    options.format.ellipsis = true;
  } else if (name == "--language") {
    options.format.language = value;
  } else {
    throw examples::Error("unknown option " + name);
  }
}

}  // namespace

Options ParseOptions(int argc, char** argv) {
  Options options;
  std::vector<std::string> files;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--help") {
      options.help = true;
      return options;
    }
    if (word == "--list") {
      options.list = true;
    } else if (word.size() > 1 && word[0] == '-') {
      if (i + 1 == argc) throw examples::Error(word + " is unknown or lacks its value");
      Set(options, word, argv[++i]);
    } else {
      files.push_back(word);
    }
  }
  if (options.list ? files.size() > 1 : files.size() != 2) {
    throw examples::Error("name an input and an output");
  }
  if (!files.empty()) options.input = files[0];
  if (files.size() == 2) options.output = files[1];
  return options;
}
