// KUtf8: reading UTF-8.
#ifndef KALVORA_TEXT_KUTF8_H
#define KALVORA_TEXT_KUTF8_H

#include "kalvora/export.h"

/// Reads characters from UTF-8, whatever the bytes are.
struct KALVORA_API KUtf8 {
  /// What stands for bytes that are no character.
  static constexpr char32_t kReplacement = 0xFFFD;

  /// The character at `at`, which lies before `end`, and moves `at` behind it. Bytes that are no
  /// character give one kReplacement for each longest part that could have begun one, so that what
  /// follows is read from its own first byte on.
  static char32_t Next(const char*& at, const char* end);
};

#endif
