// Options: what kalvora-text is asked for.
#ifndef EXAMPLES_TEXT_OPTIONS_H
#define EXAMPLES_TEXT_OPTIONS_H

#include <string>
#include <vector>

#include "kalvora/typeset/KTextStyle.h"

#include "examples/common/Command.h"

struct Options {
  std::vector<std::string> fonts;  ///< the text's, and those that stand in for it
  int size = 20;
  int width = 520;  ///< of the picture
  KParagraphFormat format;
  bool list = false;  ///< print the glyphs and draw nothing
};

/// The command line, which sets `options`.
examples::Command CommandLine(Options& options);

#endif
