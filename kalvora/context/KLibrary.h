// KLibrary: which library this is: version, build options, and what it has chosen to run.
#ifndef KALVORA_CONTEXT_KLIBRARY_H
#define KALVORA_CONTEXT_KLIBRARY_H

#include "kalvora/export.h"

/// Facts about the loaded library, which may be newer than the headers a program was built with.
/// The strings live as long as it. Any thread may ask.
struct KALVORA_API KLibrary {
  static const char* Version();         ///< such as "0.1.0"
  static const char* InstructionSet();  ///< of the loops in use, such as "sse2"
  static bool HasKms();                 ///< displays of mode-setting drivers are built in
  static bool WantsDataMover();         ///< copies go through the board's data mover
};

#endif
