// KFlags: reading the environment.
#include "kalvora/support/KFlags.h"

#include <cstdio>
#include <cstdlib>

static_assert(sizeof(KFlags) == 7);

KFlags Flags;

KFlags::KFlags() {
  const struct {
    KFlag& flag;
    const char* name;
    const char* variable;
  } table[] = {
      {IgnoreTransform, "IgnoreTransform", "K_IGNORE_TRANSFORM"},
      {DrawColoredOutlines, "DrawColoredOutlines", "K_DRAW_COLORED_OUTLINES"},
      {DisplayFps, "DisplayFps", "K_DISPLAY_FPS"},
      {IgnoreAlpha, "IgnoreAlpha", "K_IGNORE_ALPHA"},
      {OnlyNearest, "OnlyNearest", "K_ONLY_NEAREST"},
      {ShowMissingGlyphs, "ShowMissingGlyphs", "K_SHOW_MISSING_GLYPHS"},
      {UseFontHinting, "UseFontHinting", "K_USE_FONT_HINTING"},
  };
  for (const auto& [flag, name, variable] : table) {
    const char* value = std::getenv(variable);
    if (value == nullptr) continue;
    flag = std::strtol(value, nullptr, 10) == 1;
    std::printf("KFlags: %s = %d\n", name, int{flag});
  }
}
