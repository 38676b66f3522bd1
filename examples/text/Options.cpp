// Options: see the header.
#include "examples/text/Options.h"

using examples::ToChoice;
using examples::ToNumber;

examples::Command CommandLine(Options& options) {
  KParagraphFormat& format = options.format;
  return {
      "kalvora-text",
      "INPUT OUTPUT.png",
      "Sets a UTF-8 text in lines and writes a PNG file; - is standard input or output. Each line "
      "of\n"
      "the text is a paragraph. Fonts that are not named are those of the system.",
      {{"--font", "FILE", "a font; the first is the text's, others show what those before lack",
        [&](const std::string& value) { options.fonts.push_back(value); }},
       {"--size", "PIXELS", "of the text, 4 to 400 (20)",
        [&](const std::string& value) { options.size = ToNumber(value, 4, 400); }},
       {"--width", "PIXELS", "of the picture, 60 to 8000 (520)",
        [&](const std::string& value) { options.width = ToNumber(value, 60, 8000); }},
       {"--align", "WHERE", "start, end, centre or justify (start)",
        [&](const std::string& value) {
          format.align =
              static_cast<KTextAlign>(ToChoice(value, {"start", "end", "centre", "justify"}));
        }},
       {"--direction", "WHICH", "auto, ltr or rtl (auto)",
        [&](const std::string& value) {
          format.direction = static_cast<KTextDirection>(ToChoice(value, {"auto", "ltr", "rtl"}));
        }},
       {"--spacing", "PERCENT", "distance of lines, of what the fonts ask for, 1 to 1000 (100)",
        [&](const std::string& value) {
          format.lineSpacing = KFixed::FromRaw(ToNumber(value, 1, 1000) * 65536 / 100);
        }},
       {"--lines", "COUNT", "shows so many lines and ends the last in an ellipsis",
        [&](const std::string& value) {
          format.maxLines = static_cast<unsigned>(ToNumber(value, 1, 100000));
          format.ellipsis = true;
        }},
       {"--language", "TAG", "\"sr\", \"zh-Hant\": fonts show some characters by it",
        [&](const std::string& value) { format.language = value; }},
       {"--list", "",
        "prints the glyphs and draws nothing: line, font, glyph, x, y, byte;\n"
        "INPUT may be missing: it is -",
        [&](const std::string&) { options.list = true; }}},
      0,
      2};
}
