// The command line of kalvora-text.
#ifndef EXAMPLES_TEXT_OPTIONS_H
#define EXAMPLES_TEXT_OPTIONS_H

#include <string>
#include <vector>

#include "kalvora/typeset/KTextStyle.h"

struct Options {
  std::vector<std::string> fonts;  ///< the text's, and those that stand in for it
  int size = 20;
  int width = 520;  ///< of the picture
  KParagraphFormat format;
  bool list = false;  ///< print the glyphs and draw nothing
  bool help = false;
  std::string input = "-", output;
};

extern const char* const kUsage;

/// Throws examples::Error for what it does not understand.
Options ParseOptions(int argc, char** argv);

#endif
